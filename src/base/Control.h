#pragma once
// A control of a window: registered with the window under its name, and
// set up from a property block when it is made.

#include <string>

#include "base/Properties.h"

namespace velmaris {

class Control {
 public:
  virtual ~Control() = default;
  // Applies one property of a block; false when the control has no such property.
  virtual bool SetProperty(const std::string& name, const PropertyValue& value) = 0;
};

}  // namespace velmaris

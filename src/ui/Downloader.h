#pragma once
// The window's network control: an HTTPSocket placed in the window, set up
// from its property block like the other controls.

#include "base/Control.h"
#include "http/HTTPSocket.h"

namespace velmaris {

class _wrapper_Downloader : public HTTPSocket, public Control {
 public:
  bool SetProperty(const std::string& name, const PropertyValue& value) override;
};

}  // namespace velmaris

#pragma once
// Apple events, which exist on macOS only. The tool sends one, the activate
// event, to itself.

#include <string>

#include "base/Ref.h"

namespace velmaris {

class AppleEvent {
 public:
  // Sends the event without waiting for a reply; false when it could not be
  // sent, and always false off macOS.
  bool Send();

  // Four-character codes.
  std::string EventClass;
  std::string EventID;
  // "" is the tool's own process, the only one it addresses.
  std::string Target;
};

Ref<AppleEvent> NewAppleEvent(const std::string& eventClass, const std::string& eventID, const std::string& target);

}  // namespace velmaris

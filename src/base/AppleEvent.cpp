#include "base/AppleEvent.h"

#include <QtGlobal>

#if defined(Q_OS_MACOS)
#include <CoreServices/CoreServices.h>
#include <unistd.h>
#endif

namespace velmaris {

#if defined(Q_OS_MACOS)
namespace {

FourCharCode FourCharacterCode(const std::string& text) {
  FourCharCode code = 0;
  for (size_t index = 0; index < 4; ++index) {
    code = (code << 8) | (index < text.size() ? static_cast<unsigned char>(text[index]) : ' ');
  }
  return code;
}

}  // namespace
#endif

bool AppleEvent::Send() {
#if defined(Q_OS_MACOS)
  if (!Target.empty()) return false;
  const pid_t self = getpid();
  AEAddressDesc address;
  if (AECreateDesc(typeKernelProcessID, &self, sizeof(self), &address) != noErr) return false;
  ::AppleEvent event;
  const OSErr created = AECreateAppleEvent(FourCharacterCode(EventClass), FourCharacterCode(EventID), &address,
                                           kAutoGenerateReturnID, kAnyTransactionID, &event);
  AEDisposeDesc(&address);
  if (created != noErr) return false;
  const OSStatus sent = AESendMessage(&event, nullptr, kAENoReply, kAEDefaultTimeout);
  AEDisposeDesc(&event);
  return sent == noErr;
#else
  return false;
#endif
}

Ref<AppleEvent> NewAppleEvent(const std::string& eventClass, const std::string& eventID, const std::string& target) {
  return New<AppleEvent>(AppleEvent{eventClass, eventID, target});
}

}  // namespace velmaris

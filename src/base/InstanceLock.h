#pragma once
// A lock that one process at a time holds on a name, for the life of the
// object. The system drops it when the process ends, however it ends, so a
// run that was killed leaves nothing that stops the next one.

#include <string>

namespace velmaris {

class InstanceLock {
 public:
  // Tries to take the lock on the name, which must make a file name; Held
  // tells whether it was taken.
  explicit InstanceLock(const std::string& name);
  ~InstanceLock();
  InstanceLock(const InstanceLock&) = delete;
  InstanceLock& operator=(const InstanceLock&) = delete;

  // False when another process holds the lock. A lock file that can't be
  // made at all doesn't stop the run: the lock then counts as held.
  bool Held() const { return mHeld; }

 private:
  int mDescriptor = -1;
  bool mHeld = false;
};

}  // namespace velmaris

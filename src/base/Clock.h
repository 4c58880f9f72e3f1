#pragma once
// The time base of all waiting, and the yield that every loop of the logic
// reaches once a round. Tests install a virtual clock so that waits cost no
// real time.

#include <cstdint>
#include <memory>

namespace velmaris {

class Clock {
 public:
  virtual ~Clock() = default;
  // Sixtieths of a second; only grows.
  virtual int64_t Ticks() = 0;
  // Lets the event loop run; see RuntimeBackgroundTask.
  virtual void BackgroundTask() = 0;
};

int64_t Ticks();

// The yield of every loop: raises EndException once the run is ending, so
// that nothing behind a Quit goes on; otherwise lets the event loop run.
// The real clock runs pending events, at most once a tick for a loop that
// only computes; a loop that reads Ticks between two yields is waiting for
// time to pass, and there it also waits up to one tick for new events, so
// that it keeps the window alive without keeping a core busy.
void RuntimeBackgroundTask();

// Replaces the time base for the life of the object (tests).
class ScopedClock {
 public:
  explicit ScopedClock(std::unique_ptr<Clock> clock);
  ~ScopedClock();
  ScopedClock(const ScopedClock&) = delete;
  ScopedClock& operator=(const ScopedClock&) = delete;

 private:
  std::unique_ptr<Clock> mPrevious;
};

}  // namespace velmaris

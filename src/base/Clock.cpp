#include "base/Clock.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include "base/Runtime.h"

namespace velmaris {

namespace {

constexpr int64_t kMillisecondsPerTick = 17;  // one sixtieth of a second, rounded up

class RealClock : public Clock {
 public:
  RealClock() { mElapsed.start(); }

  int64_t Ticks() override {
    mTimeObserved = true;
    return mElapsed.elapsed() * 60 / 1000;
  }

  void BackgroundTask() override {
    if (QCoreApplication::instance() == nullptr) return;
    const bool waiting = mTimeObserved;
    mTimeObserved = false;
    const int64_t now = mElapsed.elapsed();
    if (!waiting && now - mLastEvents < kMillisecondsPerTick) return;
    if (waiting) {
      // Returns after the first event is handled; the guard is that event
      // when nothing else comes within a tick.
      QTimer guard;
      guard.setSingleShot(true);
      guard.start(static_cast<int>(kMillisecondsPerTick));
      QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    } else {
      QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
    mLastEvents = mElapsed.elapsed();
  }

 private:
  QElapsedTimer mElapsed;
  int64_t mLastEvents = 0;
  bool mTimeObserved = false;
};

std::unique_ptr<Clock>& CurrentClock() {
  static std::unique_ptr<Clock> clock = std::make_unique<RealClock>();
  return clock;
}

}  // namespace

int64_t Ticks() { return CurrentClock()->Ticks(); }

void RuntimeBackgroundTask() {
  if (RunIsEnding()) throw EndException();
  CurrentClock()->BackgroundTask();
  if (RunIsEnding()) throw EndException();
}

ScopedClock::ScopedClock(std::unique_ptr<Clock> clock) : mPrevious(std::move(CurrentClock())) {
  CurrentClock() = std::move(clock);
}

ScopedClock::~ScopedClock() { CurrentClock() = std::move(mPrevious); }

}  // namespace velmaris

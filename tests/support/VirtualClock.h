#pragma once
// A time base for tests: every yield advances it by one tick and runs the
// events already pending, so that waits cost no real time.

#include <QCoreApplication>

#include "base/Clock.h"

namespace velmaris::testing {

class VirtualClock : public Clock {
 public:
  explicit VirtualClock(int64_t* ticks) : mTicks(ticks) {}
  int64_t Ticks() override { return *mTicks; }
  void BackgroundTask() override {
    ++*mTicks;
    QCoreApplication::processEvents();
  }

 private:
  int64_t* mTicks;
};

// Installs a virtual clock for the life of the object; Now() is its reading.
class VirtualTime {
 public:
  VirtualTime() : mScope(std::make_unique<VirtualClock>(&mTicks)) {}
  int64_t Now() const { return mTicks; }
  void Advance(int64_t ticks) { mTicks += ticks; }

 private:
  int64_t mTicks = 1000;
  ScopedClock mScope;
};

}  // namespace velmaris::testing

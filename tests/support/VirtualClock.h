#pragma once
// A time base for tests, installed for the life of the object: a yield in a
// loop that waits, one that read the ticks since the last yield, advances
// it by one tick; every yield runs the actions that have come due and the
// events already pending. Waits cost no real time, and loops that only
// compute cost none of the virtual time either.

#include <QCoreApplication>
#include <functional>
#include <map>

#include "base/Clock.h"

namespace velmaris::testing {

class VirtualTime {
 public:
  VirtualTime() : mScope(std::make_unique<Ticking>(this)) {}
  int64_t Now() const { return mTicks; }
  // How many yields there have been.
  int64_t Yields() const { return mYields; }
  // Runs the action in the first yield at or after that tick.
  void At(int64_t tick, std::function<void()> action) { mActions.emplace(tick, std::move(action)); }

 private:
  struct Ticking : Clock {
    explicit Ticking(VirtualTime* owner) : time(owner) {}
    int64_t Ticks() override {
      read = true;
      return time->mTicks;
    }
    void BackgroundTask() override {
      ++time->mYields;
      if (read) ++time->mTicks;
      read = false;
      // Taken out before it runs: an action may schedule others.
      while (!time->mActions.empty() && time->mActions.begin()->first <= time->mTicks) {
        time->mActions.extract(time->mActions.begin()).mapped()();
      }
      QCoreApplication::processEvents();
    }
    VirtualTime* time;
    bool read = false;
  };

  int64_t mTicks = 1000;
  int64_t mYields = 0;
  std::multimap<int64_t, std::function<void()>> mActions;
  ScopedClock mScope;
};

}  // namespace velmaris::testing

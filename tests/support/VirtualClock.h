#pragma once
// A time base for tests, installed for the life of the object: every yield
// advances it by one tick, runs the actions that have come due and the
// events already pending, so that waits cost no real time.

#include <QCoreApplication>
#include <functional>
#include <map>

#include "base/Clock.h"

namespace velmaris::testing {

class VirtualTime {
 public:
  VirtualTime() : mScope(std::make_unique<Ticking>(this)) {}
  int64_t Now() const { return mTicks; }
  // Runs the action in the first yield at or after that tick.
  void At(int64_t tick, std::function<void()> action) { mActions.emplace(tick, std::move(action)); }

 private:
  struct Ticking : Clock {
    explicit Ticking(VirtualTime* owner) : time(owner) {}
    int64_t Ticks() override { return time->mTicks; }
    void BackgroundTask() override {
      ++time->mTicks;
      // Taken out before it runs: an action may schedule others.
      while (!time->mActions.empty() && time->mActions.begin()->first <= time->mTicks) {
        time->mActions.extract(time->mActions.begin()).mapped()();
      }
      QCoreApplication::processEvents();
    }
    VirtualTime* time;
  };

  int64_t mTicks = 1000;
  std::multimap<int64_t, std::function<void()>> mActions;
  ScopedClock mScope;
};

}  // namespace velmaris::testing

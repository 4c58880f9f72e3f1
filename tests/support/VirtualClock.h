#pragma once
// A time base for tests: every yield advances it by one tick, runs the
// actions that have come due and the events already pending, so that waits
// cost no real time.

#include <QCoreApplication>
#include <functional>
#include <map>

#include "base/Clock.h"

namespace velmaris::testing {

class VirtualClock : public Clock {
 public:
  VirtualClock(int64_t* ticks, std::multimap<int64_t, std::function<void()>>* actions)
      : mTicks(ticks), mActions(actions) {}
  int64_t Ticks() override { return *mTicks; }
  void BackgroundTask() override {
    ++*mTicks;
    while (!mActions->empty() && mActions->begin()->first <= *mTicks) {
      const std::function<void()> action = mActions->begin()->second;
      mActions->erase(mActions->begin());
      action();
    }
    QCoreApplication::processEvents();
  }

 private:
  int64_t* mTicks;
  std::multimap<int64_t, std::function<void()>>* mActions;
};

// Installs a virtual clock for the life of the object; Now() is its reading.
class VirtualTime {
 public:
  VirtualTime() : mScope(std::make_unique<VirtualClock>(&mTicks, &mActions)) {}
  int64_t Now() const { return mTicks; }
  void Advance(int64_t ticks) { mTicks += ticks; }
  // Runs the action in the first yield at or after that tick.
  void At(int64_t tick, std::function<void()> action) { mActions.emplace(tick, std::move(action)); }

 private:
  int64_t mTicks = 1000;
  std::multimap<int64_t, std::function<void()>> mActions;
  ScopedClock mScope;
};

}  // namespace velmaris::testing

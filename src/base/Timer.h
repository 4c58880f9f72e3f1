#pragma once
// A one-shot timer control: Mode 0 is off; setting Mode to 1 arms it, it
// fires once Period milliseconds later, goes back to 0 and runs Action under
// the exception road.

#include <QTimer>
#include <cstdint>
#include <functional>

#include "base/Control.h"

namespace velmaris {

class Timer : public Control {
 public:
  Timer();
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  int64_t Mode() const { return mMode; }
  void SetMode(int64_t mode);
  int64_t Period() const { return mPeriod; }
  void SetPeriod(int64_t milliseconds);
  bool SetProperty(const std::string& name, const PropertyValue& value) override;

  std::function<void(Timer&)> Action;

 private:
  void Fire();

  QTimer mTimer;
  int64_t mMode = 0;
  int64_t mPeriod = 1000;
};

}  // namespace velmaris

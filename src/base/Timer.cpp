#include "base/Timer.h"

#include "base/Runtime.h"

namespace velmaris {

Timer::Timer() {
  mTimer.setSingleShot(true);
  QObject::connect(&mTimer, &QTimer::timeout, &mTimer, [this] { Fire(); });
}

void Timer::SetMode(int64_t mode) {
  mMode = mode;
  if (mMode == 1) {
    mTimer.start(static_cast<int>(mPeriod));
  } else {
    mTimer.stop();
  }
}

void Timer::SetPeriod(int64_t milliseconds) {
  mPeriod = milliseconds;
  if (mTimer.isActive()) mTimer.start(static_cast<int>(mPeriod));
}

bool Timer::SetProperty(const std::string& name, const PropertyValue& value) {
  if (name == "Mode") {
    SetMode(AsInteger(value));
  } else if (name == "Period") {
    SetPeriod(AsInteger(value));
  } else {
    return false;
  }
  return true;
}

void Timer::Fire() {
  mMode = 0;
  _CallFunctionWithExceptionHandling([this] {
    if (Action) Action(*this);
  });
}

}  // namespace velmaris

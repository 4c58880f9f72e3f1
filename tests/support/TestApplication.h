#pragma once
// A fresh application object and run for one test, with the launch
// arguments given; everything is put back when it goes.

#include <memory>
#include <string>
#include <vector>

#include "base/Runtime.h"
#include "base/System.h"
#include "core/VelmarisMAJ.h"

namespace velmaris::testing {

class TestApplication {
 public:
  explicit TestApplication(std::vector<std::string> arguments = {
                               "/Applications/VelmarisMAJ.app/Contents/MacOS/VelmarisMAJ"}) {
    ResetRunState();
    System::SetArguments(std::move(arguments));
    _RuntimeRegisterAppObject(std::make_shared<VelmarisMAJ>());
  }
  ~TestApplication() {
    _RuntimeRegisterAppObject(nullptr);
    System::SetArguments({});
    ResetRunState();
  }
  TestApplication(const TestApplication&) = delete;
  TestApplication& operator=(const TestApplication&) = delete;
};

}  // namespace velmaris::testing

#pragma once
// The application object's base: its version numbers and its menu bar.

#include <cstdint>

class QMenuBar;

namespace velmaris {

class Application {
 public:
  virtual ~Application() = default;

  // The package's version numbers (the build's project version).
  static int64_t MajorVersion() { return VELMARIS_VERSION_MAJOR; }
  static int64_t MinorVersion() { return VELMARIS_VERSION_MINOR; }
  static int64_t BugVersion() { return VELMARIS_VERSION_BUG; }
  static int64_t NonReleaseVersion() { return VELMARIS_VERSION_NONRELEASE; }

  QMenuBar* MenuBar = nullptr;
};

}  // namespace velmaris

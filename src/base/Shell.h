#pragma once
// One child process at a time. Execute runs a whole command line through
// /bin/sh -c, with the user's environment, and returns when the child has
// ended. Off macOS the stand-ins for the macOS commands (the folder
// macos-tools beside the binary) come first on the child's PATH. Tests
// install an executor that records the command lines instead.

#include <cstdint>
#include <memory>
#include <string>

namespace velmaris {

class Shell {
 public:
  // The exit status of the last command: 0 for success; 127 when the
  // program can't be found or the shell can't be started; 128 plus the
  // signal's number when the child was killed.
  int64_t ErrorCode() const { return mErrorCode; }
  // Blocks until the command has ended; ErrorCode then holds its status.
  void Execute(const std::string& command);

 private:
  int64_t mErrorCode = 0;
};

class ShellExecutor {
 public:
  virtual ~ShellExecutor() = default;
  // Runs the command line to its end and gives its exit status.
  virtual int64_t Run(const std::string& command) = 0;
};

// Replaces the executor for the life of the object (tests).
class ScopedShellExecutor {
 public:
  explicit ScopedShellExecutor(std::unique_ptr<ShellExecutor> executor);
  ~ScopedShellExecutor();
  ScopedShellExecutor(const ScopedShellExecutor&) = delete;
  ScopedShellExecutor& operator=(const ScopedShellExecutor&) = delete;

 private:
  std::unique_ptr<ShellExecutor> mPrevious;
};

}  // namespace velmaris

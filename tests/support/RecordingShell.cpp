#include "support/RecordingShell.h"

namespace velmaris::testing {

class RecordingShell::Executor : public ShellExecutor {
 public:
  explicit Executor(RecordingShell* owner) : mOwner(owner) {}
  int64_t Run(const std::string& command) override {
    mOwner->mCommands.push_back(command);
    int64_t status = 0;
    size_t matched = 0;
    for (const auto& [start, answer] : mOwner->mAnswers) {
      if (command.starts_with(start) && start.size() >= matched) {
        status = answer;
        matched = start.size();
      }
    }
    return status;
  }

 private:
  RecordingShell* mOwner;
};

RecordingShell::RecordingShell() : mScope(std::make_unique<Executor>(this)) {}

}  // namespace velmaris::testing

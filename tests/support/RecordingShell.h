#pragma once
// A shell executor that records each command line and answers with a chosen
// exit status instead of running anything.

#include <map>
#include <string>
#include <vector>

#include "base/Shell.h"

namespace velmaris::testing {

class RecordingShell {
 public:
  RecordingShell() : mScope(std::make_unique<Executor>(this)) {}
  // Commands that begin with start end with status (the longest start wins); others with 0.
  void AnswerWith(const std::string& start, int64_t status) { mAnswers[start] = status; }
  const std::vector<std::string>& Commands() const { return mCommands; }
  // Puts a line among the commands, such as a dialog shown between two of them.
  void Note(std::string line) { mCommands.push_back(std::move(line)); }

 private:
  struct Executor : ShellExecutor {
    explicit Executor(RecordingShell* recorder) : owner(recorder) {}
    int64_t Run(const std::string& command) override {
      owner->mCommands.push_back(command);
      int64_t status = 0;
      // Two starts of one command begin one another: the longer comes later in the map.
      for (const auto& [start, answer] : owner->mAnswers) status = command.starts_with(start) ? answer : status;
      return status;
    }
    RecordingShell* owner;
  };

  std::vector<std::string> mCommands;
  std::map<std::string, int64_t> mAnswers;
  ScopedShellExecutor mScope;
};

}  // namespace velmaris::testing

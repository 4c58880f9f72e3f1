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
  RecordingShell();
  // Commands that begin with start end with status (the longest start wins); others with 0.
  void AnswerWith(const std::string& start, int64_t status) { mAnswers[start] = status; }
  const std::vector<std::string>& Commands() const { return mCommands; }

 private:
  class Executor;

  std::vector<std::string> mCommands;
  std::map<std::string, int64_t> mAnswers;
  ScopedShellExecutor mScope;
};

}  // namespace velmaris::testing

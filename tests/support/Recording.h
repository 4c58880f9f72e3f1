#pragma once
// Stands in for the shell and the dialogs for the life of the object: each
// command line and each dialog goes on one list, in its order, and nothing
// runs or shows.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/MessageDialog.h"
#include "base/Shell.h"

namespace velmaris::testing {

// The line of a dialog as AfficherMessage shows it: the caution icon and one OK button.
inline std::string CautionLine(const std::string& message, const std::string& explanation) {
  return "dialog \"" + message + "\" \"" + explanation + "\" icon 1 [OK]";
}

class Recording {
 public:
  // Commands that begin with start end with status (the longest start wins); others with 0.
  void AnswerWith(const std::string& start, int64_t status) { mAnswers[start] = status; }
  const std::vector<std::string>& Seen() const { return mSeen; }

 private:
  struct StandIn : ShellExecutor, DialogPresenter {
    explicit StandIn(Recording* recording) : owner(recording) {}
    int64_t Run(const std::string& command) override {
      owner->mSeen.push_back(command);
      int64_t status = 0;
      // Two starts of one command begin one another: the longer comes later in the map.
      for (const auto& [start, answer] : owner->mAnswers) status = command.starts_with(start) ? answer : status;
      return status;
    }
    bool Present(const MessageDialog& dialog, QWidget* /*window*/) override {
      std::string line =
          "dialog \"" + dialog.Message + "\" \"" + dialog.Explanation + "\" icon " + std::to_string(dialog.Icon);
      for (const auto& button : {dialog.ActionButton, dialog.CancelButton}) {
        if (button->Visible) line += " [" + button->Caption + "]";
      }
      owner->mSeen.push_back(line);
      return true;
    }
    Recording* owner;
  };

  std::vector<std::string> mSeen;
  std::map<std::string, int64_t> mAnswers;
  ScopedShellExecutor mShell{std::make_unique<StandIn>(this)};
  ScopedDialogPresenter mDialogs{std::make_unique<StandIn>(this)};
};

}  // namespace velmaris::testing

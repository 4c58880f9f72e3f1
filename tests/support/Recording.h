#pragma once
// Stands in for the shell and the dialogs for the life of the object: each
// command line and each dialog goes on one list, in its order, and nothing
// shows; no command runs but those the test lets run for real.

#include <QProcess>
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
  // Commands that begin with start and get no other answer run, with the
  // stand-ins first on their PATH.
  void RunForReal(const std::string& start) { mReal.push_back(start); }
  const std::vector<std::string>& Seen() const { return mSeen; }

 private:
  struct StandIn : ShellExecutor, DialogPresenter {
    explicit StandIn(Recording* recording) : owner(recording) {}
    int64_t Run(const std::string& command) override {
      owner->mSeen.push_back(command);
      int64_t status = 0;
      bool answered = false;
      // Two starts of one command begin one another: the longer comes later in the map.
      for (const auto& [start, answer] : owner->mAnswers) {
        if (!command.starts_with(start)) continue;
        status = answer;
        answered = true;
      }
      for (const std::string& start : owner->mReal) {
        if (!answered && command.starts_with(start)) return RunReally(command);
      }
      return status;
    }
    static int64_t RunReally(const std::string& command) {
      QProcess child;
      QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
      environment.insert("PATH", VELMARIS_BUILD_DIR "/macos-tools:" + environment.value("PATH"));
      child.setProcessEnvironment(environment);
      child.start("/bin/sh", {"-c", QString::fromStdString(command)});
      child.waitForFinished(-1);
      return child.exitCode();
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
  std::vector<std::string> mReal;
  ScopedShellExecutor mShell{std::make_unique<StandIn>(this)};
  ScopedDialogPresenter mDialogs{std::make_unique<StandIn>(this)};
};

}  // namespace velmaris::testing

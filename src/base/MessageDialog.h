#pragma once
// The platform's message dialog, window-modal on a window (a sheet on macOS).
// Where there is no display it writes one stderr line and returns at once.
// Tests install a presenter that records instead of showing.

#include <cstdint>
#include <memory>
#include <string>

#include "base/Ref.h"

class QMessageBox;
class QWidget;

namespace velmaris {

class MessageDialogButton {
 public:
  std::string Caption;
  bool Visible = true;
};

class MessageDialog {
 public:
  static constexpr int64_t kGraphicNote = 0;
  static constexpr int64_t kGraphicCaution = 1;

  std::string Message;
  std::string Explanation;
  // Behind "Show Details..." where there is a display; without one, each of
  // its lines follows the dialog's line on stderr.
  std::string Details;
  int64_t Icon = kGraphicNote;
  Ref<MessageDialogButton> ActionButton = New<MessageDialogButton>(MessageDialogButton{"OK", true});
  Ref<MessageDialogButton> CancelButton = New<MessageDialogButton>(MessageDialogButton{"Cancel", false});

  // Shows the dialog on that window and returns the button that dismissed
  // it. Raises EndException when the run ended while it was shown.
  Ref<MessageDialogButton> ShowModalWithin(QWidget* window);
};

class DialogPresenter {
 public:
  virtual ~DialogPresenter() = default;
  // Shows the dialog until it is dismissed; true for the action button.
  virtual bool Present(const MessageDialog& dialog, QWidget* window) = 0;
};

// The Qt box that shows the dialog on that window: window-modal, so a sheet
// on macOS, with the dialog's texts, icon and visible buttons.
std::unique_ptr<QMessageBox> _NewMessageBox(const MessageDialog& dialog, QWidget* window);

// Replaces the presenter for the life of the object (tests).
class ScopedDialogPresenter {
 public:
  explicit ScopedDialogPresenter(std::unique_ptr<DialogPresenter> presenter);
  ~ScopedDialogPresenter();
  ScopedDialogPresenter(const ScopedDialogPresenter&) = delete;
  ScopedDialogPresenter& operator=(const ScopedDialogPresenter&) = delete;

 private:
  std::unique_ptr<DialogPresenter> mPrevious;
};

}  // namespace velmaris

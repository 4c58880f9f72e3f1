#include "base/MessageDialog.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <iostream>

#include "base/Runtime.h"

namespace velmaris {

namespace {

bool OnScreen() {
  return QGuiApplication::platformName() != QLatin1String("offscreen") &&
         QGuiApplication::platformName() != QLatin1String("minimal");
}

class QtDialogPresenter : public DialogPresenter {
 public:
  bool Present(const MessageDialog& dialog, QWidget* window) override {
    if (!OnScreen()) {
      std::cerr << "VelmarisMAJ: " << dialog.Message << (dialog.Explanation.empty() ? "" : " ") << dialog.Explanation
                << std::endl;
      return true;
    }
    QMessageBox box(window);
    box.setWindowModality(window != nullptr ? Qt::WindowModal : Qt::ApplicationModal);
    box.setIcon(dialog.Icon == MessageDialog::kGraphicCaution ? QMessageBox::Warning : QMessageBox::Information);
    box.setText(QString::fromStdString(dialog.Message));
    box.setInformativeText(QString::fromStdString(dialog.Explanation));
    QPushButton* action = nullptr;
    if (dialog.ActionButton->Visible) {
      action = box.addButton(QString::fromStdString(dialog.ActionButton->Caption), QMessageBox::AcceptRole);
      box.setDefaultButton(action);
    }
    if (dialog.CancelButton->Visible) {
      box.addButton(QString::fromStdString(dialog.CancelButton->Caption), QMessageBox::RejectRole);
    }
    // A sheet returns at once from open(); the local loop waits for it.
    QEventLoop loop;
    QObject::connect(&box, &QMessageBox::finished, &loop, &QEventLoop::quit);
    box.open();
    loop.exec();
    return box.clickedButton() == action;
  }
};

std::unique_ptr<DialogPresenter>& CurrentPresenter() {
  static std::unique_ptr<DialogPresenter> presenter = std::make_unique<QtDialogPresenter>();
  return presenter;
}

}  // namespace

Ref<MessageDialogButton> MessageDialog::ShowModalWithin(QWidget* window) {
  const bool action = CurrentPresenter()->Present(*this, window);
  if (RunIsEnding()) throw EndException();
  return action ? ActionButton : CancelButton;
}

ScopedDialogPresenter::ScopedDialogPresenter(std::unique_ptr<DialogPresenter> presenter)
    : mPrevious(std::move(CurrentPresenter())) {
  CurrentPresenter() = std::move(presenter);
}

ScopedDialogPresenter::~ScopedDialogPresenter() { CurrentPresenter() = std::move(mPrevious); }

}  // namespace velmaris

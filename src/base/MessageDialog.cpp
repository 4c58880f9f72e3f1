#include "base/MessageDialog.h"

#include <QEventLoop>
#include <QMessageBox>
#include <QPushButton>
#include <iostream>

#include "base/Runtime.h"

namespace velmaris {

namespace {

class QtDialogPresenter : public DialogPresenter {
 public:
  bool Present(const MessageDialog& dialog, QWidget* window) override {
    if (!HasDisplay()) {
      std::cerr << "VelmarisMAJ: " << dialog.Message << (dialog.Explanation.empty() ? "" : " ") << dialog.Explanation
                << std::endl;
      for (const QString& line : QString::fromStdString(dialog.Details).split(u'\n', Qt::SkipEmptyParts)) {
        std::cerr << "VelmarisMAJ: " << line.toStdString() << std::endl;
      }
      return true;
    }
    const std::unique_ptr<QMessageBox> box = _NewMessageBox(dialog, window);
    // A sheet returns at once from open(); the local loop waits for it.
    QEventLoop loop;
    QObject::connect(box.get(), &QMessageBox::finished, &loop, &QEventLoop::quit);
    box->open();
    loop.exec();
    return box->clickedButton() != nullptr && box->buttonRole(box->clickedButton()) == QMessageBox::AcceptRole;
  }
};

std::unique_ptr<DialogPresenter>& CurrentPresenter() {
  static std::unique_ptr<DialogPresenter> presenter = std::make_unique<QtDialogPresenter>();
  return presenter;
}

}  // namespace

std::unique_ptr<QMessageBox> _NewMessageBox(const MessageDialog& dialog, QWidget* window) {
  auto box = std::make_unique<QMessageBox>(window);
  box->setWindowModality(window != nullptr ? Qt::WindowModal : Qt::ApplicationModal);
  box->setIcon(dialog.Icon == MessageDialog::kGraphicCaution ? QMessageBox::Warning : QMessageBox::Information);
  box->setText(QString::fromStdString(dialog.Message));
  box->setInformativeText(QString::fromStdString(dialog.Explanation));
  if (!dialog.Details.empty()) box->setDetailedText(QString::fromStdString(dialog.Details));
  if (dialog.ActionButton->Visible) {
    box->setDefaultButton(
        box->addButton(QString::fromStdString(dialog.ActionButton->Caption), QMessageBox::AcceptRole));
  }
  if (dialog.CancelButton->Visible) {
    box->addButton(QString::fromStdString(dialog.CancelButton->Caption), QMessageBox::RejectRole);
  }
  return box;
}

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

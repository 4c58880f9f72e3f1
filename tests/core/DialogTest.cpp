#include <gtest/gtest.h>

#include <QMessageBox>
#include <QPushButton>

#include "base/MessageDialog.h"
#include "support/RecordingDialogs.h"
#include "support/TestWindow.h"

namespace velmaris {
namespace {

const std::vector<std::string> kNoJob = {"/Applications/Velmaris.app/Contents/MacOS/VelmarisMAJ"};

TEST(AfficherMessage, ShowsBothTextsWithTheCautionIconAndOneOkButton) {
  testing::TestWindow window(kNoJob);
  window->TimerQuit().SetMode(0);
  testing::RecordingDialogs dialogs;
  App().AfficherMessage("Errors encountered in downloading the update !", "Velmaris application has not been updated.",
                        true);
  App().AfficherMessage("Errors encountered in restoring database backup !", "", true);
  ASSERT_EQ(dialogs.Shown().size(), 2U);
  EXPECT_EQ(dialogs.Shown()[0].message, "Errors encountered in downloading the update !");
  EXPECT_EQ(dialogs.Shown()[0].explanation, "Velmaris application has not been updated.");
  EXPECT_EQ(dialogs.Shown()[1].message, "Errors encountered in restoring database backup !");
  EXPECT_EQ(dialogs.Shown()[1].explanation, "");
  for (const testing::ShownDialog& shown : dialogs.Shown()) {
    EXPECT_EQ(shown.icon, MessageDialog::kGraphicCaution);
    EXPECT_EQ(shown.visibleButtons, std::vector<std::string>{"OK"});
  }
}

// What the user sees: a box on the tool's window, modal to it alone.
TEST(AfficherMessage, QtBoxIsWindowModalOnTheToolWindow) {
  class BoxInspector : public DialogPresenter {
   public:
    bool Present(const MessageDialog& dialog, QWidget* window) override {
      const std::unique_ptr<QMessageBox> box = _NewMessageBox(dialog, window);
      EXPECT_EQ(box->parentWidget(), &FenetreTelechargement());
      EXPECT_EQ(box->windowModality(), Qt::WindowModal);
      EXPECT_EQ(box->icon(), QMessageBox::Warning);
      EXPECT_EQ(box->text(), QStringLiteral("The launch of VelmarisMAJ must be initiated by Velmaris!"));
      EXPECT_EQ(box->informativeText(), QStringLiteral("Velmaris application has not been updated."));
      EXPECT_TRUE(box->windowTitle().isEmpty());
      const QList<QAbstractButton*> buttons = box->buttons();
      EXPECT_EQ(buttons.size(), 1);
      if (!buttons.isEmpty()) {
        EXPECT_EQ(buttons[0]->text(), QStringLiteral("OK"));
        EXPECT_EQ(box->defaultButton(), buttons[0]);
      }
      ++presented;
      return true;
    }
    int presented = 0;
  };
  testing::TestWindow window(kNoJob);
  window->TimerQuit().SetMode(0);
  auto inspector = std::make_unique<BoxInspector>();
  const BoxInspector& seen = *inspector;
  ScopedDialogPresenter scope(std::move(inspector));
  App().AfficherMessage("The launch of VelmarisMAJ must be initiated by Velmaris!",
                        "Velmaris application has not been updated.", true);
  EXPECT_EQ(seen.presented, 1);
}

TEST(AfficherMessage, WithoutDisplayWritesOneLineAndReturns) {
  testing::TestWindow window(kNoJob);
  window->TimerQuit().SetMode(0);
  ::testing::internal::CaptureStderr();
  App().AfficherMessage("Errors encountered in installing the update !",
                        "A \u00ab\u00a0fresh\u00a0\u00bb installation is required.", true);
  App().AfficherMessage("Errors encountered in restoring database backup !", "", true);
  EXPECT_EQ(
      ::testing::internal::GetCapturedStderr(),
      "VelmarisMAJ: Errors encountered in installing the update ! A \u00ab\u00a0fresh\u00a0\u00bb installation is "
      "required.\n"
      "VelmarisMAJ: Errors encountered in restoring database backup !\n");
}

}  // namespace
}  // namespace velmaris

#include <gtest/gtest.h>

#include <QMessageBox>
#include <QPushButton>

#include "base/MessageDialog.h"
#include "support/TestWindow.h"

namespace velmaris {

// A box on the tool's window, modal to it alone, with the caution icon and one "OK" button, and
// the reason of a failure behind "Show Details...".
TEST(AfficherMessage, ShowsBothTextsWithTheCautionIconAndOneOkButton) {
  // Writes down what the user sees of each box: "text|explanation|buttons", the default one starred.
  struct BoxReader : DialogPresenter {
    explicit BoxReader(std::vector<std::string>* seen) : shown(seen) {}
    bool Present(const MessageDialog& dialog, QWidget* window) override {
      const std::unique_ptr<QMessageBox> box = _NewMessageBox(dialog, window);
      EXPECT_EQ(box->parentWidget(), &FenetreTelechargement());
      EXPECT_EQ(box->windowModality(), Qt::WindowModal);
      EXPECT_EQ(box->icon(), QMessageBox::Warning);
      QString buttons;
      for (const QAbstractButton* button : box->buttons())
        buttons += button->text() + (button == box->defaultButton() ? "*" : "");
      shown->push_back(
          (box->text() + "|" + box->informativeText() + "|" + buttons + "|" + box->detailedText()).toStdString());
      return true;
    }
    std::vector<std::string>* shown;
  };
  testing::TestWindow window({"/Applications/Velmaris.app/Contents/MacOS/VelmarisMAJ"});
  window->TimerQuit().SetMode(0);
  std::vector<std::string> shown;
  ScopedDialogPresenter scope(std::make_unique<BoxReader>(&shown));
  App().AfficherMessage("Download failed !", "Not updated.", true);
  App().AfficherMessage("Restore failed !", "", true);
  // The reason that the opening noted goes behind the first dialog's details, and only there.
  EXPECT_EQ(shown, (std::vector<std::string>{"Download failed !|Not updated.|OK*Show Details...|no application was "
                                             "given (--REPAPP:)",
                                             "Restore failed !||OK*|"}));
}

}  // namespace velmaris

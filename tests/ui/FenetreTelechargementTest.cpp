#include <gtest/gtest.h>

#include <QFontMetrics>
#include <QMenuBar>
#include <QPixmap>

#include "support/TestWindow.h"
#include "ui/FenetreTelechargement.h"
#include "ui/MainMenuBar.h"
#include "ui/Pictures.h"
#include "ui/Strings.h"

namespace velmaris {
namespace {

const std::vector<std::string> kUpdateJob = {"/Applications/Velmaris.app/Contents/MacOS/VelmarisMAJ",
                                             "--REPAPP:/Applications/Velmaris.app", "--MAJ:2.1.0"};
const std::vector<std::string> kDatabaseJob = {"/Applications/Velmaris.app/Contents/MacOS/VelmarisMAJ",
                                               "--REPAPP:/Applications/Velmaris.app",
                                               "--SAUVEDB:BackupsDB/Velmaris_2024-05-01.sqlite"};

struct ControlPlace {
  const char* name;
  QRect geometry;
  bool visible;
};

// The controls' places in the content area, and whether each shows.
void ExpectControls(class FenetreTelechargement& window, bool downloading, const std::string& look) {
  const ControlPlace places[] = {
      {.name = "ImageLogo", .geometry = QRect(9, 10, 64, 64), .visible = true},
      {.name = "LabelTelechargement", .geometry = QRect(44, 78, 314, 20), .visible = true},
      {.name = "ImageTitre", .geometry = QRect(81, 11, 327, 45), .visible = true},
      {.name = "SeparateurLogoInformation", .geometry = QRect(0, 76, 420, 4), .visible = true},
      {.name = "LabelVersion", .geometry = QRect(303, 57, 100, 16), .visible = true},
      {.name = "ProgressBarDonwload", .geometry = QRect(359, 78, 27, 20), .visible = downloading},
      {.name = "LabelDownload", .geometry = QRect(389, 77, 32, 20), .visible = downloading},
  };
  const QWidget* controls[] = {&window.ImageLogo(),    &window.LabelTelechargement(),
                               &window.ImageTitre(),   &window.SeparateurLogoInformation(),
                               &window.LabelVersion(), &window.ProgressBarDonwload(),
                               &window.LabelDownload()};
  for (size_t index = 0; index < std::size(places); ++index) {
    const QWidget& control = *controls[index];
    EXPECT_EQ(control.parentWidget(), window.Content()) << look << ": " << places[index].name;
    EXPECT_EQ(control.geometry(), places[index].geometry) << look << ": " << places[index].name;
    EXPECT_EQ(control.isVisible(), places[index].visible) << look << ": " << places[index].name;
  }
  // Made in the table's order, so each one stacks over those before it.
  const QObjectList stacking = window.Content()->children();
  for (size_t index = 0; index < std::size(controls); ++index) {
    EXPECT_EQ(stacking.at(static_cast<qsizetype>(index)), controls[index]) << look << ": stacking " << index;
  }
}

QImage Grab(class FenetreTelechargement& window, const std::string& look) {
  QImage picture = window.grab().toImage();
  picture.save(QString::fromStdString(std::string(VELMARIS_BUILD_DIR) + "/window-" + look + ".png"));
  return picture;
}

// The window in its three looks, as grabbed pictures in the build folder.
TEST(FenetreTelechargement, ThreeLooksKeepTheLayout) {
  {
    testing::TestWindow window(kUpdateJob);
    window->TimerQuit().SetMode(0);
    ASSERT_TRUE(window->isVisible());
    EXPECT_EQ(window->Content()->size(), QSize(420, 95));
    ExpectControls(*window, false, "opening");
    const QImage opening = Grab(*window, "opening");
    const QPoint content = window->Content()->pos();
    EXPECT_EQ(opening.size(), QSize(420, 95 + content.y()));
    // The window's own grey shows beside the pictures.
    EXPECT_EQ(opening.pixelColor(content + QPoint(2, 2)), QColor(0xCC, 0xCC, 0xCC));
    EXPECT_EQ(opening.pixelColor(content + QPoint(9 + 32, 10 + 32)), Logo().pixelColor(32, 32));

    window->LabelTelechargement().SetText(Strings::kLabelTelechargement1() + "Velmaris_2.1.0.dmg.zip" +
                                          Strings::kLabelTelechargement2());
    window->LabelDownload().SetVisible(true);
    window->ProgressBarDonwload().SetVisible(true);
    window->ProgressBarDonwload().SetValue(57);
    window->LabelDownload().SetText("57%");
    ExpectControls(*window, true, "downloading");
    Grab(*window, "downloading");
  }
  {
    testing::TestWindow window(kDatabaseJob);
    window->TimerQuit().SetMode(0);
    window->SetTitle(Strings::kTitreFenetreRestaurerDB());
    ExpectControls(*window, false, "restoring");
    Grab(*window, "restoring");
  }
}

TEST(FenetreTelechargement, WindowIsAFixedDialogWithTheApplicationMenus) {
  testing::TestWindow window(kUpdateJob);
  window->TimerQuit().SetMode(0);
  EXPECT_EQ(window->Title(), "Velmaris Update");
  EXPECT_EQ(window->Width(), 420);
  EXPECT_EQ(window->Height(), 95);
  EXPECT_EQ(window->minimumSize(), window->maximumSize());
  const Qt::WindowFlags flags = window->windowFlags();
  EXPECT_TRUE(flags.testFlag(Qt::WindowTitleHint));
  EXPECT_FALSE(flags.testFlag(Qt::WindowCloseButtonHint));
  EXPECT_FALSE(flags.testFlag(Qt::WindowMinimizeButtonHint));
  EXPECT_FALSE(flags.testFlag(Qt::WindowMaximizeButtonHint));
#if !defined(Q_OS_MACOS)
  // The application's own menus, on the window above the controls.
  const auto* shown = window->findChild<QMenuBar*>();
  ASSERT_NE(shown, nullptr);
  EXPECT_TRUE(shown->isVisible());
  EXPECT_EQ(shown->actions(), GetMainMenuBar()->actions());
  EXPECT_EQ(window->Content()->y(), shown->geometry().bottom() + 1);
#endif
}

TEST(FenetreTelechargement, LabelsTakeTheirTextLookFromTheirBlocks) {
  testing::TestWindow window(kUpdateJob);
  window->TimerQuit().SetMode(0);
  const struct {
    const char* name;
    Label& label;
    int pixelSize;
    QColor colour;
    Qt::Alignment alignment;
  } rows[] = {
      {"LabelTelechargement", window->LabelTelechargement(), 10, QColor(0x66, 0x66, 0x66), Qt::AlignLeft},
      {"LabelVersion", window->LabelVersion(), 10, QColor(0x61, 0x61, 0x61), Qt::AlignHCenter},
      {"LabelDownload", window->LabelDownload(), 9, QColor(0x66, 0x66, 0x66), Qt::AlignLeft},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.label.font().pixelSize(), row.pixelSize) << row.name;
    EXPECT_FALSE(row.label.font().bold() || row.label.font().italic() || row.label.font().underline()) << row.name;
    EXPECT_EQ(row.label.palette().color(QPalette::WindowText), row.colour) << row.name;
    EXPECT_EQ(row.label.alignment() & Qt::AlignHorizontal_Mask, row.alignment) << row.name;
    EXPECT_FALSE(row.label.wordWrap()) << row.name;
    EXPECT_TRUE(row.label.autoFillBackground()) << row.name;
  }
  EXPECT_EQ(window->ProgressBarDonwload().Maximum(), 100);
  EXPECT_EQ(window->ProgressBarDonwload().Value(), 0);
  EXPECT_FALSE(window->SeparateurLogoInformation().isEnabled());
  EXPECT_EQ(window->ImageLogo().Backdrop().size(), QSize(64, 64));
  EXPECT_EQ(window->ImageTitre().Backdrop().size(), QSize(327, 45));
}

// A translation too long for the status row would be cut off.
TEST(FenetreTelechargement, StatusTextsFitTheStatusRow) {
  testing::TestWindow window(kUpdateJob);
  window->TimerQuit().SetMode(0);
  const QFontMetrics metrics(window->LabelTelechargement().font());
  for (const std::string language : {"", "fr"}) {
    const std::string texts[] = {Strings::kLabelTelechargement0(language), Strings::kLabelTelechargement3(language),
                                 Strings::kLabelRestaurationDB(language),
                                 Strings::kLabelTelechargement1(language) + "Velmaris_12.10.3.dmg.zip" +
                                     Strings::kLabelTelechargement2(language)};
    for (const std::string& text : texts) {
      EXPECT_LE(metrics.horizontalAdvance(QString::fromStdString(text)), 314) << text;
    }
  }
}

// Headless, the window says on stderr what it would show: every new status,
// and the percentage a few times a second.
TEST(FenetreTelechargement, HeadlessRunEchoesStatusAndPercentage) {
  ::testing::internal::CaptureStderr();
  {
    testing::TestWindow window(kUpdateJob);
    window->TimerQuit().SetMode(0);
    window->LabelTelechargement().SetText(Strings::kLabelTelechargement0());
    window->LabelTelechargement().SetText("Download Velmaris_2.1.0.dmg.zip in progress...");
    for (int percent = 1; percent <= 100; ++percent) window->ProgressBarDonwload().SetValue(percent);
    window->LabelDownload().SetText("100%");
    window->LabelTelechargement().SetText(Strings::kLabelTelechargement3());
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "VelmarisMAJ: Initialization...\n"
            "VelmarisMAJ: Download Velmaris_2.1.0.dmg.zip in progress...\n"
            "VelmarisMAJ: 1%\n"
            "VelmarisMAJ: 100%\n"
            "VelmarisMAJ: Update installation in progress...\n");
}

}  // namespace
}  // namespace velmaris

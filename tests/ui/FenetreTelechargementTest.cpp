#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>

#include "base/Translations.h"
#include "support/TestWindow.h"
#include "ui/FenetreTelechargement.h"
#include "ui/Pictures.h"
#include "ui/Strings.h"

namespace velmaris {
namespace {

const std::vector<std::string> kUpdateJob = {"/Applications/Velmaris.app/Contents/MacOS/VelmarisMAJ",
                                             "--REPAPP:/Applications/Velmaris.app", "--MAJ:2.1.0"};

// The controls of the content area in stacking order (each made over those
// before it): place and size, a label's text look, and what is off.
std::vector<std::string> Controls(class FenetreTelechargement& window) {
  const QObjectList made = {&window.ImageLogo(),    &window.LabelTelechargement(),
                            &window.ImageTitre(),   &window.SeparateurLogoInformation(),
                            &window.LabelVersion(), &window.ProgressBarDonwload(),
                            &window.LabelDownload()};
  EXPECT_EQ(window.Content()->children(), made);
  std::vector<std::string> controls;
  for (const QWidget* widget : window.Content()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
    const QRect place = widget->geometry();
    QString text = QStringLiteral("%1,%2 %3x%4").arg(place.x()).arg(place.y()).arg(place.width()).arg(place.height());
    if (const auto* label = qobject_cast<const QLabel*>(widget)) {
      const QColor colour = label->palette().color(QPalette::WindowText);
      text += QStringLiteral(" %1px %2").arg(label->font().pixelSize()).arg(colour.name());
      text += label->alignment() & Qt::AlignHCenter ? " centred" : " left";
    }
    controls.push_back(
        (text + (widget->isEnabled() ? "" : " disabled") + (widget->isVisible() ? "" : " hidden")).toStdString());
  }
  return controls;
}

// The layout with the progress row shown or hidden (" hidden").
std::vector<std::string> Layout(const std::string& progress) {
  return {"9,10 64x64",                                 // ImageLogo
          "44,78 314x20 10px #666666 left",             // LabelTelechargement
          "81,11 327x45",                               // ImageTitre
          "0,76 420x4 disabled",                        // SeparateurLogoInformation
          "303,57 100x16 10px #616161 centred",         // LabelVersion
          "359,78 27x20" + progress,                    // ProgressBarDonwload
          "389,77 32x20 9px #666666 left" + progress};  // LabelDownload
}

// The window in its three looks. Headless, it says on stderr what it would
// show: every new status, and the percentage a few times a second, the last
// one before the figure hides.
TEST(FenetreTelechargement, ThreeLooksKeepTheLayout) {
  {
    ::testing::internal::CaptureStderr();
    testing::TestWindow window(kUpdateJob);
    window->TimerQuit().SetMode(0);
    ASSERT_TRUE(window->isVisible());
    EXPECT_EQ(window->Title(), "Velmaris Update");
    EXPECT_EQ(window->Content()->size(), QSize(420, 95));
    EXPECT_EQ(window->minimumSize(), window->maximumSize());
    EXPECT_EQ(window->windowFlags() & (Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::WindowMinMaxButtonsHint),
              Qt::WindowTitleHint);
    EXPECT_EQ(Controls(*window), Layout(" hidden"));
    const QImage opening = window->grab().toImage();
    const QPoint content = window->Content()->pos();
    EXPECT_EQ(opening.size(), QSize(420, 95 + content.y()));
    // The window's own grey shows beside the pictures.
    EXPECT_EQ(opening.pixelColor(content + QPoint(2, 2)), QColor(0xCC, 0xCC, 0xCC));
    EXPECT_EQ(opening.pixelColor(content + QPoint(9 + 32, 10 + 32)), Logo().pixelColor(32, 32));

    window->LabelTelechargement().SetText("Download Velmaris_2.1.0.dmg.zip in progress...");
    window->LabelDownload().SetVisible(true);
    window->ProgressBarDonwload().SetVisible(true);
    for (int percent = 1; percent <= 57; ++percent) window->LabelDownload().SetText(std::to_string(percent) + "%");
    window->ProgressBarDonwload().SetValue(57);
    EXPECT_EQ(Controls(*window), Layout(""));
    window->LabelDownload().SetText("100%");
    window->LabelDownload().SetVisible(false);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "VelmarisMAJ: Initialization...\nVelmarisMAJ: Download Velmaris_2.1.0.dmg.zip in progress...\n"
              "VelmarisMAJ: 1%\nVelmarisMAJ: 100%\n");
  }
  testing::TestWindow window({kUpdateJob[0], kUpdateJob[1], "--SAUVEDB:BackupsDB/Velmaris_2024-05-01.sqlite"});
  window->TimerQuit().SetMode(0);
  EXPECT_EQ(Controls(*window), Layout(" hidden"));
}

// A percentage keeps the figure's place; an amount too wide for it, in
// English or in French, moves it left over the bar, inside the window.
TEST(FenetreTelechargement, TheDownloadFigureStaysInsideTheWindow) {
  testing::TestWindow window(kUpdateJob);
  window->TimerQuit().SetMode(0);
  Label& figure = window->LabelDownload();
  const std::unique_ptr<QTranslator> french = LoadTranslation(QLocale(QStringLiteral("fr")));
  for (QTranslator* language : {static_cast<QTranslator*>(nullptr), french.get()}) {
    if (language != nullptr) QCoreApplication::installTranslator(language);
    for (const std::string& text :
         {std::string("100%"), Strings::TailleRecue(999600), Strings::TailleRecue(999000000)}) {
      figure.SetText(text);
      const QRect place = figure.geometry();
      const int textWidth = figure.fontMetrics().horizontalAdvance(figure.text());
      if (text == "100%") {
        EXPECT_EQ(place, QRect(389, 77, 32, 20));
      } else {
        EXPECT_LT(place.left(), 389) << text;
        EXPECT_GT(place.left(), 359) << text << ": the bar shows";
        EXPECT_EQ(place.left() + textWidth, 420 - 4) << text;
        EXPECT_GE(place.width(), textWidth) << text;
      }
    }
  }
  QCoreApplication::removeTranslator(french.get());
  figure.SetText("57%");
  EXPECT_EQ(figure.geometry(), QRect(389, 77, 32, 20)) << "back in its place";
}

}  // namespace
}  // namespace velmaris

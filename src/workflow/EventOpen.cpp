// Opening of the window: placement on the mouse's screen, the labels, and
// the choice of the job, which the dispatcher then carries out.
#include "base/Screens.h"
#include "base/StringFunctions.h"
#include "base/System.h"
#include "core/VelmarisMAJ.h"
#include "ui/FenetreTelechargement.h"
#include "ui/Strings.h"

namespace velmaris {

void FenetreTelechargement::Event_Open() {
  bool bModeChoisi = false;

  int64_t ecran = App().RetournerEcranActif(System::MouseX(), System::MouseY());
  if (ecran < 0) ecran = 0;
  const ScreenArea screen = Screen(ecran);
  SetLeft(ToInteger(static_cast<double>(screen.Left) + static_cast<double>(screen.Width - Width()) / 2.0));
  SetTop(screen.Top + 140);

  LabelVersion().SetText("Version " + Str(Application::MajorVersion()) + "." + Str(Application::MinorVersion()) + "." +
                         Str(Application::NonReleaseVersion()));
  LabelTelechargement().SetText(Strings::kLabelTelechargement0());

  raise();
  activateWindow();

  if (App().RetournerValeurArgument("SAUVEDB") != "" && App().RetournerValeurArgument("REPAPP") != "") {
    App().bSauvegardeDB = true;
    bModeChoisi = true;
    LabelTelechargement().SetText(Strings::kLabelRestaurationDB());
  }
  if (App().RetournerValeurArgument("MAJ") != "" && App().RetournerValeurArgument("REPAPP") != "") {
    App().bMAJ = true;
    bModeChoisi = true;
  }
  if (!bModeChoisi) App().bQuit = true;

  TimerQuit().SetMode(1);
}

}  // namespace velmaris

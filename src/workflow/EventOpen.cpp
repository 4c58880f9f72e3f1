// Opening of the window: placement on the mouse's screen, the labels, and
// the choice of the job, which the dispatcher then carries out.
#include <climits>

#include "base/AppleEvent.h"
#include "base/Screens.h"
#include "base/StringFunctions.h"
#include "base/System.h"
#include "core/VelmarisMAJ.h"
#include "ui/FenetreTelechargement.h"
#include "ui/Strings.h"

namespace velmaris {

namespace {

// Every command line of the tool puts the application's path between double
// quotes and escapes nothing: a path that the shell would still read into,
// that is not absolute, or that no system call would take, selects no job,
// so that no command runs with it.
bool CheminSurEntreGuillemets(const std::string& chemin) {
  return Left(chemin, 1) == "/" && chemin.size() < PATH_MAX && chemin.find_first_of("\"$`\\\r\n") == std::string::npos;
}

// A cut value may name another application, or another file: then no job at all.
bool RepAppDonne() {
  const std::string strRepApp = App().RetournerValeurArgument("REPAPP");
  return strRepApp != "" && CheminSurEntreGuillemets(strRepApp) && App().LigneDeCommandeSure();
}

// Why the launch selects no job, in the terms of its arguments.
std::string RaisonSansTache() {
  VelmarisMAJ& app = App();
  const std::string strRepApp = app.RetournerValeurArgument("REPAPP");
  if (!IsValidUTF8(System::CommandLine())) return "the command line is not valid UTF-8";
  if (!app.LigneDeCommandeSure()) return "a value of the command line holds \"--\" and was cut there";
  if (strRepApp == "") return "no application was given (--REPAPP:)";
  if (!CheminSurEntreGuillemets(strRepApp)) {
    return "the application's path is not an absolute path free of \", $, `, \\ and line ends: " + Left(strRepApp, 200);
  }
  return "neither --SAUVEDB: nor --MAJ: names a job";
}

}  // namespace

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

  // In front of the main application that started the tool.
  NewAppleEvent("misc", "actv", "")->Send();
  Activate();

  if (App().RetournerValeurArgument("SAUVEDB") != "" && RepAppDonne()) {
    App().bSauvegardeDB = true;
    bModeChoisi = true;
    LabelTelechargement().SetText(Strings::kLabelRestaurationDB());
  }
  if (App().RetournerValeurArgument("MAJ") != "" && RepAppDonne()) {
    App().bMAJ = true;
    bModeChoisi = true;
  }
  if (!bModeChoisi) {
    App().bQuit = true;
    App().NoterRaison(RaisonSansTache());
  }

  TimerQuit().SetMode(1);
}

}  // namespace velmaris

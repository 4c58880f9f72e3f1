// The update job's second half, on TimerInstallation: the archive in the
// Downloads folder is checked, unzipped, mounted and copied over the
// installed application by one run of shell commands, then everything
// downloaded is removed and the new application is opened.
#include <filesystem>
#include <system_error>

#include "base/FolderItem.h"
#include "base/Runtime.h"
#include "base/Shell.h"
#include "base/StringFunctions.h"
#include "base/System.h"
#include "core/VelmarisMAJ.h"
#include "ui/FenetreTelechargement.h"
#include "ui/Strings.h"

namespace velmaris {

namespace {

// An archive below this size is an error page, not a release.
constexpr int64_t kTailleMinimaleArchive = 10000;

String Guillemets(const String& path) { return "\"" + path + "\""; }

// "rm -rf" runs on the installed application only when it is a folder named
// like an application bundle, and neither the root nor the home folder.
bool ApplicationRemplacable(const String& strCheminApp) {
  const std::filesystem::path chemin(strCheminApp);
  std::error_code erreur;
  if (!chemin.is_absolute() || !std::filesystem::is_directory(chemin, erreur)) return false;
  const String nom = App().ExtraireNomFichier(strCheminApp);
  if (!TextEquals(Right(nom, 4), ".app") || Len(nom) < 5) return false;
  const String home = System::EnvironmentVariable("HOME");
  for (const String& interdit : {String("/"), home}) {
    if (interdit != "" && std::filesystem::equivalent(chemin, interdit, erreur)) return false;
  }
  return true;
}

}  // namespace

void FenetreTelechargement::TimerInstallation_Action(Timer& /*sender*/) {
  mMiseAJourAnnulable = false;
  VelmarisMAJ& app = App();
  Shell sh;
  bool bErreur = false;
  const String strFichierZip = app.ExtraireNomFichier(app.strURLGlobal);
  const String strFichierDMG = Replace(strFichierZip, ".zip", "");
  const String strVolume = Replace(strFichierDMG, ".dmg", "");
  const String strCheminTelechargement = System::EnvironmentVariable("HOME") + "/Downloads/" + strFichierZip;

  const String unzip = "unzip -o -d ~/Downloads ~/Downloads/" + strFichierZip;
  const String mount = "hdiutil mount ~/Downloads/" + strFichierDMG;
  const String removeApplication = "rm -rf " + Guillemets(app.strCheminApp);
  const String removeResourceFolder = "rm -rf ~/Downloads/__MACOSX";
  const String copyApplication = "ditto -rsrc /Volumes/" + strVolume + "/Velmaris.app " + Guillemets(app.strCheminApp);
  const String unmount = "hdiutil unmount /Volumes/" + strVolume;
  const String removeArchive = "rm ~/Downloads/" + strFichierZip;
  const String removeDownloads = "rm ~/Downloads/" + strFichierDMG + " ~/Downloads/" + strFichierZip;
  const String openApplication = "open " + Guillemets(app.strCheminApp);
  const String wait = "Sleep 1";

  if (app.ExisteRepertoire(strCheminTelechargement) != 0) {
    app.AfficherMessage(Strings::kMsgBoxErreurMAJ2(), Strings::kMsgBoxVelmarisDispo(), true);
    sh.Execute(openApplication);
    Quit(0);
  }
  if (app.RetournerTailleFichier(strCheminTelechargement) < kTailleMinimaleArchive) {
    app.AfficherMessage(Strings::kMsgBoxErreurMAJ2(), Strings::kMsgBoxVelmarisDispo(), true);
    sh.Execute(removeArchive);
    sh.Execute(openApplication);
    Quit(0);
  }

  sh.Execute(unzip);
  if (sh.ErrorCode() != 0) bErreur = true;
  sh.Execute(mount);
  if (sh.ErrorCode() != 0) bErreur = true;
  if (bErreur || !ApplicationRemplacable(app.strCheminApp)) {
    // Nothing of the installed application has been touched. A volume that
    // was mounted for an application that can't be replaced goes again.
    app.AfficherMessage(Strings::kMsgBoxErreurMAJ1(), Strings::kMsgBoxVelmarisDispo(), true);
    if (!bErreur) sh.Execute(unmount);
    sh.Execute(removeResourceFolder);
    sh.Execute(removeDownloads);
    sh.Execute(openApplication);
    Quit(0);
  }

  sh.Execute(removeApplication);
  if (sh.ErrorCode() != 0) {
    bErreur = true;
  } else {
    sh.Execute(wait);
  }
  sh.Execute(removeResourceFolder);
  sh.Execute(copyApplication);
  if (sh.ErrorCode() != 0) bErreur = true;
  sh.Execute(wait);
  sh.Execute(unmount);
  sh.Execute(wait);
  sh.Execute(removeDownloads);
  if (!bErreur) {
    sh.Execute(openApplication);
    if (sh.ErrorCode() != 0) bErreur = true;
  }
  if (bErreur) app.AfficherMessage(Strings::kMsgBoxErreurMAJ1(), Strings::kMsgBoxTelechargerSite(), true);
  Quit(0);
}

}  // namespace velmaris

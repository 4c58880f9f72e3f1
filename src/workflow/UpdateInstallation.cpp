// The update job's second half, on TimerInstallation: the archive in the
// Downloads folder is checked, unzipped and mounted; the new application is
// checked, copied beside the installed one and put in its place in one
// step; then the old copy and everything downloaded go, and the new
// application is opened. Until that step the installed application is not
// touched, and at every instant a whole application, old or new, stands at
// its path. A delta's road builds the new application beside the installed
// one from the delta instead, and ends in the same step.
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <vector>

#include "base/FolderItem.h"
#include "base/Runtime.h"
#include "base/Shell.h"
#include "base/SpecialFolder.h"
#include "base/StringFunctions.h"
#include "base/System.h"
#include "core/VelmarisMAJ.h"
#include "delta/DeltaApplier.h"
#include "ui/FenetreTelechargement.h"
#include "ui/Strings.h"

namespace velmaris {

namespace {

namespace fs = std::filesystem;

// An archive below this size is an error page, not a release.
constexpr int64_t kTailleMinimaleArchive = 10000;

String Guillemets(const String& path) { return "\"" + path + "\""; }

Ref<FolderItem> Dossier(const String& chemin) { return New<FolderItem>(chemin, FolderItem::PathModes::Shell); }

// The files and command lines of one update, worked out from the download's
// URL and the installed application's path.
struct Installation {
  Installation() {
    VelmarisMAJ& app = App();
    strFichierZip = app.ExtraireNomFichier(app.strURLGlobal);
    strFichierDMG = Replace(strFichierZip, ".zip", "");
    strVolume = Replace(strFichierDMG, ".dmg", "");
    strCheminTelechargement = System::EnvironmentVariable("HOME") + "/Downloads/" + strFichierZip;
    application = Dossier(app.strCheminApp);
    // Beside the installed application, so on its volume: the names can be exchanged.
    copieEntrante = application->Parent()->Child("." + application->Name() + ".incoming");
    copieSortante = application->Parent()->Child("." + application->Name() + ".outgoing");
    volume = SpecialFolder::Volumes()->Child(strVolume);

    unzip = "unzip -o -d ~/Downloads ~/Downloads/" + strFichierZip;
    mount = "hdiutil mount ~/Downloads/" + strFichierDMG;
    removeResourceFolder = "rm -rf ~/Downloads/__MACOSX";
    copyApplication = "ditto -rsrc /Volumes/" + strVolume + "/Velmaris.app " + Guillemets(copieEntrante->NativePath());
    unmount = "hdiutil unmount /Volumes/" + strVolume;
    removeArchive = "rm ~/Downloads/" + strFichierZip;
    removeDownloads = "rm ~/Downloads/" + strFichierDMG + " ~/Downloads/" + strFichierZip;
    // A signed archive's signature goes with it.
    if (Dossier(strCheminTelechargement + ".minisig")->Exists()) {
      removeArchive += " ~/Downloads/" + strFichierZip + ".minisig";
      removeDownloads += " ~/Downloads/" + strFichierZip + ".minisig";
    }
    openApplication = "open " + Guillemets(app.strCheminApp);
  }

  String strFichierZip, strFichierDMG, strVolume, strCheminTelechargement;
  Ref<FolderItem> application, copieEntrante, copieSortante, volume;
  String unzip, mount, removeResourceFolder, copyApplication, unmount, removeArchive, removeDownloads, openApplication;
  const String wait = "Sleep 1";
};

String RemoveFolder(const Ref<FolderItem>& dossier) { return "rm -rf " + Guillemets(dossier->NativePath()); }

// A real folder here: a link, even to a folder, is not.
bool DossierReel(const fs::path& chemin) {
  std::error_code erreur;
  return fs::is_directory(fs::symlink_status(chemin, erreur));
}

// The new application on the volume must be a real folder, not a link,
// holding at least one program in Contents/MacOS, itself no link either.
bool ApplicationInstallable(const Ref<FolderItem>& source) {
  const fs::path programmes = fs::path(source->NativePath()) / "Contents" / "MacOS";
  if (!DossierReel(source->NativePath()) || !DossierReel(programmes.parent_path()) || !DossierReel(programmes)) {
    return false;
  }
  std::error_code erreur;
  for (const fs::directory_entry& entree : fs::directory_iterator(programmes, erreur)) {
    const fs::file_status etat = entree.symlink_status(erreur);
    if (fs::is_regular_file(etat) && (etat.permissions() & fs::perms::owner_exec) != fs::perms::none) return true;
  }
  return false;
}

// The installed application is replaced only where it is a folder named
// like an application bundle, and neither the root nor the home folder; or,
// after a run that ended half-way, where nothing stands at its path yet its
// folder exists.
bool ApplicationRemplacable(const String& strCheminApp, const Ref<FolderItem>& application) {
  const fs::path chemin(strCheminApp);
  const String nom = application->Name();
  if (!chemin.is_absolute() || !TextEquals(Right(nom, 4), ".app") || Len(nom) < 5) return false;
  if (!application->Exists()) return application->Parent()->Directory();
  if (!application->Directory()) return false;
  std::error_code erreur;
  const String home = System::EnvironmentVariable("HOME");
  for (const String& interdit : {String("/"), home}) {
    if (interdit != "" && fs::equivalent(chemin, interdit, erreur)) return false;
  }
  return true;
}

// Puts the new copy in the place of the installed application, so that a
// whole application stands at its path at every instant: in one step where
// the system exchanges two names, elsewhere by two renames, the installed
// one put back if the second fails. The old copy, if there was one, ends up
// at copieSortante or, where that last rename fails, at copieEntrante.
// False when nothing has changed at the application's path.
bool Permuter(const Installation& installation) {
  const Ref<FolderItem>& application = installation.application;
  const Ref<FolderItem>& entrante = installation.copieEntrante;
  const Ref<FolderItem>& sortante = installation.copieSortante;
  if (!application->Exists()) {
    entrante->MoveFileTo(application);
    return entrante->LastErrorCode() == 0;
  }
  entrante->ExchangeWith(application);
  if (entrante->LastErrorCode() == 0) {
    entrante->MoveFileTo(sortante);
    return true;
  }
  if (entrante->LastErrorCode() != ENOTSUP) return false;
  application->MoveFileTo(sortante);
  if (application->LastErrorCode() != 0) return false;
  entrante->MoveFileTo(application);
  if (entrante->LastErrorCode() == 0) return true;
  sortante->MoveFileTo(application);
  return false;
}

// The last checks of the new application in the staging folder, whichever
// road filled it.
bool CopieEntranteAcceptable(const Installation& installation) {
  return ApplicationInstallable(installation.copieEntrante);
}

// Takes the new application that stands in the staging folder through the
// last checks and puts it in the place of the installed one; then the old
// copy goes, the road's own clean-up commands run, the new application is
// opened and the run ends. Returns only when the staging folder was refused
// or could not take the installed application's place, which is untouched.
void InstallerCopieEntrante(Shell& sh, const Installation& installation, const std::vector<String>& nettoyage) {
  if (!CopieEntranteAcceptable(installation) || !Permuter(installation)) return;
  // The new application is in place: what is left is clean-up, whose
  // failures the next run's recovery takes up.
  for (const Ref<FolderItem>& ancienne : {installation.copieSortante, installation.copieEntrante}) {
    if (ancienne->Exists()) sh.Execute(RemoveFolder(ancienne));
  }
  for (const String& commande : nettoyage) sh.Execute(commande);
  sh.Execute(installation.openApplication);
  if (sh.ErrorCode() != 0) {
    App().AfficherMessage(Strings::kMsgBoxErreurMAJ1(), Strings::kMsgBoxTelechargerSite(), true);
  }
  Quit(0);
}

// The installed application has not been touched: the user is told, what
// was copied, mounted and downloaded goes, and the application is re-opened.
[[noreturn]] void AbandonnerInstallation(Shell& sh, const Installation& installation, bool bMonte) {
  App().AfficherMessage(Strings::kMsgBoxErreurMAJ1(), Strings::kMsgBoxVelmarisDispo(), true);
  if (installation.copieEntrante->Exists()) sh.Execute(RemoveFolder(installation.copieEntrante));
  if (bMonte) sh.Execute(installation.unmount);
  sh.Execute(installation.removeResourceFolder);
  sh.Execute(installation.removeDownloads);
  sh.Execute(installation.openApplication);
  Quit(0);
}

}  // namespace

void FenetreTelechargement::RecupererInstallationInterrompue(Shell& sh) {
  const Installation installation;
  // A run that ended between two renames left nothing at the application's
  // path, and the old application beside it.
  if (!installation.application->Exists() && installation.copieSortante->Directory()) {
    installation.copieSortante->MoveFileTo(installation.application);
  }
  for (const Ref<FolderItem>& copie : {installation.copieEntrante, installation.copieSortante}) {
    if (copie->Exists()) sh.Execute(RemoveFolder(copie));
  }
  // Mounted again over it, a volume of the same name would hide the new one.
  if (installation.volume->Exists()) sh.Execute(installation.unmount);
  const String telechargements = System::EnvironmentVariable("HOME") + "/Downloads/";
  if (Dossier(telechargements + "__MACOSX")->Exists()) sh.Execute(installation.removeResourceFolder);
  std::vector<String> fichiers = {installation.strFichierZip, installation.strFichierDMG,
                                  installation.strFichierZip + ".minisig"};
  if (mURLDelta != "") {
    fichiers.push_back(App().ExtraireNomFichier(mURLDelta));
    fichiers.push_back(App().ExtraireNomFichier(mURLDelta) + ".minisig");
  }
  for (const String& fichier : fichiers) {
    const auto reste = Dossier(telechargements + fichier);
    if (reste->Exists() && !reste->Directory()) reste->Delete();
  }
}

void FenetreTelechargement::TimerInstallation_Action(Timer& /*sender*/) {
  mMiseAJourAnnulable = false;
  VelmarisMAJ& app = App();
  Shell sh;
  if (mDeltaEnCours) {
    InstallerDelta(sh);
    return;
  }
  const Installation installation;

  if (app.ExisteRepertoire(installation.strCheminTelechargement) != 0) {
    app.AfficherMessage(Strings::kMsgBoxErreurMAJ2(), Strings::kMsgBoxVelmarisDispo(), true);
    sh.Execute(installation.openApplication);
    Quit(0);
  }
  if (app.RetournerTailleFichier(installation.strCheminTelechargement) < kTailleMinimaleArchive) {
    app.AfficherMessage(Strings::kMsgBoxErreurMAJ2(), Strings::kMsgBoxVelmarisDispo(), true);
    sh.Execute(installation.removeArchive);
    sh.Execute(installation.openApplication);
    Quit(0);
  }

  sh.Execute(installation.unzip);
  const bool bDezippe = sh.ErrorCode() == 0;
  sh.Execute(installation.mount);
  const bool bMonte = sh.ErrorCode() == 0;
  // A staging folder or an old copy that the recovery could not remove
  // would mix with the copy or stand in the way of the exchange.
  if (!bDezippe || !bMonte || !ApplicationInstallable(installation.volume->Child("Velmaris.app")) ||
      !ApplicationRemplacable(app.strCheminApp, installation.application) || installation.copieEntrante->Exists() ||
      installation.copieSortante->Exists()) {
    AbandonnerInstallation(sh, installation, bMonte);
  }

  sh.Execute(installation.copyApplication);
  if (sh.ErrorCode() != 0) AbandonnerInstallation(sh, installation, bMonte);
  sh.Execute(installation.wait);
  InstallerCopieEntrante(
      sh, installation,
      {installation.removeResourceFolder, installation.unmount, installation.wait, installation.removeDownloads});
  AbandonnerInstallation(sh, installation, bMonte);
}

void FenetreTelechargement::InstallerDelta(Shell& sh) {
  const Installation installation;
  const String delta = App().ExtraireNomFichier(mURLDelta);
  String defaut = "the installed application can't be replaced";
  // As on the archive's road, a staging folder or an old copy left in the
  // way stops it.
  if (installation.application->Directory() && ApplicationRemplacable(App().strCheminApp, installation.application) &&
      !installation.copieSortante->Exists()) {
    defaut =
        ApplyDelta(System::EnvironmentVariable("HOME") + "/Downloads/" + delta, App().strCheminApp,
                   installation.copieEntrante->NativePath(), mVersionInstallee, App().RetournerValeurArgument("MAJ"));
  }
  if (defaut == "") {
    InstallerCopieEntrante(sh, installation, {"rm ~/Downloads/" + delta + " ~/Downloads/" + delta + ".minisig"});
    defaut = "the new application was refused or could not take the installed one's place";
  }
  if (installation.copieEntrante->Exists()) sh.Execute(RemoveFolder(installation.copieEntrante));
  RenoncerDelta(defaut);
}

}  // namespace velmaris

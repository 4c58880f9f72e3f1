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

#include "base/FolderItem.h"
#include "base/InfoPlist.h"
#include "base/Runtime.h"
#include "base/Shell.h"
#include "base/StringFunctions.h"
#include "base/System.h"
#include "base/ZipDirectory.h"
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
// URL and the installed application's path. The archive lies in the tool's
// own folder in Downloads, named after the application, and is unpacked and
// mounted there, so that nothing of the user's is written over or removed,
// and two applications updated at once never meet.
struct Installation {
  Installation() {
    VelmarisMAJ& app = App();
    strFichierZip = app.ExtraireNomFichier(app.strURLGlobal);
    strFichierDMG = Replace(strFichierZip, ".zip", "");
    strVolume = Replace(strFichierDMG, ".dmg", "");
    dossierPropre = Dossier(app.CheminDossierPropre(System::EnvironmentVariable("HOME")));
    strCheminTelechargement = dossierPropre->Child(strFichierZip)->NativePath();
    image = dossierPropre->Child(strFichierDMG);
    volume = dossierPropre->Child(strVolume);
    application = Dossier(app.strCheminApp);
    // Beside the installed application, so on its volume: the names can be exchanged.
    copieEntrante = application->Parent()->Child("." + application->Name() + ".incoming");
    copieSortante = application->Parent()->Child("." + application->Name() + ".outgoing");

    // Only the disk image is taken from the archive.
    const String propre = app.CheminDossierPropre("~");
    unzip = "unzip -o -q -d " + propre + " " + propre + "/" + strFichierZip + " " + strFichierDMG;
    mount = "hdiutil attach -nobrowse -mountpoint " + propre + "/" + strVolume + " " + propre + "/" + strFichierDMG;
    copyApplication =
        "ditto -rsrc " + propre + "/" + strVolume + "/Velmaris.app " + Guillemets(copieEntrante->NativePath());
    unmount = "hdiutil detach " + propre + "/" + strVolume;
    removeOwnFolder = "rm -rf " + propre;
    openApplication = "open " + Guillemets(app.strCheminApp);
  }

  String strFichierZip, strFichierDMG, strVolume, strCheminTelechargement;
  Ref<FolderItem> dossierPropre, image, volume, application, copieEntrante, copieSortante;
  String unzip, mount, copyApplication, unmount, removeOwnFolder, openApplication;
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

// In the staging folder, before it takes the application's place: no
// program runs with the rights of its owner or group, and only the user
// may write; false when it holds a device, a fifo or a socket, which no
// application bundle holds.
bool NormaliserCopie(const Ref<FolderItem>& copie) {
  std::error_code erreur;
  constexpr fs::perms kRetires =
      fs::perms::set_uid | fs::perms::set_gid | fs::perms::group_write | fs::perms::others_write;
  const auto normaliser = [&](const fs::path& chemin) {
    const fs::file_status etat = fs::symlink_status(chemin, erreur);
    if (fs::is_symlink(etat)) return true;
    if (!fs::is_regular_file(etat) && !fs::is_directory(etat)) return false;
    if ((etat.permissions() & kRetires) != fs::perms::none) {
      fs::permissions(chemin, etat.permissions() & ~kRetires, fs::perm_options::replace, erreur);
    }
    return !erreur;
  };
  if (!normaliser(copie->NativePath())) return false;
  for (auto entree = fs::recursive_directory_iterator(copie->NativePath(), erreur);
       !erreur && entree != fs::recursive_directory_iterator(); entree.increment(erreur)) {
    if (!normaliser(entree->path())) return false;
  }
  return !erreur;
}

// The installed application has not been touched: the user is told, what
// was copied, mounted and downloaded goes, and the application is re-opened.
[[noreturn]] void AbandonnerInstallation(Shell& sh, const Installation& installation, bool bMonte,
                                         const String& raison) {
  App().NoterRaison("the installation gave up: " + raison);
  App().AfficherMessage(Strings::kMsgBoxErreurMAJ1(), Strings::kMsgBoxVelmarisDispo(), true);
  if (installation.copieEntrante->Exists()) sh.Execute(RemoveFolder(installation.copieEntrante));
  if (bMonte) sh.Execute(installation.unmount);
  sh.Execute(installation.removeOwnFolder);
  sh.Execute(installation.openApplication);
  Quit(0);
}

// Why the archive can't be unpacked into the tool's folder, or "" when it
// can: the disk image must be in it, and the size that it declares must fit
// the free space, before a byte is written.
String DefautArchive(const Installation& installation) {
  const int64_t taille = ZipDeclaredSize(installation.strCheminTelechargement, installation.strFichierDMG);
  if (taille < 0) return "the archive holds no " + installation.strFichierDMG;
  std::error_code erreur;
  const fs::space_info place = fs::space(installation.dossierPropre->Parent()->NativePath(), erreur);
  if (erreur || static_cast<uint64_t>(taille) > place.available) {
    return "the disk image needs " + Str(taille) + " bytes, and Downloads has " +
           Str(static_cast<int64_t>(erreur ? 0 : place.available)) + " free";
  }
  return "";
}

// The staging folder is filled, by the copy from the volume or from a
// delta: its last checks, then the exchange, the clean-up (the volume
// detached when it was attached, the tool's folder removed) and the
// opening of the new application, the end of the run. Returns only when the
// staging folder was refused or could not take the installed application's
// place, which is then untouched: why.
String InstallerCopieEntrante(Shell& sh, const Installation& installation, bool bMonte) {
  VelmarisMAJ& app = App();
  if (!NormaliserCopie(installation.copieEntrante)) return "the new application holds a device, a fifo or a socket";
  // Another application's bundle must not take this one's place.
  const String identifiant = InfoPlistValue(installation.application->NativePath(), "CFBundleIdentifier");
  if (identifiant != "" &&
      InfoPlistValue(installation.copieEntrante->NativePath(), "CFBundleIdentifier") != identifiant) {
    return "the new application is not " + identifiant;
  }
  sh.Execute(installation.wait);
  if (!Permuter(installation)) return "the new application could not take the old one's place";
  app.Journaliser("installation: the new application stands at " + installation.application->NativePath());

  // The new application is in place: what is left is clean-up, whose
  // failures the next run's recovery takes up.
  for (const Ref<FolderItem>& ancienne : {installation.copieSortante, installation.copieEntrante}) {
    if (ancienne->Exists()) sh.Execute(RemoveFolder(ancienne));
  }
  if (bMonte) {
    sh.Execute(installation.unmount);
    sh.Execute(installation.wait);
  }
  sh.Execute(installation.removeOwnFolder);
  sh.Execute(installation.openApplication);
  if (sh.ErrorCode() != 0) {
    app.NoterRaison("the new application at " + installation.application->NativePath() +
                    " could not be opened (open ended with status " + Str(sh.ErrorCode()) + ")");
    app.AfficherMessage(Strings::kMsgBoxErreurMAJ1(), Strings::kMsgBoxTelechargerSite(), true);
  }
  Quit(0);
}

}  // namespace

void FenetreTelechargement::RecupererInstallationInterrompue(Shell& sh) const {
  const Installation installation;
  // A run that ended between two renames left nothing at the application's
  // path, and the old application beside it.
  if (!installation.application->Exists() && installation.copieSortante->Directory()) {
    installation.copieSortante->MoveFileTo(installation.application);
  }
  for (const Ref<FolderItem>& copie : {installation.copieEntrante, installation.copieSortante}) {
    if (copie->Exists()) sh.Execute(RemoveFolder(copie));
  }
  // Attached again over it, a volume would hide the new one.
  if (installation.volume->Exists()) sh.Execute(installation.unmount);
  // Of the tool's folder only a download that this run goes on with stays:
  // the archive of the same URL and its record.
  std::error_code erreur;
  for (const auto& entree : fs::directory_iterator(installation.dossierPropre->NativePath(), erreur)) {
    const String nom = entree.path().filename().string();
    if (TelechargementRepris(entree.path().string())) continue;
    if (entree.is_directory(erreur) && !entree.is_symlink(erreur)) {
      sh.Execute(RemoveFolder(Dossier(entree.path().string())));
    } else {
      Dossier(entree.path().string())->Delete();
    }
  }
}

void FenetreTelechargement::TimerInstallation_Action(Timer& /*sender*/) {
  mMiseAJourAnnulable = false;
  mInstallationEnCours = true;
  VelmarisMAJ& app = App();
  Shell sh;
  if (mDeltaEnCours) {
    InstallerDelta(sh);
    return;
  }
  const Installation installation;

  if (app.ExisteRepertoire(installation.strCheminTelechargement) != 0) {
    app.NoterRaison("the archive " + installation.strCheminTelechargement + " is gone");
    app.AfficherMessage(Strings::kMsgBoxErreurMAJ2(), Strings::kMsgBoxVelmarisDispo(), true);
    sh.Execute(installation.openApplication);
    Quit(0);
  }
  if (app.RetournerTailleFichier(installation.strCheminTelechargement) < kTailleMinimaleArchive) {
    app.NoterRaison("the archive " + installation.strCheminTelechargement + " holds " +
                    Str(app.RetournerTailleFichier(installation.strCheminTelechargement)) + " bytes, fewer than the " +
                    Str(kTailleMinimaleArchive) + " of a release");
    app.AfficherMessage(Strings::kMsgBoxErreurMAJ2(), Strings::kMsgBoxVelmarisDispo(), true);
    sh.Execute(installation.removeOwnFolder);
    sh.Execute(installation.openApplication);
    Quit(0);
  }

  const String defaut = DefautArchive(installation);
  if (defaut != "") AbandonnerInstallation(sh, installation, false, defaut);
  sh.Execute(installation.unzip);
  const bool bDezippe = sh.ErrorCode() == 0;
  // Unpacked as a link or a folder, the image would lead the mount elsewhere.
  const bool bImage = fs::is_regular_file(fs::symlink_status(installation.image->NativePath()));
  sh.Execute(installation.mount);
  const bool bMonte = sh.ErrorCode() == 0;
  if (!bDezippe || !bImage || !bMonte) {
    AbandonnerInstallation(sh, installation, bMonte, "the disk image could not be unpacked and mounted");
  }
  if (!ApplicationInstallable(installation.volume->Child("Velmaris.app"))) {
    AbandonnerInstallation(sh, installation, bMonte, "the disk image holds no application to install");
  }
  if (!ApplicationRemplacable(app.strCheminApp, installation.application)) {
    AbandonnerInstallation(sh, installation, bMonte, "no application bundle stands at " + app.strCheminApp);
  }
  // A staging folder or an old copy that the recovery could not remove
  // would mix with the copy or stand in the way of the exchange.
  if (installation.copieEntrante->Exists() || installation.copieSortante->Exists()) {
    AbandonnerInstallation(sh, installation, bMonte, "an earlier copy beside the application could not be removed");
  }

  sh.Execute(installation.copyApplication);
  if (sh.ErrorCode() != 0) AbandonnerInstallation(sh, installation, bMonte, "the copy of the new application failed");
  // Back from the last step only with why it refused the staging folder.
  AbandonnerInstallation(sh, installation, bMonte, InstallerCopieEntrante(sh, installation, bMonte));
}

void FenetreTelechargement::InstallerDelta(Shell& sh) {
  const Installation installation;
  const String delta = App().ExtraireNomFichier(mURLDelta);
  String defaut = "no application bundle stands at " + App().strCheminApp;
  // As on the archive's road, an old copy left in the way stops it.
  if (installation.application->Directory() && ApplicationRemplacable(App().strCheminApp, installation.application) &&
      !installation.copieSortante->Exists()) {
    defaut =
        ApplyDelta(installation.dossierPropre->Child(delta)->NativePath(), App().strCheminApp,
                   installation.copieEntrante->NativePath(), mVersionInstallee, App().RetournerValeurArgument("MAJ"));
  }
  if (defaut == "" && !ApplicationInstallable(installation.copieEntrante)) defaut = "it builds no application";
  if (defaut == "") defaut = InstallerCopieEntrante(sh, installation, false);
  if (installation.copieEntrante->Exists()) sh.Execute(RemoveFolder(installation.copieEntrante));
  RenoncerDelta(defaut);
}

}  // namespace velmaris

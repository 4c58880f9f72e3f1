// The update job's first half: the update branch of the dispatcher puts
// right what an interrupted update left and starts the download of the new
// version into the tool's folder in Downloads, the delta from the installed
// version first where there is one to try; the Downloader's events move the
// progress display, check what arrived and hand over to the installation.
// Any doubt about a delta falls back to the full archive in the same run. The
// archive's download is never made twice: a lost or stalled connection goes
// on where it stopped, and so does the next run after any interruption.
#include <algorithm>
#include <filesystem>
#include <iostream>

#include "base/Clock.h"
#include "base/FolderItem.h"
#include "base/InfoPlist.h"
#include "base/Minisign.h"
#include "base/Runtime.h"
#include "base/Shell.h"
#include "base/StringFunctions.h"
#include "base/System.h"
#include "core/EtatTelechargement.h"
#include "core/UpdateKey.h"
#include "core/VelmarisMAJ.h"
#include "delta/DeltaFile.h"
#include "ui/FenetreTelechargement.h"
#include "ui/Strings.h"

namespace velmaris {

namespace {

// The update server with its scheme; VELMARIS_UPDATE_HOST (a host, or
// host:port, with or without "http://" or "https://" in front) overrides
// the one the tool was built with. Without a scheme it is plain http.
String ServeurMiseAJour() {
  String host = System::EnvironmentVariable("VELMARIS_UPDATE_HOST");
  if (host == "") host = VELMARIS_DEFAULT_UPDATE_HOST;
  while (host.ends_with('/')) host.pop_back();
  return host.find("://") != String::npos ? host : "http://" + host;
}

// The version goes unquoted into file names and command lines: nothing
// but letters, digits, ".", "_" and "-" may come through, and no more of
// them than a version number needs.
constexpr size_t kLongueurMaximaleVersion = 64;

bool VersionSure(const String& version) {
  return version.size() <= kLongueurMaximaleVersion && std::ranges::all_of(version, [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' || c == '_' ||
                  c == '-';
         });
}

// The watch's window: a download that receives fewer than 16 KiB in it has
// stalled, so that a server dripping a byte now and then is caught too.
// Tests make it short through VELMARIS_STALL_SECONDS (fractions allowed);
// the pauses between resumes shrink in proportion.
constexpr int64_t kOctetsMinimumFenetre = int64_t{16} * 1024;

int64_t FenetreMillisecondes() {
  const double seconds = Val(System::EnvironmentVariable("VELMARIS_STALL_SECONDS"));
  return seconds > 0 ? ToInteger(seconds * 1000.0) : 60000;
}

// Up to five resumes, after pauses of 1, 2, 4, 8 and 16 seconds.
constexpr int64_t kReprisesMaximum = 5;

int64_t PauseAvantReprise(int64_t reprise) {
  return ToInteger(static_cast<double>(int64_t{1000} << (reprise - 1)) * static_cast<double>(FenetreMillisecondes()) /
                   60000.0);
}

// Where the download of that URL goes: the tool's folder in Downloads,
// under the URL's last segment.
String CheminTelechargement(const String& url) {
  return App().CheminDossierPropre(System::EnvironmentVariable("HOME")) + "/" + App().ExtraireNomFichier(url);
}

// The archive's minisign signature and its record, beside it.
const String kExtensionSignature = ".minisig";
const String kExtensionEtat = ".resume";

// "Content-Range: bytes first-last/complete": the length of the whole file.
int64_t LongueurComplete(const Ref<InternetHeaders>& headers) {
  return ToInteger(Val(NthField(headers->Value("Content-Range"), "/", 2)));
}

// Why what arrived is not the whole file, or "" when it is: every byte of a
// 200 answer, or of a 206 that went on with the file, written.
String DefautTelechargement(const HTTPSocket& client, const String& url, int64_t httpStatus,
                            const Ref<InternetHeaders>& headers, int64_t recus, const Ref<FolderItem>& fichier) {
  if (httpStatus == 407) return url + ": the proxy asks for credentials (407)";
  if (httpStatus != 200 && !(httpStatus == 206 && client.Resumed())) {
    const String phrase = client.HTTPReasonPhrase();
    return url + ": " + (httpStatus == 0 ? "no HTTP answer" : Str(httpStatus)) + (phrase == "" ? "" : " " + phrase);
  }
  if (!headers.IsNil() && headers->_HasHeader("Content-Length")) {
    const int64_t annonce =
        httpStatus == 206 ? LongueurComplete(headers) : ToInteger(Val(headers->Value("Content-Length")));
    if (recus != annonce) {
      return url + ": the connection ended after " + Str(recus) + " of " + Str(annonce) + " bytes";
    }
  }
  const auto ecrits = static_cast<int64_t>(fichier->Length());
  if (ecrits != recus) {
    return Str(recus) + " bytes arrived but " + Str(ecrits) + " were written to " + fichier->NativePath() +
           " (is the disk full?)";
  }
  return "";
}

// The main application, closed for the update, comes back.
void RouvrirApplication() {
  Shell sh;
  sh.Execute("open \"" + App().strCheminApp + "\"");
}

void Supprimer(const String& chemin) {
  auto fichier = New<FolderItem>(chemin, FolderItem::PathModes::Shell);
  if (fichier->Exists() && !fichier->Directory()) fichier->Delete();
}

}  // namespace

void FenetreTelechargement::BrancheMiseAJour(Shell& sh) {
  VelmarisMAJ& app = App();
  const String strVersionMAJ = app.RetournerValeurArgument("MAJ");
  const String strRepApp = app.RetournerCheminApplication();
  app.strCheminApp = strRepApp;
  mMiseAJourAnnulable = true;
  app.PatienterSecondes(2);
  app.strURLGlobal = ServeurMiseAJour() + "/downloads/files/Velmaris_#VER#.dmg.zip";
  app.strURLGlobal = Replace(app.strURLGlobal, "#VER#", strVersionMAJ);
  // Only a signed delta is tried: its manifest vouches for every file it
  // builds, and unsigned it would vouch for nothing.
  mVersionInstallee = InfoPlistValue(strRepApp, "CFBundleShortVersionString");
  if (ClePubliqueMiseAJour() != "" && mVersionInstallee != "" && VersionSure(mVersionInstallee) &&
      VersionSure(strVersionMAJ) && mVersionInstallee != strVersionMAJ) {
    mURLDelta = ServeurMiseAJour() + "/downloads/files/" + DeltaFileName(mVersionInstallee, strVersionMAJ);
  }
  AfficherTelechargement(mURLDelta != "" ? mURLDelta : app.strURLGlobal);
  app.PatienterSecondes(1);

  bool bTelechargementLance = false;
  // The archive goes to $HOME/Downloads, and the commands find it through "~".
  const String home = System::EnvironmentVariable("HOME");
  app.Journaliser("update job: " + strRepApp + ", version " + mVersionInstallee + ", to " +
                  velmaris::Left(strVersionMAJ, 80));
  if (!VersionSure(strVersionMAJ)) {
    app.NoterRaison("the version to install is no version number: at most " + Str(int64_t{kLongueurMaximaleVersion}) +
                    " letters, digits, '.', '_' and '-'");
  } else if (!home.starts_with("/")) {
    app.NoterRaison("HOME is not set to an absolute path, so there is no Downloads folder to use");
  } else {
    RecupererInstallationInterrompue(sh);
    mDeltaEnCours = mURLDelta != "";
    bTelechargementLance = LancerTelechargement(mDeltaEnCours ? mURLDelta : app.strURLGlobal);
  }
  if (!bTelechargementLance) {
    mMiseAJourAnnulable = false;
    mSurveillanceTelechargement.SetMode(0);
    app.AfficherMessage(Strings::kMsgBoxErreurMAJ2(), Strings::kMsgBoxVelmarisDispo(), true);
    sh.Execute("open \"" + strRepApp + "\"");
    app.bQuit = true;
  }
  app.bMAJ = false;
}

void FenetreTelechargement::Downloader_HeadersReceived(HTTPSocket& sender, const Ref<InternetHeaders>& headers,
                                                       int64_t httpStatus) {
  if (mSignatureEnCours || mDeltaEnCours || httpStatus >= 300 || headers.IsNil()) return;
  if (sender.Resumed() && LongueurComplete(headers) != mLongueurArchive) {
    Supprimer(CheminTelechargement(mURLTelechargement) + kExtensionEtat);
    mValidateur = "";
    ReprendreTelechargement("the download of " + mURLTelechargement + " went on with another length: it starts over");
    return;
  }
  if (sender.Resumed()) {
    App().Journaliser("download: the server goes on from byte " + Str(sender.ResumeFrom));
  } else {
    // The file starts over: its digest too, and the validator is this answer's.
    if (mEmpreinteArchive) mEmpreinteArchive = std::make_unique<BackgroundDigest>();
    mValidateur = headers->Value("ETag") != "" ? headers->Value("ETag") : headers->Value("Last-Modified");
    mLongueurArchive = ToInteger(Val(headers->Value("Content-Length")));
  }
  if (mReprises > 0) AfficherTelechargement(mURLTelechargement);
  // Room first: the rest of the file, and the disk image that unzipping makes of it.
  if (mLongueurArchive < 1) return;
  const int64_t besoin = 2 * mLongueurArchive - (sender.Resumed() ? sender.ResumeFrom : 0);
  std::error_code erreur;
  const auto place = std::filesystem::space(CheminTelechargement(mURLTelechargement), erreur);
  const auto libre = erreur ? 0 : static_cast<int64_t>(place.available);
  if (libre < besoin) {
    AbandonnerTelechargement("not enough free space in ~/Downloads: " + Str((besoin + 999999) / 1000000) +
                             " MB needed, " + Str(libre / 1000000) + " MB free");
  }
}

void FenetreTelechargement::Downloader_ReceiveProgress(HTTPSocket& sender, int64_t bytesReceived, int64_t totalBytes,
                                                       const std::string& newData) {
  mOctetsRecus = bytesReceived;
  mOctetsConnexion += LenB(newData);
  // The display is the archive's; its signature's few bytes don't move it,
  // nor does the page of an error or a redirection, which is no part of it.
  if (mSignatureEnCours || sender.HTTPStatusCode() >= 300) return;
  if (mEmpreinteArchive) mEmpreinteArchive->Update(newData);
  if (!mDeltaEnCours && Ticks() - mDernierEtat >= 60) NoterEtatTelechargement();
  if (totalBytes < 1) {
    // No length announced: a busy bar, and the amount received so far.
    ProgressBarDonwload().SetMaximum(0);
    ProgressBarDonwload().Refresh(true);
    LabelDownload().SetText(Strings::TailleRecue(bytesReceived));
    LabelDownload().Refresh(true);
    return;
  }
  const double progress = static_cast<double>(bytesReceived) / static_cast<double>(totalBytes);
  ProgressBarDonwload().SetMaximum(100);
  ProgressBarDonwload().SetValue(ToInteger(100.0 * progress));
  ProgressBarDonwload().Refresh(true);
  LabelDownload().SetText(Format(progress, "#%"));
  LabelDownload().Refresh(true);
}

void FenetreTelechargement::Downloader_DownloadComplete(HTTPSocket& sender, const std::string& url, int64_t httpStatus,
                                                        const Ref<InternetHeaders>& headers,
                                                        const Ref<FolderItem>& file) {
  mSurveillanceTelechargement.SetMode(0);
  // The file that this download brings, or whose signature it brings.
  const String urlFichier = mDeltaEnCours ? mURLDelta : App().strURLGlobal;
  const bool bArchive = !mSignatureEnCours && !mDeltaEnCours;
  App().Journaliser("download: " + url + ": " + Str(httpStatus) + " " + sender.HTTPReasonPhrase() + ", " +
                    Str(mOctetsConnexion) + " bytes in " +
                    Format(static_cast<double>(Ticks() - mDebutTelechargement) / 60.0, "0.0") + " s");
  // A page of another status, a body cut short or a write that failed is no
  // archive: the download's failure, before anything is unzipped. A server
  // that can't go on with the archive's file starts it over; a connection
  // that ended early goes on where it stopped.
  const String defaut = DefautTelechargement(sender, url, httpStatus, headers, mOctetsRecus, file);
  if (bArchive && (httpStatus == 416 || (httpStatus == 206 && !sender.Resumed()))) {
    Supprimer(CheminTelechargement(urlFichier) + kExtensionEtat);
    mValidateur = "";
    ReprendreTelechargement(defaut + ": the file starts over");
    return;
  }
  if (bArchive && defaut != "" && (httpStatus == 200 || httpStatus == 206) && mOctetsRecus < mLongueurArchive) {
    ReprendreTelechargement(defaut);
    return;
  }
  if (defaut != "") {
    AbandonnerTelechargement((mSignatureEnCours ? "the signature's download failed: " : "the download failed: ") +
                             defaut);
    return;
  }
  if (bArchive) NoterEtatTelechargement();
  // With a key, only a file that it signed under its own name goes on.
  const String cle = ClePubliqueMiseAJour();
  if (cle != "" && !mSignatureEnCours) {
    mSignatureEnCours = true;
    Telecharger(urlFichier + kExtensionSignature,
                New<FolderItem>(CheminTelechargement(urlFichier) + kExtensionSignature, FolderItem::PathModes::Shell));
    return;
  }
  if (cle != "") {
    const String echec = VerifyMinisignSignature(
        cle, CheminTelechargement(urlFichier), CheminTelechargement(urlFichier) + kExtensionSignature,
        App().ExtraireNomFichier(urlFichier), mEmpreinteArchive ? mEmpreinteArchive->Digest() : "");
    if (echec != "") {
      AbandonnerTelechargement("the signature check failed: " + echec);
      return;
    }
    App().Journaliser(String("signature: the ") + (mDeltaEnCours ? "delta" : "archive") +
                      " carries a valid signature of the update key");
  }
  LabelDownload().SetVisible(false);
  ProgressBarDonwload().SetVisible(false);
  if (cle == "") {
    std::cerr << "VelmarisMAJ: no update key is set; the archive is not authenticated\n";
    App().Journaliser("signature: no update key is set; the archive is not authenticated");
  }
  LabelTelechargement().SetText(Strings::kLabelTelechargement3());
  App().PatienterSecondes(1);
  TimerInstallation().SetMode(1);
}

void FenetreTelechargement::Downloader_Error(HTTPSocket& sender, int64_t code) {
  const String raison = (mSignatureEnCours ? "the signature's download failed: " : "the download failed: ") +
                        sender.ErrorMessage() + " (error " + Str(code) + ")";
  // Once the archive has begun to come, a failed connection is one more to resume.
  if (!mSignatureEnCours && !mDeltaEnCours && mReprises > 0) {
    ReprendreTelechargement(raison);
  } else {
    AbandonnerTelechargement(raison);
  }
}

void FenetreTelechargement::AbandonnerTelechargement(const String& raison) {
  LabelDownload().FlushEcho();
  if (mDeltaEnCours) {
    RenoncerDelta(raison);
    return;
  }
  App().NoterRaison(raison);
  AnnulerTelechargement(false);
  App().AfficherMessage(Strings::kMsgBoxErreurMAJ2(), Strings::kMsgBoxVelmarisDispo(), true);
  RouvrirApplication();
  Quit(0);
}

void FenetreTelechargement::AnnulerTelechargement(bool bGarderArchive) {
  mMiseAJourAnnulable = false;
  mSurveillanceTelechargement.SetMode(0);
  mReprise.SetMode(0);
  if (bGarderArchive && !mSignatureEnCours && !mDeltaEnCours) NoterEtatTelechargement();
  Downloader().Close();
  Downloader()._KillDownloadStream();
  for (const String& url : {App().strURLGlobal, mURLDelta}) {
    if (url == "") continue;
    const String chemin = CheminTelechargement(url);
    Supprimer(chemin + kExtensionSignature);
    // Without a record the next run could not go on with the archive.
    if (bGarderArchive && url == App().strURLGlobal && App().ExisteRepertoire(chemin + kExtensionEtat) == 0) continue;
    Supprimer(chemin);
    Supprimer(chemin + kExtensionEtat);
  }
  // Left empty, the tool's folder goes too.
  New<FolderItem>(App().CheminDossierPropre(System::EnvironmentVariable("HOME")), FolderItem::PathModes::Shell)
      ->Delete();
}

void FenetreTelechargement::AfficherTelechargement(const String& url) {
  LabelTelechargement().SetText(Strings::kLabelTelechargement1() + App().ExtraireNomFichier(url) +
                                Strings::kLabelTelechargement2());
  LabelDownload().SetVisible(true);
  ProgressBarDonwload().SetVisible(true);
}

void FenetreTelechargement::ControlerDebit() {
  if (mOctetsConnexion - mOctetsFenetre >= kOctetsMinimumFenetre) {
    SurveillerTelechargement();
    return;
  }
  const String raison =
      "the download failed: " +
      (mOctetsConnexion == 0 ? String("nothing") : Str(mOctetsConnexion - mOctetsFenetre) + " bytes") +
      " arrived from " + mURLTelechargement + " in " +
      Format(static_cast<double>(FenetreMillisecondes()) / 1000.0, "0.#") + " s";
  // The archive goes on where it stopped once any of it has come.
  const bool bArchive = !mSignatureEnCours && !mDeltaEnCours;
  if (bArchive && (mReprises > 0 || mOctetsRecus > 0)) {
    ReprendreTelechargement(raison);
  } else {
    AbandonnerTelechargement(raison);
  }
}

void FenetreTelechargement::FermetureDemandee() {
  // Stopped half-way, the installation would end without the application
  // opened again; it ends by itself within seconds.
  if (mInstallationEnCours) return;
  if (mMiseAJourAnnulable) {
    AnnulerTelechargement(true);
    RouvrirApplication();
  }
  Quit(0);
}

bool FenetreTelechargement::LancerTelechargement(const String& url) {
  try {
    auto fichier = New<FolderItem>(CheminTelechargement(url), FolderItem::PathModes::Shell);
    for (const Ref<FolderItem>& dossier : {fichier->Parent()->Parent(), fichier->Parent()}) {
      if (!dossier->Exists()) dossier->CreateAsFolder();
    }
    mEmpreinteArchive = ClePubliqueMiseAJour() != "" ? std::make_unique<BackgroundDigest>() : nullptr;
    int64_t depuis = 0;
    if (url == App().strURLGlobal) {
      // What an earlier run left goes on, when its record agrees with it: the
      // same URL, a validator, and the file at least as long as recorded.
      // Otherwise it starts over. The digest takes in the bytes on disk first.
      const String chemin = fichier->NativePath();
      const EtatTelechargement etat = EtatTelechargement::Lire(chemin + kExtensionEtat);
      if (etat.url == url && etat.validateur != "" && etat.octets > 0 &&
          std::cmp_greater_equal(fichier->Length(), etat.octets)) {
        depuis = etat.octets;
        mValidateur = etat.validateur;
        mLongueurArchive = etat.longueur;
        if (mEmpreinteArchive) mEmpreinteArchive->UpdateFromFile(chemin, depuis);
      } else {
        Supprimer(chemin + kExtensionEtat);
      }
      if (depuis > 0 && depuis == mLongueurArchive) {
        // Whole already: nothing more to fetch.
        App().Journaliser("download: " + chemin + " is whole from an earlier run");
        mURLTelechargement = url;
        mOctetsRecus = depuis;
        Downloader_DownloadComplete(Downloader(), url, 200, nullptr, fichier);
        return true;
      }
    }
    Telecharger(url, fichier, depuis);
    return true;
  } catch (const IOException&) {
  } catch (const UnsupportedFormatException&) {
  }
  return false;
}

void FenetreTelechargement::NoterEtatTelechargement() {
  mDernierEtat = Ticks();
  // The record never counts bytes that the file doesn't hold yet.
  const String chemin = CheminTelechargement(App().strURLGlobal);
  Downloader()._FlushDownloadStream();
  if (mValidateur == "" || App().RetournerTailleFichier(chemin) < mOctetsRecus) return;
  EtatTelechargement etat;
  etat.url = App().strURLGlobal;
  etat.validateur = mValidateur;
  etat.longueur = mLongueurArchive;
  etat.octets = mOctetsRecus;
  etat.Ecrire(chemin + kExtensionEtat);
}

void FenetreTelechargement::RelancerTelechargement() {
  // The file holds every byte counted: the request goes on from there, with
  // the digest as it stands; without a validator it starts over.
  const String url = App().strURLGlobal;
  auto fichier = New<FolderItem>(CheminTelechargement(url), FolderItem::PathModes::Shell);
  int64_t depuis = mOctetsRecus;
  if (mValidateur == "" || std::cmp_less(fichier->Length(), depuis)) {
    depuis = 0;
    if (mEmpreinteArchive) mEmpreinteArchive = std::make_unique<BackgroundDigest>();
  }
  Telecharger(url, fichier, depuis);
}

void FenetreTelechargement::RenoncerDelta(const String& raison) {
  const String ligne = "the delta from " + mVersionInstallee + " to " + App().RetournerValeurArgument("MAJ") +
                       " is not used: " + raison + "; the full archive follows";
  std::cerr << "VelmarisMAJ: " << ligne << "\n";
  App().Journaliser(ligne);
  Downloader().Close();
  Downloader()._KillDownloadStream();
  Supprimer(CheminTelechargement(mURLDelta));
  Supprimer(CheminTelechargement(mURLDelta) + kExtensionSignature);
  mDeltaEnCours = false;
  mSignatureEnCours = false;
  mInstallationEnCours = false;
  mMiseAJourAnnulable = true;
  AfficherTelechargement(App().strURLGlobal);
  // The figure starts again, so that the archive's own figures show, its
  // last one too.
  ProgressBarDonwload().SetValue(0);
  LabelDownload().SetText(Format(0.0, "#%"));
  if (!LancerTelechargement(App().strURLGlobal)) AbandonnerTelechargement("the download failed: it can't start");
}

void FenetreTelechargement::ReprendreTelechargement(const String& raison) {
  if (mReprises == kReprisesMaximum) {
    AbandonnerTelechargement(raison + "; given up after " + Str(kReprisesMaximum) + " resumes");
    return;
  }
  ++mReprises;
  mSurveillanceTelechargement.SetMode(0);
  NoterEtatTelechargement();
  Downloader().Close();
  Downloader()._KillDownloadStream();
  LabelDownload().FlushEcho();
  App().Journaliser(raison + "; resuming (" + Str(mReprises) + "/" + Str(kReprisesMaximum) + ")");
  LabelTelechargement().SetText(Strings::kLabelReprise() + " (" + Str(mReprises) + "/" + Str(kReprisesMaximum) + ")");
  mReprise.SetPeriod(PauseAvantReprise(mReprises));
  mReprise.SetMode(1);
}

void FenetreTelechargement::SurveillerTelechargement() {
  mOctetsFenetre = mOctetsConnexion;
  mSurveillanceTelechargement.SetPeriod(FenetreMillisecondes());
  mSurveillanceTelechargement.SetMode(1);
}

bool FenetreTelechargement::TelechargementRepris(const String& chemin) const {
  const String archive = CheminTelechargement(App().strURLGlobal);
  if (chemin != archive && chemin != archive + kExtensionEtat) return false;
  return EtatTelechargement::Lire(archive + kExtensionEtat).url == App().strURLGlobal;
}

void FenetreTelechargement::Telecharger(const String& url, const Ref<FolderItem>& fichier, int64_t depuis) {
  App().Journaliser("download: GET " + url + (depuis > 0 ? " from byte " + Str(depuis) : "") + " into " +
                    fichier->NativePath());
  mOctetsRecus = depuis;
  mOctetsConnexion = 0;
  mURLTelechargement = url;
  mDebutTelechargement = Ticks();
  SurveillerTelechargement();
  // Hosts answer http with a redirect to https, and company networks reach
  // them through their proxy.
  Downloader().FollowRedirects = true;
  Downloader().UseSystemProxy = true;
  Downloader().ResumeFrom = depuis;
  Downloader().ResumeValidator = depuis > 0 ? mValidateur : "";
  Downloader().Get(url, fichier);
}

}  // namespace velmaris

// The update job's first half: the update branch of the dispatcher puts
// right what an interrupted update left and starts the download of the new
// version into the Downloads folder, the delta from the installed version
// first where there is one to try; the Downloader's events move the
// progress display, check what arrived and hand over to the installation.
// Any doubt about a delta falls back to the full archive in the same run.
#include <algorithm>
#include <iostream>

#include "base/Clock.h"
#include "base/FolderItem.h"
#include "base/InfoPlist.h"
#include "base/Minisign.h"
#include "base/Runtime.h"
#include "base/Shell.h"
#include "base/StringFunctions.h"
#include "base/System.h"
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

// A download that receives nothing for this long is given up. Tests make it
// short through VELMARIS_STALL_SECONDS (fractions allowed).
int64_t DelaiInactiviteMillisecondes() {
  const double seconds = Val(System::EnvironmentVariable("VELMARIS_STALL_SECONDS"));
  return seconds > 0 ? ToInteger(seconds * 1000.0) : 60000;
}

// Where the download of that URL goes: the Downloads folder, under the
// URL's last segment.
String CheminTelechargement(const String& url) {
  return System::EnvironmentVariable("HOME") + "/Downloads/" + App().ExtraireNomFichier(url);
}

// The archive's minisign signature, fetched beside it.
const String kExtensionSignature = ".minisig";

// Why what arrived is not the archive, or "" when it is: the whole body of
// a 200 answer, every byte of it written.
String DefautTelechargement(const String& url, int64_t httpStatus, const String& phrase,
                            const Ref<InternetHeaders>& headers, int64_t recus, const Ref<FolderItem>& fichier) {
  if (httpStatus == 407) return url + ": the proxy asks for credentials (407)";
  if (httpStatus != 200) {
    return url + ": " + (httpStatus == 0 ? "no HTTP answer" : Str(httpStatus)) + (phrase == "" ? "" : " " + phrase);
  }
  if (!headers.IsNil() && headers->_HasHeader("Content-Length")) {
    const int64_t annonce = ToInteger(Val(headers->Value("Content-Length")));
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
  app.Journaliser("update job: " + strRepApp + ", version " + InfoPlistValue(strRepApp, "CFBundleShortVersionString") +
                  ", to " + velmaris::Left(strVersionMAJ, 80));
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

void FenetreTelechargement::Downloader_ReceiveProgress(HTTPSocket& sender, int64_t bytesReceived, int64_t totalBytes,
                                                       const std::string& newData) {
  SurveillerTelechargement();
  mOctetsRecus = bytesReceived;
  // The display is the archive's; its signature's few bytes don't move it,
  // nor does the page of an error or a redirection, which is no part of it.
  if (mSignatureEnCours || sender.HTTPStatusCode() >= 300) return;
  if (mEmpreinteArchive) mEmpreinteArchive->Update(newData);
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
  App().Journaliser("download: " + url + ": " + Str(httpStatus) + " " + sender.HTTPReasonPhrase() + ", " +
                    Str(mOctetsRecus) + " bytes in " +
                    Format(static_cast<double>(Ticks() - mDebutTelechargement) / 60.0, "0.0") + " s");
  // A page of another status, a body cut short or a write that failed is no
  // archive: the download's failure, before anything is unzipped.
  const String defaut = DefautTelechargement(url, httpStatus, sender.HTTPReasonPhrase(), headers, mOctetsRecus, file);
  if (defaut != "") {
    AbandonnerTelechargement((mSignatureEnCours ? "the signature's download failed: " : "the download failed: ") +
                             defaut);
    return;
  }
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
  AbandonnerTelechargement((mSignatureEnCours ? "the signature's download failed: " : "the download failed: ") +
                           sender.ErrorMessage() + " (error " + Str(code) + ")");
}

void FenetreTelechargement::AbandonnerTelechargement(const String& raison) {
  LabelDownload().FlushEcho();
  if (mDeltaEnCours) {
    RenoncerDelta(raison);
    return;
  }
  App().NoterRaison(raison);
  AnnulerTelechargement();
  App().AfficherMessage(Strings::kMsgBoxErreurMAJ2(), Strings::kMsgBoxVelmarisDispo(), true);
  RouvrirApplication();
  Quit(0);
}

void FenetreTelechargement::AnnulerTelechargement() {
  mMiseAJourAnnulable = false;
  mSurveillanceTelechargement.SetMode(0);
  Downloader().Close();
  Downloader()._KillDownloadStream();
  for (const String& url : {App().strURLGlobal, mURLDelta}) {
    if (url == "") continue;
    for (const String& chemin : {CheminTelechargement(url), CheminTelechargement(url) + kExtensionSignature}) {
      auto partiel = New<FolderItem>(chemin, FolderItem::PathModes::Shell);
      if (partiel->Exists() && !partiel->Directory()) partiel->Delete();
    }
  }
}

void FenetreTelechargement::AfficherTelechargement(const String& url) {
  LabelTelechargement().SetText(Strings::kLabelTelechargement1() + App().ExtraireNomFichier(url) +
                                Strings::kLabelTelechargement2());
  LabelDownload().SetVisible(true);
  ProgressBarDonwload().SetVisible(true);
}

void FenetreTelechargement::FermetureDemandee() {
  // Stopped half-way, the installation would end without the application
  // opened again; it ends by itself within seconds.
  if (mInstallationEnCours) return;
  if (mMiseAJourAnnulable) {
    AnnulerTelechargement();
    RouvrirApplication();
  }
  Quit(0);
}

void FenetreTelechargement::SurveillerTelechargement() {
  mSurveillanceTelechargement.SetPeriod(DelaiInactiviteMillisecondes());
  mSurveillanceTelechargement.SetMode(1);
}

bool FenetreTelechargement::LancerTelechargement(const String& url) {
  try {
    auto fichierTelecharge = New<FolderItem>(CheminTelechargement(url), FolderItem::PathModes::Shell);
    if (!fichierTelecharge->Parent()->Exists()) fichierTelecharge->Parent()->CreateAsFolder();
    mEmpreinteArchive = ClePubliqueMiseAJour() != "" ? std::make_unique<Blake2b512>() : nullptr;
    Telecharger(url, fichierTelecharge);
    return true;
  } catch (const IOException&) {
  } catch (const UnsupportedFormatException&) {
  }
  return false;
}

void FenetreTelechargement::RenoncerDelta(const String& raison) {
  const String ligne = "the delta from " + mVersionInstallee + " to " + App().RetournerValeurArgument("MAJ") +
                       " is not used: " + raison + "; the full archive follows";
  std::cerr << "VelmarisMAJ: " << ligne << "\n";
  App().Journaliser(ligne);
  Downloader().Close();
  Downloader()._KillDownloadStream();
  for (const String& chemin :
       {CheminTelechargement(mURLDelta), CheminTelechargement(mURLDelta) + kExtensionSignature}) {
    auto reste = New<FolderItem>(chemin, FolderItem::PathModes::Shell);
    if (reste->Exists() && !reste->Directory()) reste->Delete();
  }
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

void FenetreTelechargement::Telecharger(const String& url, const Ref<FolderItem>& fichier) {
  App().Journaliser("download: GET " + url + " into " + fichier->NativePath());
  mOctetsRecus = 0;
  mURLTelechargement = url;
  mDebutTelechargement = Ticks();
  SurveillerTelechargement();
  // Hosts answer http with a redirect to https, and company networks reach
  // them through their proxy.
  Downloader().FollowRedirects = true;
  Downloader().UseSystemProxy = true;
  Downloader().Get(url, fichier);
}

}  // namespace velmaris

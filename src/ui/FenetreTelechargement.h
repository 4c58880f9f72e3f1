#pragma once
// The tool's one window: a logo and a title picture above a separator, a
// status row below it, and the invisible controls that drive the jobs. The
// handlers live in src/workflow, one file per job.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/BackgroundDigest.h"
#include "base/Control.h"
#include "base/Timer.h"
#include "base/Window.h"
#include "http/HTTPSocket.h"
#include "ui/Controls.h"

namespace velmaris {

class Shell;

class FenetreTelechargement : public Window {
  Q_OBJECT

 public:
  // Lays the window out and makes its controls; the accessor below opens it.
  FenetreTelechargement();
  ~FenetreTelechargement() override;

  // Applies the window's property block.
  void Layout();
  void CreateControls();
  // Makes the controls in order, each registered under its name, set up from
  // its property block, with its handlers attached.
  void _CreateControls0();

  HTTPSocket& Downloader();
  Canvas& ImageLogo();
  Timer& TimerQuit();
  Label& LabelTelechargement();
  Canvas& ImageTitre();
  Separator& SeparateurLogoInformation();
  Label& LabelVersion();
  Label& LabelDownload();
  Timer& TimerInstallation();
  ProgressBar& ProgressBarDonwload();

  void Downloader_DownloadComplete(HTTPSocket& sender, const std::string& url, int64_t httpStatus,
                                   const Ref<InternetHeaders>& headers, const Ref<FolderItem>& file);
  // A download that can't go on: the connection failed. The archive's
  // resumes where it stopped; anything else gives the update up and
  // re-opens the main application.
  void Downloader_Error(HTTPSocket& sender, int64_t code);
  // The answer's header block: the archive's validator and length, and
  // whether the Downloads folder has room for it.
  void Downloader_HeadersReceived(HTTPSocket& sender, const Ref<InternetHeaders>& headers, int64_t httpStatus);
  void Downloader_ReceiveProgress(HTTPSocket& sender, int64_t bytesReceived, int64_t totalBytes,
                                  const std::string& newData);
  void TimerQuit_Action(Timer& sender);
  // The update branch of TimerQuit_Action; sh re-opens the main application
  // when the download can't be started.
  void BrancheMiseAJour(Shell& sh);
  // Before a download: what an update that ended half-way left behind is
  // put right. An old application set aside goes back in its place, copies
  // go, the volume is detached, and of the tool's folder only the partial
  // archive of the same URL and its record stay.
  void RecupererInstallationInterrompue(Shell& sh) const;
  // True for the partial archive of this run's URL and for its record, when
  // the record names that URL: what the download goes on with.
  bool TelechargementRepris(const std::string& chemin) const;
  void TimerInstallation_Action(Timer& sender);
  void Event_Open();
  // The user or the system ends the tool: File ▸ Quit, its shortcut, the
  // window closed by the window manager, or SIGTERM, SIGINT and SIGHUP. An
  // update that has not begun to install is called off first: what it
  // downloaded goes and the main application is re-opened. An installation
  // under way is left to end by itself.
  void FermetureDemandee();

 private:
  // The road of a download that can't go on: why, on stderr; the dialog;
  // partial files removed, main application re-opened, end of the run. A
  // delta's download falls back to the full archive instead, and returns.
  void AbandonnerTelechargement(const std::string& raison);
  // Shows the progress display for the download of that URL's file.
  void AfficherTelechargement(const std::string& url);
  // Stops the download. What it wrote goes, but for the partial archive and
  // its record when bGarderArchive, so that the next run goes on with it.
  void AnnulerTelechargement(bool bGarderArchive);
  // Builds the new application from the installed one and the delta, and
  // puts it in place; any doubt falls back to the full archive.
  void InstallerDelta(Shell& sh);
  // Starts the download of the URL into the tool's folder in Downloads,
  // under the URL's last segment, hashed as it arrives when a key is set;
  // the archive goes on from what an earlier run or connection left, when
  // its record agrees. False when it can't start.
  bool LancerTelechargement(const std::string& url);
  // Writes the archive's record, so that a run that ends now leaves it.
  void NoterEtatTelechargement();
  // The archive's connection was lost or stalled: a new request for the
  // rest after a pause, up to five times, then the failure road.
  void ReprendreTelechargement(const std::string& raison);
  // The new request for the rest of the archive, once the pause is over.
  void RelancerTelechargement();
  // The delta is set aside: why, on one stderr line; the delta and its
  // signature removed; the full archive's download, under the same display.
  void RenoncerDelta(const std::string& raison);
  // The end of the watch's window: a download that received fewer than
  // 16 KiB in it stalls; otherwise a new window begins.
  void ControlerDebit();
  // Begins a window of the watch over the download under way.
  void SurveillerTelechargement();
  // Starts the Downloader's download of the URL into the file, watched,
  // from that offset on (0 for whole).
  void Telecharger(const std::string& url, const Ref<FolderItem>& fichier, int64_t depuis = 0);

  // A new control of that class: a widget in the content area, or an
  // invisible control that the window owns.
  template <typename ControlClass>
  ControlClass* _NewControl();
  void _AddControl(const std::string& name, Control* control);
  // Raises NilObjectException when no control of that class has the name.
  template <typename ControlClass>
  ControlClass& _ControlByName(const std::string& name) const;

  std::map<std::string, Control*> mControls;
  std::vector<std::unique_ptr<Control>> mInvisibleControls;
  // Ends a download that stalls, and starts the archive's again after a pause.
  Timer mSurveillanceTelechargement;
  Timer mReprise;
  // From the start of the update branch until the installation begins: the
  // installed application is untouched, and a Quit calls the update off.
  bool mMiseAJourAnnulable = false;
  // From the start of the installation to the end of the run: a Quit waits
  // for its end.
  bool mInstallationEnCours = false;
  // The body bytes of the download under way, as the file counts them (from
  // where a resumed download went on), those of its connection, and those
  // at the start of the watch's window.
  int64_t mOctetsRecus = 0;
  int64_t mOctetsConnexion = 0;
  int64_t mOctetsFenetre = 0;
  // The archive's resumes in this run, the validator and the length that its
  // server announced, and when its record was last written (in ticks).
  int64_t mReprises = 0;
  std::string mValidateur;
  int64_t mLongueurArchive = 0;
  int64_t mDernierEtat = 0;
  // Its URL and its start, in ticks.
  std::string mURLTelechargement;
  int64_t mDebutTelechargement = 0;
  // The archive or the delta is in, and its signature is coming.
  bool mSignatureEnCours = false;
  // The version that the installed application's Info.plist names.
  std::string mVersionInstallee;
  // The delta from that version to the new one, "" when none is tried.
  std::string mURLDelta;
  // The delta is on its way: downloading, or being applied.
  bool mDeltaEnCours = false;
  // With a key, the digest of the archive or the delta, taken as its bytes
  // arrive, so that its signature's check needs no second pass over it.
  std::unique_ptr<BackgroundDigest> mEmpreinteArchive;
};

// The window's one instance, made and opened (Event_Open, then shown) at the
// first call. The class shares the name, so it is written
// "class FenetreTelechargement" as a type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
class FenetreTelechargement& FenetreTelechargement();
#pragma GCC diagnostic pop
// Closes and releases the window (end of the run, tests).
void _ReleaseFenetreTelechargement();

}  // namespace velmaris

#pragma once
// The tool's one window: a logo and a title picture above a separator, a
// status row below it, and the invisible controls that drive the jobs. The
// handlers live in src/workflow, one file per job.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Control.h"
#include "base/Minisign.h"
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
  // A download that can't go on: the connection failed, or nothing came for
  // too long. The update is given up and the main application re-opened.
  void Downloader_Error(HTTPSocket& sender, int64_t code);
  void Downloader_ReceiveProgress(HTTPSocket& sender, int64_t bytesReceived, int64_t totalBytes,
                                  const std::string& newData);
  void TimerQuit_Action(Timer& sender);
  // The update branch of TimerQuit_Action; sh re-opens the main application
  // when the download can't be started.
  void BrancheMiseAJour(Shell& sh);
  // Before a download: what an update that ended half-way left behind is
  // put right. An old application set aside goes back in its place, copies
  // and downloads go, and the volume is unmounted.
  void RecupererInstallationInterrompue(Shell& sh);
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
  // Stops the download and removes what it wrote.
  void AnnulerTelechargement();
  // Builds the new application from the installed one and the delta, and
  // puts it in place; any doubt falls back to the full archive.
  void InstallerDelta(Shell& sh);
  // Starts the download of the URL into the Downloads folder, under the
  // URL's last segment, hashed as it arrives when a key is set; false when
  // it can't start.
  bool LancerTelechargement(const std::string& url);
  // The delta is set aside: why, on one stderr line; the delta and its
  // signature removed; the full archive's download, under the same display.
  void RenoncerDelta(const std::string& raison);
  // (Re)starts the watch that gives up a download receiving nothing.
  void SurveillerTelechargement();
  // Starts the Downloader's download of the URL into the file, watched.
  void Telecharger(const std::string& url, const Ref<FolderItem>& fichier);

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
  // Ends a download that receives nothing for too long.
  Timer mSurveillanceTelechargement;
  // From the start of the update branch until the installation begins: the
  // installed application is untouched, and a Quit calls the update off.
  bool mMiseAJourAnnulable = false;
  // From the start of the installation to the end of the run: a Quit waits
  // for its end.
  bool mInstallationEnCours = false;
  // The body bytes of the download under way, as they arrived.
  int64_t mOctetsRecus = 0;
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
  std::unique_ptr<Blake2b512> mEmpreinteArchive;
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

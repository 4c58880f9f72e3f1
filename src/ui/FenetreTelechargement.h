#pragma once
// The tool's one window: a logo and a title picture above a separator, a
// status row below it, and the invisible controls that drive the jobs. The
// handlers live in src/workflow, one file per job.

#include <any>
#include <map>
#include <memory>
#include <string>

#include "base/Timer.h"
#include "base/Window.h"
#include "http/HTTPSocket.h"
#include "ui/Controls.h"

namespace velmaris {

class Shell;

class FenetreTelechargement : public Window {
 public:
  FenetreTelechargement();
  ~FenetreTelechargement() override;

  void Layout();
  void CreateControls();
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
  void TimerInstallation_Action(Timer& sender);
  void Event_Open();

 private:
  // The road of a download that can't go on: dialog, partial file removed,
  // main application re-opened, end of the run.
  void AbandonnerTelechargement();
  // (Re)starts the watch that gives up a download receiving nothing.
  void SurveillerTelechargement();

  template <typename Control>
  Control& _ControlByName(const std::string& name) const;
  template <typename Control>
  void _AddControl(const std::string& name, Control* control) {
    mControls[name] = control;
  }

  std::map<std::string, std::any> mControls;
  std::unique_ptr<HTTPSocket> mDownloader;
  // Ends a download that receives nothing for too long.
  std::unique_ptr<Timer> mSurveillanceTelechargement;
  std::unique_ptr<Timer> mTimerQuit;
  std::unique_ptr<Timer> mTimerInstallation;
};

// The window's one instance, made (and opened) at the first call. The class
// shares the name, so it is written "class FenetreTelechargement" as a type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
class FenetreTelechargement& FenetreTelechargement();
#pragma GCC diagnostic pop
// Whether the window has been made, without making it.
bool FenetreTelechargementExists();
// Closes and releases the window (end of the run, tests).
void _ReleaseFenetreTelechargement();

}  // namespace velmaris

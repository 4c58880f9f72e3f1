#include "ui/FenetreTelechargement.h"

#include "base/Exceptions.h"
#include "base/Runtime.h"

namespace velmaris {

namespace {
std::unique_ptr<class FenetreTelechargement>& Instance() {
  static std::unique_ptr<class FenetreTelechargement> window;
  return window;
}
}  // namespace

FenetreTelechargement::FenetreTelechargement() {
  Layout();
  CreateControls();
}

FenetreTelechargement::~FenetreTelechargement() = default;

void FenetreTelechargement::Layout() {
  setFixedSize(420, 95);
  setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
  setAutoFillBackground(true);
  QPalette colours = palette();
  colours.setColor(QPalette::Window, QColor(0xCC, 0xCC, 0xCC));
  setPalette(colours);
}

void FenetreTelechargement::CreateControls() { _CreateControls0(); }

void FenetreTelechargement::_CreateControls0() {
  mDownloader = std::make_unique<HTTPSocket>();
  mDownloader->DownloadComplete = [this](HTTPSocket& sender, const std::string& url, int64_t httpStatus,
                                         const Ref<InternetHeaders>& headers, const Ref<FolderItem>& file) {
    Downloader_DownloadComplete(sender, url, httpStatus, headers, file);
  };
  mDownloader->ReceiveProgress = [this](HTTPSocket& sender, int64_t bytesReceived, int64_t totalBytes,
                                        const std::string& newData) {
    Downloader_ReceiveProgress(sender, bytesReceived, totalBytes, newData);
  };
  mDownloader->Error = [this](HTTPSocket& sender, int64_t code) { Downloader_Error(sender, code); };
  _AddControl("Downloader", mDownloader.get());
  mSurveillanceTelechargement = std::make_unique<Timer>();
  mSurveillanceTelechargement->Action = [this](Timer& /*sender*/) { AbandonnerTelechargement(); };

  auto* imageLogo = new Canvas(this);
  imageLogo->setGeometry(9, 10, 64, 64);
  _AddControl("ImageLogo", imageLogo);

  mTimerQuit = std::make_unique<Timer>();
  mTimerQuit->SetMode(0);
  mTimerQuit->SetPeriod(100);
  mTimerQuit->Action = [this](Timer& sender) { TimerQuit_Action(sender); };
  _AddControl("TimerQuit", mTimerQuit.get());

  auto* labelTelechargement = new Label(this);
  labelTelechargement->setGeometry(44, 78, 314, 20);
  labelTelechargement->SetText("XXX");
  _AddControl("LabelTelechargement", labelTelechargement);

  auto* imageTitre = new Canvas(this);
  imageTitre->setGeometry(81, 11, 327, 45);
  _AddControl("ImageTitre", imageTitre);

  auto* separateur = new Separator(this);
  separateur->setGeometry(0, 76, 420, 4);
  separateur->setEnabled(false);
  _AddControl("SeparateurLogoInformation", separateur);

  auto* labelVersion = new Label(this);
  labelVersion->setGeometry(303, 57, 100, 16);
  labelVersion->SetText("Untitled");
  _AddControl("LabelVersion", labelVersion);

  auto* progressBar = new ProgressBar(this);
  progressBar->setGeometry(359, 78, 27, 20);
  progressBar->SetMaximum(100);
  progressBar->SetValue(0);
  progressBar->SetVisible(false);
  _AddControl("ProgressBarDonwload", progressBar);

  auto* labelDownload = new Label(this);
  labelDownload->setGeometry(389, 77, 32, 20);
  labelDownload->SetVisible(false);
  _AddControl("LabelDownload", labelDownload);

  mTimerInstallation = std::make_unique<Timer>();
  mTimerInstallation->SetMode(0);
  mTimerInstallation->SetPeriod(100);
  mTimerInstallation->Action = [this](Timer& sender) { TimerInstallation_Action(sender); };
  _AddControl("TimerInstallation", mTimerInstallation.get());
}

template <typename Control>
Control& FenetreTelechargement::_ControlByName(const std::string& name) const {
  const auto found = mControls.find(name);
  if (found == mControls.end()) throw NilObjectException("No control named " + name);
  return *std::any_cast<Control*>(found->second);
}

HTTPSocket& FenetreTelechargement::Downloader() { return _ControlByName<HTTPSocket>("Downloader"); }
Canvas& FenetreTelechargement::ImageLogo() { return _ControlByName<Canvas>("ImageLogo"); }
Timer& FenetreTelechargement::TimerQuit() { return _ControlByName<Timer>("TimerQuit"); }
Label& FenetreTelechargement::LabelTelechargement() { return _ControlByName<Label>("LabelTelechargement"); }
Canvas& FenetreTelechargement::ImageTitre() { return _ControlByName<Canvas>("ImageTitre"); }
Separator& FenetreTelechargement::SeparateurLogoInformation() {
  return _ControlByName<Separator>("SeparateurLogoInformation");
}
Label& FenetreTelechargement::LabelVersion() { return _ControlByName<Label>("LabelVersion"); }
Label& FenetreTelechargement::LabelDownload() { return _ControlByName<Label>("LabelDownload"); }
Timer& FenetreTelechargement::TimerInstallation() { return _ControlByName<Timer>("TimerInstallation"); }
ProgressBar& FenetreTelechargement::ProgressBarDonwload() { return _ControlByName<ProgressBar>("ProgressBarDonwload"); }

class FenetreTelechargement& FenetreTelechargement() {
  if (!Instance()) {
    Instance() = std::make_unique<class FenetreTelechargement>();
    class FenetreTelechargement& window = *Instance();
    _CallFunctionWithExceptionHandling([&window] { window.Event_Open(); });
    window.show();
  }
  return *Instance();
}

bool FenetreTelechargementExists() { return Instance() != nullptr; }

void _ReleaseFenetreTelechargement() { Instance().reset(); }

}  // namespace velmaris

#include "ui/FenetreTelechargement.h"

#include <type_traits>

#include "base/Exceptions.h"
#include "base/Properties.h"
#include "base/Runtime.h"
#include "base/StringFunctions.h"
#include "core/VelmarisMAJ.h"
#include "ui/Downloader.h"
#include "ui/Pictures.h"
#include "ui/Strings.h"

namespace velmaris {

namespace {

PropertyBlock operator+(PropertyBlock block, const PropertyBlock& more) {
  block.insert(block.end(), more.begin(), more.end());
  return block;
}

PropertyBlock WindowProperties() {
  return {{"Width", 420},
          {"Height", 95},
          {"MinWidth", 64},
          {"MinHeight", 95},
          {"MaxWidth", 32000},
          {"MaxHeight", 32000},
          {"Frame", 2},
          {"Title", Strings::kTitreFenetreTelechargement()},
          {"CloseButton", false},
          {"Resizeable", false},
          {"MaximizeButton", false},
          {"MinimizeButton", false},
          {"FullScreenButton", false},
          {"Composite", false},
          {"MacProcID", 0},
          {"Placement", 0},
          {"Visible", true},
          {"LiveResize", true},
          {"FullScreen", false},
          {"HasBackColor", true},
          {"BackColor", Color{0xCC, 0xCC, 0xCC}},
          {"MenuBarVisible", true}};
}

PropertyBlock VisibleControl(int left, int top, int width, int height, int tabIndex, bool visible) {
  return {{"Index", int64_t{-2147483648}},
          {"Left", left},
          {"Top", top},
          {"Width", width},
          {"Height", height},
          {"LockLeft", true},
          {"LockTop", true},
          {"LockRight", false},
          {"LockBottom", false},
          {"TabIndex", tabIndex},
          {"TabPanelIndex", 0},
          {"TabStop", true},
          {"Visible", visible},
          {"HelpTag", std::string()},
          {"AutoDeactivate", true},
          {"InitialParent", std::string()}};
}

const PropertyBlock kCanvas = {{"Enabled", true},     {"UseFocusRing", true},  {"AcceptFocus", false},
                               {"AcceptTabs", false}, {"DoubleBuffer", false}, {"EraseBackground", true},
                               {"Transparent", true}};

const PropertyBlock kLabel = {{"Multiline", false},
                              {"Enabled", true},
                              {"Selectable", false},
                              {"Transparent", false},
                              {"TextFont", "System"},
                              {"TextUnit", 0},
                              {"Bold", false},
                              {"Italic", false},
                              {"Underline", false},
                              {"DataSource", std::string()},
                              {"DataField", std::string()}};

PropertyBlock LabelText(const std::string& text, int textAlign, Color textColor, double textSize) {
  return {{"Text", text}, {"TextAlign", textAlign}, {"TextColor", textColor}, {"TextSize", textSize}};
}

const PropertyBlock kTimer = {{"Mode", 0}, {"Period", 100}};

const PropertyBlock kDownloader = {{"Address", std::string()},
                                   {"httpProxyAddress", std::string()},
                                   {"httpProxyPort", 0},
                                   {"Port", 0},
                                   {"yield", false}};

}  // namespace

FenetreTelechargement::FenetreTelechargement() : Window(App().MenuBar) {
  Layout();
  CreateControls();
  // Without a display these two say on stderr what the window would show:
  // every status, and the download's percentage or amount four times a
  // second at most.
  LabelTelechargement().SetHeadlessEcho(true);
  LabelDownload().SetHeadlessEcho(true, std::chrono::milliseconds(250));
  CloseRequested = [this](Window& /*sender*/) { FermetureDemandee(); };
}

FenetreTelechargement::~FenetreTelechargement() = default;

void FenetreTelechargement::Layout() { _SetProperties(*this, WindowProperties()); }

void FenetreTelechargement::CreateControls() { _CreateControls0(); }

void FenetreTelechargement::_CreateControls0() {
  _AddControl("Downloader", _NewControl<_wrapper_Downloader>());
  _SetProperties(_ControlByName<_wrapper_Downloader>("Downloader"), kDownloader);
  Downloader().DownloadComplete = [this](HTTPSocket& sender, const std::string& url, int64_t httpStatus,
                                         const Ref<InternetHeaders>& headers, const Ref<FolderItem>& file) {
    Downloader_DownloadComplete(sender, url, httpStatus, headers, file);
  };
  Downloader().ReceiveProgress = [this](HTTPSocket& sender, int64_t bytesReceived, int64_t totalBytes,
                                        const std::string& newData) {
    Downloader_ReceiveProgress(sender, bytesReceived, totalBytes, newData);
  };
  Downloader().Error = [this](HTTPSocket& sender, int64_t code) { Downloader_Error(sender, code); };
  Downloader().HeadersReceived = [this](HTTPSocket& sender, const Ref<InternetHeaders>& headers, int64_t httpStatus) {
    Downloader_HeadersReceived(sender, headers, httpStatus);
  };
  mSurveillanceTelechargement.Action = [this](Timer& /*sender*/) { ControlerDebit(); };
  mReprise.Action = [this](Timer& /*sender*/) { RelancerTelechargement(); };

  _AddControl("ImageLogo", _NewControl<Canvas>());
  ImageLogo().SetBackdrop(Logo());
  _SetProperties(ImageLogo(), VisibleControl(9, 10, 64, 64, 5, true) + kCanvas);

  _AddControl("TimerQuit", _NewControl<Timer>());
  _SetProperties(TimerQuit(), kTimer);
  TimerQuit().Action = [this](Timer& sender) { TimerQuit_Action(sender); };

  _AddControl("LabelTelechargement", _NewControl<Label>());
  _SetProperties(LabelTelechargement(),
                 VisibleControl(44, 78, 314, 20, 6, true) + kLabel + LabelText("XXX", 1, Color{0x66, 0x66, 0x66}, 10));

  _AddControl("ImageTitre", _NewControl<Canvas>());
  ImageTitre().SetBackdrop(Velmaris_Titre());
  _SetProperties(ImageTitre(), VisibleControl(81, 11, 327, 45, 7, true) + kCanvas);

  _AddControl("SeparateurLogoInformation", _NewControl<Separator>());
  _SetProperties(SeparateurLogoInformation(),
                 VisibleControl(0, 76, 420, 4, 8, true) + PropertyBlock{{"Enabled", false}});

  _AddControl("LabelVersion", _NewControl<Label>());
  _SetProperties(LabelVersion(), VisibleControl(303, 57, 100, 16, 9, true) + kLabel +
                                     LabelText("Untitled", 2, Color{0x61, 0x61, 0x61}, 10));

  _AddControl("ProgressBarDonwload", _NewControl<ProgressBar>());
  _SetProperties(ProgressBarDonwload(), VisibleControl(359, 78, 27, 20, 10, false) +
                                            PropertyBlock{{"Enabled", true}, {"Value", 0}, {"Maximum", 100}});

  _AddControl("LabelDownload", _NewControl<Label>());
  _SetProperties(LabelDownload(),
                 VisibleControl(389, 77, 32, 20, 11, false) + kLabel + LabelText("", 1, Color{0x66, 0x66, 0x66}, 9));

  _AddControl("TimerInstallation", _NewControl<Timer>());
  _SetProperties(TimerInstallation(), kTimer);
  TimerInstallation().Action = [this](Timer& sender) { TimerInstallation_Action(sender); };
}

template <typename ControlClass>
ControlClass* FenetreTelechargement::_NewControl() {
  if constexpr (std::is_base_of_v<QWidget, ControlClass>) {
    // Owned by the content area, and stacked in the order made.
    return new ControlClass(Content());
  } else {
    mInvisibleControls.push_back(std::make_unique<ControlClass>());
    return static_cast<ControlClass*>(mInvisibleControls.back().get());
  }
}

void FenetreTelechargement::_AddControl(const std::string& name, Control* control) { mControls[name] = control; }

template <typename ControlClass>
ControlClass& FenetreTelechargement::_ControlByName(const std::string& name) const {
  const auto found = mControls.find(name);
  auto* control = found == mControls.end() ? nullptr : dynamic_cast<ControlClass*>(found->second);
  if (control == nullptr) throw NilObjectException("No control named " + name);
  return *control;
}

HTTPSocket& FenetreTelechargement::Downloader() { return _ControlByName<_wrapper_Downloader>("Downloader"); }
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

namespace {
std::unique_ptr<class FenetreTelechargement>& Instance() {
  static std::unique_ptr<class FenetreTelechargement> window;
  return window;
}
}  // namespace

class FenetreTelechargement& FenetreTelechargement() {
  if (!Instance()) {
    Instance() = std::make_unique<class FenetreTelechargement>();
    class FenetreTelechargement& window = *Instance();
    _CallFunctionWithExceptionHandling([&window] { window.Event_Open(); });
    window._ShowIfVisible();
  }
  return *Instance();
}

void _ReleaseFenetreTelechargement() { Instance().reset(); }

}  // namespace velmaris

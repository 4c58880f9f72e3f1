#include "core/Startup.h"

#include <QApplication>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "base/EndSignals.h"
#include "base/Runtime.h"
#include "base/System.h"
#include "base/Translations.h"
#include "base/UpdateLog.h"
#include "core/VelmarisMAJ.h"
#include "ui/FenetreTelechargement.h"
#include "ui/MainMenuBar.h"

namespace velmaris {

namespace {

std::unique_ptr<QApplication>& Framework() {
  static std::unique_ptr<QApplication> framework;
  return framework;
}

// Qt keeps references to argc and argv for the life of the application.
int gArgc = 0;

QtMessageHandler gQtMessages = nullptr;

// Qt warns on every start when XDG_RUNTIME_DIR is unset, as it is outside a
// desktop session; the tool keeps nothing there, so the warning tells its
// user nothing. Every other message of Qt goes on as before.
void FilterQtMessages(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set"))) return;
  gQtMessages(type, context, message);
}

// Without a display the tool runs on Qt's offscreen platform, where dialogs
// become stderr lines.
void SelectPlatform() {
#if defined(Q_OS_LINUX)
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
      qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
#endif
}

void RuntimeInit(int argc, char** argv) {
  System::SetArguments(std::vector<std::string>(argv, argv + argc));
  SelectPlatform();
  gQtMessages = qInstallMessageHandler(FilterQtMessages);
  gArgc = argc;
  Framework() = std::make_unique<QApplication>(gArgc, argv);
  QApplication::setApplicationName(QStringLiteral("VelmarisMAJ"));
  QApplication::setQuitOnLastWindowClosed(false);
}

// A logout, Ctrl+C or a closed terminal ends the run as File ▸ Quit does,
// so that the application closed for the job is opened again.
void RuntimePerformInitializers() {
  InstallUserTranslation();
  CatchEndSignals(FileQuit_Action);
  OpenUpdateLog();
  LogStep("VelmarisMAJ " + std::to_string(Application::MajorVersion()) + "." +
          std::to_string(Application::MinorVersion()) + "." + std::to_string(Application::NonReleaseVersion()) +
          " started: " + System::CommandLine());
}

void _RuntimeSetExceptionHelper() {}

void _SetSupportsHiDPI(bool /*supported*/) {}

void _RuntimeInitExternalClasses() {}

void _InitPluginEntrypoints() {}

void _RunFrameworkInitialization(void (*lateStartup)()) { lateStartup(); }

void _RuntimeRun() {
  // A Quit during start-up has already ended the run.
  if (!RunIsEnding()) QApplication::exec();
}

void RuntimePerformFinalizers() {
  LogStep("end of the run");
  _ReleaseFenetreTelechargement();
  _RuntimeRegisterAppObject(nullptr);
  _ReleaseMainMenuBar();
  Framework().reset();
}

int RuntimeExit() { return static_cast<int>(RunExitCode()); }

}  // namespace

int main(int argc, char** argv) {
  RuntimeInit(argc, argv);
  RuntimePerformInitializers();
  _Main();
  RuntimePerformFinalizers();
  return RuntimeExit();
}

void _Main() {
  try {
    _RuntimeSetExceptionHelper();
    _EarlyStartup();
    _RunFrameworkInitialization(&_LateStartup);
    _RuntimeRun();
  } catch (const EndException&) {
  } catch (const RuntimeException& error) {
    UnhandledException(error);
  }
}

void _EarlyStartup() {
  _SetSupportsHiDPI(true);
  _RuntimeInitExternalClasses();
  _InitPluginEntrypoints();
  _InitFileTypes();
  _NewAppInstance();
  _ApplicationAddMenuHandlers();
}

void _InitFileTypes() {}

void _NewAppInstance() {
  auto application = std::make_shared<VelmarisMAJ>();
  application->MenuBar = GetMainMenuBar();
  _RuntimeRegisterAppObject(application);
}

void _ApplicationAddMenuHandlers() {}

void _LateStartup() { _MakeDefaultView(); }

void _MakeDefaultView() { FenetreTelechargement(); }

}  // namespace velmaris

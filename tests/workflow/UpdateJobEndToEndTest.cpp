// The update job end to end: the real binary, headless, with a sandbox home
// and volumes root, against Python's http.server and, for the faults that
// need one, our scripted loopback server. The runs wait for real, so they
// go side by side.
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>
#include <filesystem>
#include <memory>
#include <random>

#include "base/StringFunctions.h"
#include "support/Files.h"
#include "support/TestServer.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

const std::string kDownloadFailed = "Errors encountered in downloading the update !";
const std::string kInstallFailed = "Errors encountered in installing the update !";
const std::string kNoJob = "The launch of VelmarisMAJ must be initiated by Velmaris!";
const std::string kFresh = "A \u00ab\u00a0fresh\u00a0\u00bb installation is required.";

bool Run(const std::string& command) {
  QProcess shell;
  shell.start("/bin/sh", {"-c", QString::fromStdString(command)});
  return shell.waitForFinished(60000) && shell.exitStatus() == QProcess::NormalExit && shell.exitCode() == 0;
}

std::string Quoted(const std::string& path) { return "'" + path + "'"; }

// An application bundle of that version whose executable records in
// $HOME/opened.txt that it ran.
void MakeApplication(const std::string& bundle, const std::string& version) {
  const std::string executable = bundle + "/Contents/MacOS/Velmaris";
  fs::create_directories(fs::path(executable).parent_path());
  testing::WriteFile(bundle + "/Contents/version.txt", version + "\n");
  testing::WriteFile(executable, "#!/bin/sh\necho \"opened " + version + "\" >> \"$HOME/opened.txt\"\n");
  fs::permissions(executable, fs::perms(0755));
  // Enough bytes that no archive of it falls under the installation's size limit.
  std::mt19937 random(7);
  std::string noise(30000, '\0');
  for (char& byte : noise) byte = static_cast<char>(random());
  testing::WriteFile(bundle + "/Contents/Resources.bin", noise);
}

// Velmaris_<version>.dmg.zip in folder: a zip holding the disk image, whose
// volume holds the application under the name given.
void MakeArchive(const std::string& folder, const std::string& version, const std::string& applicationName) {
  const std::string stage = folder + "/stage-" + version;
  MakeApplication(stage + "/" + applicationName, version);
  const std::string image = "Velmaris_" + version + ".dmg";
  ASSERT_TRUE(
      Run("bsdtar -c -f " + Quoted(folder + "/" + image) + " -C " + Quoted(stage) + " " + Quoted(applicationName)));
  ASSERT_TRUE(Run("cd " + Quoted(folder) + " && zip -q " + image + ".zip " + image + " && rm " + image));
  fs::remove_all(stage);
}

uint16_t FreePort() {
  QTcpServer probe;
  probe.listen(QHostAddress::LocalHost, 0);
  return probe.serverPort();
}

// Python's http.server on a loopback port, serving folder.
class PythonServer {
 public:
  explicit PythonServer(const std::string& folder) : mPort(FreePort()) {
    mProcess.start("python3", {"-m", "http.server", "--bind", "127.0.0.1", "--directory",
                               QString::fromStdString(folder), QString::number(mPort)});
    for (int attempt = 0; attempt < 100; ++attempt) {
      QTcpSocket probe;
      probe.connectToHost("127.0.0.1", mPort);
      if (probe.waitForConnected(100)) return;
      QThread::msleep(50);
    }
  }
  ~PythonServer() {
    mProcess.terminate();
    mProcess.waitForFinished(5000);
  }
  PythonServer(const PythonServer&) = delete;
  PythonServer& operator=(const PythonServer&) = delete;
  uint16_t Port() const { return mPort; }

 private:
  uint16_t mPort;
  QProcess mProcess;
};

struct Row {
  const char* name;
  std::string version;
  enum class Server { Python, Refusing, CutShort, Stalled } server = Server::Python;
  std::string application = "/Applications/Velmaris.app";  // under the sandbox; installed as version 1
  std::string repapp = "";                                 // "" for the application's own path
  std::string installed;                                   // the version afterwards; "" when gone
  std::vector<std::string> messages = {};                  // on stderr, in order
  std::string opened;                                      // the version re-opened; "" for none
};

struct Running {
  const Row* row;
  QTemporaryDir sandbox;
  std::unique_ptr<QProcess> tool;
  std::string At(const std::string& path) const { return sandbox.path().toStdString() + path; }
};

TEST(UpdateJobEndToEnd, EveryRoadEndsAsDescribedAndNothingSmuggledRuns) {
  QTemporaryDir web;
  const std::string files = web.path().toStdString() + "/downloads/files";
  fs::create_directories(files);
  MakeArchive(files, "2.0.0", "Velmaris.app");
  MakeArchive(files, "4.0.0", "Other.app");
  testing::WriteFile(files + "/Velmaris_3.0.0.dmg.zip", std::string(20000, 'x'));
  PythonServer python(web.path().toStdString());
  const std::string archive = testing::ReadFile(files + "/Velmaris_2.0.0.dmg.zip");
  const std::string head = "HTTP/1.0 200 OK\r\nContent-Length: " + std::to_string(archive.size()) + "\r\n\r\n";
  testing::TestServer cutShort;
  cutShort.Serve({{testing::TestServer::ReadRequest(), testing::TestServer::Send(head + archive.substr(0, 20000)),
                   testing::TestServer::Close()}});
  testing::TestServer stalled;
  stalled.Serve({{testing::TestServer::ReadRequest(), testing::TestServer::Send(head + archive.substr(0, 20000))}});

  const Row rows[] = {
      {.name = "success", .version = "2.0.0", .installed = "2.0.0", .opened = "2.0.0"},
      {.name = "a 404 page", .version = "9.9.9", .installed = "1", .messages = {kDownloadFailed}, .opened = "1"},
      {.name = "a refused connection",
       .version = "2.0.0",
       .server = Row::Server::Refusing,
       .installed = "1",
       .messages = {kDownloadFailed},
       .opened = "1"},
      {.name = "an archive cut short",
       .version = "2.0.0",
       .server = Row::Server::CutShort,
       .installed = "1",
       .messages = {kInstallFailed},
       .opened = "1"},
      {.name = "a corrupt zip", .version = "3.0.0", .installed = "1", .messages = {kInstallFailed}, .opened = "1"},
      {.name = "an image without Velmaris.app",
       .version = "4.0.0",
       .installed = "",
       .messages = {kInstallFailed, kFresh},
       .opened = ""},
      {.name = "an installed application that can't be replaced",
       .version = "2.0.0",
       .application = "/Applications/Velmaris",
       .installed = "1",
       .messages = {kInstallFailed},
       .opened = "1"},
      {.name = "a stalled server",
       .version = "2.0.0",
       .server = Row::Server::Stalled,
       .installed = "1",
       .messages = {kDownloadFailed},
       .opened = "1"},
      {.name = "a version that smuggles a command",
       .version = "2.0.0;touch${IFS}$HOME/smuggled",
       .installed = "1",
       .messages = {kDownloadFailed},
       .opened = "1"},
      {.name = "an application path that smuggles a command",
       .version = "2.0.0",
       .repapp = "/Applications/Velmaris.app\";touch \"$HOME/smuggled",
       .installed = "1",
       .messages = {kNoJob},
       .opened = ""},
  };

  std::vector<std::unique_ptr<Running>> runs;
  for (const Row& row : rows) {
    auto run = std::make_unique<Running>();
    run->row = &row;
    MakeApplication(run->At(row.application), "1");
    fs::create_directories(run->At("/home/Downloads"));
    uint16_t port = python.Port();
    if (row.server == Row::Server::Refusing) port = testing::TestServer::RefusingPort();
    if (row.server == Row::Server::CutShort) port = cutShort.Port();
    if (row.server == Row::Server::Stalled) port = stalled.Port();

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) environment.remove(name);
    environment.insert("HOME", QString::fromStdString(run->At("/home")));
    environment.insert("XDG_DATA_HOME", QString::fromStdString(run->At("/data")));
    environment.insert("VELMARIS_VOLUMES", QString::fromStdString(run->At("/Volumes")));
    environment.insert("VELMARIS_UPDATE_HOST", QString::fromStdString("127.0.0.1:" + std::to_string(port)));
    environment.insert("VELMARIS_STALL_SECONDS", "1");
    run->tool = std::make_unique<QProcess>();
    run->tool->setProcessEnvironment(environment);
    const std::string repapp = run->At(row.repapp.empty() ? row.application : row.repapp);
    run->tool->start(VELMARIS_BINARY,
                     {QString::fromStdString("--REPAPP:" + repapp), QString::fromStdString("--MAJ:" + row.version)});
    runs.push_back(std::move(run));
  }

  for (const auto& run : runs) {
    const Row& row = *run->row;
    ASSERT_TRUE(run->tool->waitForFinished(90000)) << row.name;
    EXPECT_EQ(run->tool->exitStatus(), QProcess::NormalExit) << row.name;
    EXPECT_EQ(run->tool->exitCode(), 0) << row.name;
    const std::string errors = run->tool->readAllStandardError().toStdString();
    size_t from = 0;
    for (const std::string& message : row.messages) {
      from = errors.find(message, from);
      EXPECT_NE(from, std::string::npos) << row.name << ": " << message << " not in\n" << errors;
    }
    if (row.messages.empty()) {
      EXPECT_EQ(errors.find("Errors encountered"), std::string::npos) << row.name << errors;
    }

    const std::string version = run->At(row.application + "/Contents/version.txt");
    EXPECT_EQ(Trim(testing::ReadFile(version)), row.installed) << row.name;
    EXPECT_TRUE(fs::is_empty(run->At("/home/Downloads"))) << row.name;
    EXPECT_TRUE(!fs::exists(run->At("/Volumes")) || fs::is_empty(run->At("/Volumes"))) << row.name;
    EXPECT_FALSE(fs::exists(run->At("/home/smuggled"))) << row.name;
    if (!row.opened.empty()) {
      for (int wait = 0; wait < 50 && !fs::exists(run->At("/home/opened.txt")); ++wait) QThread::msleep(100);
    }
    EXPECT_EQ(Trim(testing::ReadFile(run->At("/home/opened.txt"))), row.opened.empty() ? "" : "opened " + row.opened)
        << row.name;
  }
}

}  // namespace
}  // namespace velmaris

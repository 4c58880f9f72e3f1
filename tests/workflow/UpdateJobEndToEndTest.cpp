// The update job end to end: the real binary, headless, in a sandbox with a
// volumes root of its own, against Python's http.server and, for the faults
// that need one, our scripted loopback server. The runs wait for real, so
// they go side by side.
#include <gtest/gtest.h>

#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <filesystem>

#include "base/Shell.h"
#include "support/Sandbox.h"
#include "support/TestServer.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

const std::string kDownloadFailed = "Errors encountered in downloading the update !";
const std::string kInstallFailed = "Errors encountered in installing the update !";

// Velmaris_<version>.dmg.zip in folder: a zip holding the disk image, whose
// volume holds the application under the name given, with enough bytes that
// the archive passes the installation's size limit.
void MakeArchive(const std::string& folder, const std::string& version, const std::string& name) {
  const std::string image = "Velmaris_" + version + ".dmg";
  testing::MakeApplication(folder + "/stage/" + name, version);
  Shell sh;
  sh.Execute("cd '" + folder + "' && head -c 30000 /dev/urandom > 'stage/" + name + "/Contents/Resources.bin' && " +
             "bsdtar -cf " + image + " -C stage '" + name + "' && zip -q " + image + ".zip " + image + " && rm -r " +
             image + " stage");
  ASSERT_EQ(sh.ErrorCode(), 0);
}

TEST(UpdateJobEndToEnd, EveryRoadEndsAsDescribedAndNothingSmuggledRuns) {
  QTemporaryDir web;
  const std::string files = web.path().toStdString() + "/downloads/files";
  fs::create_directories(files);
  MakeArchive(files, "2.0.0", "Velmaris.app");
  MakeArchive(files, "4.0.0", "Other.app");
  testing::WriteFile(files + "/Velmaris_3.0.0.dmg.zip", std::string(20000, 'x'));
  QProcess python;
  python.start("python3", {"-u", "-m", "http.server", "--bind", "127.0.0.1", "--directory", web.path(), "0"});
  ASSERT_TRUE(python.waitForReadyRead(10000));
  // "Serving HTTP on 127.0.0.1 port 43567 (http://127.0.0.1:43567/) ..."
  const uint16_t pythonPort = python.readAllStandardOutput().split(' ').at(5).toUShort();
  const std::string archive = testing::ReadFile(files + "/Velmaris_2.0.0.dmg.zip");
  const std::string start =
      "HTTP/1.0 200 OK\r\nContent-Length: " + std::to_string(archive.size()) + "\r\n\r\n" + archive.substr(0, 20000);
  testing::TestServer cutShort, stalled, noLength;
  cutShort.Serve(
      {{testing::TestServer::ReadRequest(), testing::TestServer::Send(start), testing::TestServer::Close()}});
  stalled.Serve({{testing::TestServer::ReadRequest(), testing::TestServer::Send(start)}});
  noLength.Serve({{testing::TestServer::ReadRequest(),
                   testing::TestServer::Send("HTTP/1.0 200 OK\r\n\r\n" + std::string(20000, 'x')),
                   testing::TestServer::Pause(100), testing::TestServer::Send(std::string(250000, 'x'))}});

  struct Row {
    const char* name;
    std::string version = "2.0.0";
    uint16_t port = 0;                                       // 0 for Python's server
    std::string application = "/Applications/Velmaris.app";  // under the sandbox; installed as version 1
    std::vector<std::string> messages = {};                  // on stderr, in order
    std::string installed = "1";                             // the version afterwards; "" when gone
    std::string opened = "opened 1\n";                       // what the re-opened application wrote
    testing::ToolRun run = {};
  } rows[] = {
      {.name = "success",
       .messages = {"Download Velmaris_2.0.0.dmg.zip in progress...", "100%", "Update installation in progress..."},
       .installed = "2.0.0",
       .opened = "opened 2.0.0\n"},
      {.name = "a 404 page", .version = "9.9.9", .messages = {kDownloadFailed}},
      {.name = "a refused connection", .port = testing::TestServer::RefusingPort(), .messages = {kDownloadFailed}},
      {.name = "an archive cut short", .port = cutShort.Port(), .messages = {kInstallFailed}},
      {.name = "a corrupt zip", .version = "3.0.0", .messages = {kInstallFailed}},
      {.name = "no Velmaris.app in the image",
       .version = "4.0.0",
       .messages = {kInstallFailed, "A \u00ab\u00a0fresh\u00a0\u00bb installation is required."},
       .installed = "",
       .opened = ""},
      {.name = "no bundle to replace", .application = "/Applications/Velmaris", .messages = {kInstallFailed}},
      {.name = "a stalled server", .port = stalled.Port(), .messages = {kDownloadFailed}},
      // Headless, the amount shows as the percentage does, the last one too.
      {.name = "no length, then a stall",
       .port = noLength.Port(),
       .messages = {"Download Velmaris_2.0.0.dmg.zip in progress...", "VelmarisMAJ: 270 KB\n", kDownloadFailed}},
      // Would a 404 page of this name be downloaded, its removal would run the command.
      {.name = "a smuggling version", .version = "2.0.0;cd;touch${IFS}smuggled;", .messages = {kDownloadFailed}},
      {.name = "a smuggling path",
       .application = "/Velmaris.app\";touch \"$HOME/smuggled",
       .messages = {"The launch of VelmarisMAJ must be initiated by Velmaris!"},
       .opened = ""},
  };
  for (Row& row : rows) {
    testing::ToolRun& run = row.run;
    testing::MakeApplication(run.At(row.application), "1");
    run.Start({"--REPAPP:" + run.At(row.application), "--MAJ:" + row.version},
              {{"VELMARIS_VOLUMES", run.At("/Volumes")},
               {"VELMARIS_UPDATE_HOST", "127.0.0.1:" + std::to_string(row.port ? row.port : pythonPort)},
               {"VELMARIS_STALL_SECONDS", "1"}});
  }
  for (Row& row : rows) {
    SCOPED_TRACE(row.name);
    testing::ToolRun& run = row.run;
    const std::string errors = run.Finish();
    size_t from = 0;
    for (const std::string& message : row.messages) {
      from = errors.find(message, from);
      EXPECT_NE(from, std::string::npos) << message << " not in\n" << errors;
    }
    const bool failed = std::ranges::any_of(row.messages, [](const std::string& m) { return m.starts_with("Errors"); });
    EXPECT_EQ(errors.find("Errors encountered") != std::string::npos, failed) << errors;
    EXPECT_EQ(testing::ReadFile(run.At(row.application + "/Contents/version.txt")), row.installed);
    EXPECT_TRUE(fs::is_empty(run.At("/home/Downloads")));
    EXPECT_TRUE(!fs::exists(run.At("/Volumes")) || fs::is_empty(run.At("/Volumes")));
    EXPECT_FALSE(fs::exists(run.At("/home/smuggled")));
    EXPECT_EQ(run.Opened(!row.opened.empty()), row.opened);
  }
}

}  // namespace
}  // namespace velmaris

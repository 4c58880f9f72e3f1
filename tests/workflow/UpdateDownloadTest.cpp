// The update branch and the Downloader's handlers, against a loopback
// server, with a recording shell and dialogs and a virtual time base.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <cstdlib>
#include <filesystem>

#include "support/Files.h"
#include "support/RecordingDialogs.h"
#include "support/RecordingShell.h"
#include "support/TestApplication.h"
#include "support/TestServer.h"
#include "support/VirtualClock.h"
#include "ui/FenetreTelechargement.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

const std::string kApplication = "/Applications/Velmaris Beta.app";
const std::string kArchive = "/Downloads/Velmaris_2.1.0.dmg.zip";

// A sandbox home, the update host pointed at a test server, a fresh run.
class UpdateDownload : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"HOME", "VELMARIS_UPDATE_HOST"}) {
      const char* value = std::getenv(name);
      mSaved.emplace_back(name, value == nullptr ? "" : value);
    }
    setenv("HOME", Home().c_str(), 1);
    setenv("VELMARIS_UPDATE_HOST", ("127.0.0.1:" + std::to_string(mServer.Port())).c_str(), 1);
    fs::create_directories(Home() + "/Downloads");
  }
  void TearDown() override {
    _ReleaseFenetreTelechargement();
    for (const auto& [name, value] : mSaved) setenv(name.c_str(), value.c_str(), 1);
  }

  std::string Home() const { return mSandbox.path().toStdString() + "/home"; }

  class FenetreTelechargement& OpenWindow(const std::string& version) {
    mApplication.reset();
    mApplication = std::make_unique<testing::TestApplication>(
        std::vector<std::string>{"VelmarisMAJ", "--REPAPP:" + kApplication, "--MAJ:" + version});
    class FenetreTelechargement& fenetre = FenetreTelechargement();
    fenetre.TimerQuit().SetMode(0);
    return fenetre;
  }

  void RunBranch(class FenetreTelechargement& fenetre) {
    _CallFunctionWithExceptionHandling([&fenetre] {
      Shell sh;
      fenetre.BrancheMiseAJour(sh);
    });
  }

  QTemporaryDir mSandbox;
  testing::TestServer mServer;
  std::vector<std::pair<std::string, std::string>> mSaved;
  std::unique_ptr<testing::TestApplication> mApplication;
  testing::RecordingShell mShell;
  testing::RecordingDialogs mDialogs;
};

TEST_F(UpdateDownload, TheBranchAsksForTheVersionsArchiveAndShowsTheProgressDisplay) {
  mServer.Serve({{testing::TestServer::ReadRequest()}});
  class FenetreTelechargement& fenetre = OpenWindow("2.1.0");
  testing::VirtualTime time;
  const int64_t start = time.Now();
  RunBranch(fenetre);

  // The waits of 2 and 1 seconds, and a yield for each round of the text work.
  EXPECT_GE(time.Now() - start, 3 * 60);
  EXPECT_LT(time.Now() - start, 4 * 60);
  EXPECT_EQ(App().strURLGlobal,
            "http://127.0.0.1:" + std::to_string(mServer.Port()) + "/downloads/files/Velmaris_2.1.0.dmg.zip");
  EXPECT_EQ(App().strCheminApp, kApplication);
  EXPECT_FALSE(App().bMAJ);
  EXPECT_FALSE(App().bQuit);
  EXPECT_EQ(fenetre.LabelTelechargement().Text(), "Download Velmaris_2.1.0.dmg.zip in progress...");
  EXPECT_TRUE(fenetre.LabelDownload().Visible());
  EXPECT_TRUE(fenetre.ProgressBarDonwload().Visible());
  ASSERT_TRUE(testing::WaitUntil(
      [this] { return !mServer.Received().empty() && mServer.Received()[0].find("\r\n\r\n") != std::string::npos; }));
  EXPECT_TRUE(mServer.Received()[0].starts_with("GET /downloads/files/Velmaris_2.1.0.dmg.zip HTTP/1.0\r\n"))
      << mServer.Received()[0];
  EXPECT_TRUE(fs::exists(Home() + kArchive));
  EXPECT_TRUE(mShell.Commands().empty());
  EXPECT_TRUE(mDialogs.Shown().empty());
}

// The version goes unquoted into file names and commands: anything but
// letters, digits, ".", "_" and "-" gives up before anything is fetched.
TEST_F(UpdateDownload, AVersionThatCouldSmuggleACommandIsRefused) {
  for (const std::string version : {"2.1;touch${IFS}x", "2 1", "$(id)", "../../x", "2.1\"", "`id`"}) {
    class FenetreTelechargement& fenetre = OpenWindow(version);
    testing::VirtualTime time;
    testing::RecordingShell shell;
    testing::RecordingDialogs dialogs;
    RunBranch(fenetre);
    EXPECT_TRUE(App().bQuit) << version;
    EXPECT_FALSE(App().bMAJ) << version;
    ASSERT_EQ(dialogs.Shown().size(), 1u) << version;
    EXPECT_EQ(dialogs.Shown()[0].message, "Errors encountered in downloading the update !") << version;
    EXPECT_EQ(dialogs.Shown()[0].explanation, "Velmaris application has not been updated.") << version;
    EXPECT_EQ(shell.Commands(), std::vector<std::string>{"open \"" + kApplication + "\""}) << version;
    _ReleaseFenetreTelechargement();
  }
  EXPECT_EQ(mServer.Connections(), 0);
  EXPECT_TRUE(fs::is_empty(Home() + "/Downloads"));
}

TEST_F(UpdateDownload, ProgressShowsThePercentageOrTheAmountReceived) {
  class FenetreTelechargement& fenetre = OpenWindow("2.1.0");
  struct Row {
    int64_t received, total;
    int64_t bar;  // -1: a busy bar
    const char* label;
  } rows[] = {
      {.received = 0, .total = 1000, .bar = 0, .label = "0%"},
      {.received = 575, .total = 1000, .bar = 57, .label = "57%"},
      // The bar cuts, the label rounds.
      {.received = 999, .total = 1000, .bar = 99, .label = "100%"},
      {.received = 1, .total = 3, .bar = 33, .label = "33%"},
      {.received = 1000, .total = 1000, .bar = 100, .label = "100%"},
      {.received = 512000, .total = 0, .bar = -1, .label = "512 KB"},
      {.received = 3200000, .total = 0, .bar = -1, .label = "3.2 MB"},
      {.received = 1000, .total = 2000, .bar = 50, .label = "50%"},
  };
  for (const Row& row : rows) {
    fenetre.Downloader_ReceiveProgress(fenetre.Downloader(), row.received, row.total, "");
    if (row.bar < 0) {
      EXPECT_EQ(fenetre.ProgressBarDonwload().Maximum(), 0) << row.label;
    } else {
      EXPECT_EQ(fenetre.ProgressBarDonwload().Maximum(), 100) << row.label;
      EXPECT_EQ(fenetre.ProgressBarDonwload().Value(), row.bar) << row.label;
    }
    EXPECT_EQ(fenetre.LabelDownload().Text(), row.label);
  }
}

TEST_F(UpdateDownload, TheEndOfTheDownloadHandsOverToTheInstallation) {
  class FenetreTelechargement& fenetre = OpenWindow("2.1.0");
  fenetre.LabelDownload().SetVisible(true);
  fenetre.ProgressBarDonwload().SetVisible(true);
  testing::VirtualTime time;
  const int64_t start = time.Now();
  fenetre.Downloader_DownloadComplete(fenetre.Downloader(), "", 404, nullptr, nullptr);
  EXPECT_EQ(time.Now() - start, 60);
  EXPECT_FALSE(fenetre.LabelDownload().Visible());
  EXPECT_FALSE(fenetre.ProgressBarDonwload().Visible());
  EXPECT_EQ(fenetre.LabelTelechargement().Text(), "Update installation in progress...");
  EXPECT_EQ(fenetre.TimerInstallation().Mode(), 1);
}

// A refused connection and a server that stops sending both give the
// update up: the partial file goes, the main application comes back.
TEST_F(UpdateDownload, ADownloadThatCantGoOnIsGivenUp) {
  struct Row {
    const char* name;
    bool refused;
  } rows[] = {{.name = "connection refused", .refused = true}, {.name = "server stalls", .refused = false}};
  for (const Row& row : rows) {
    const uint16_t port = row.refused ? testing::TestServer::RefusingPort() : mServer.Port();
    setenv("VELMARIS_UPDATE_HOST", ("127.0.0.1:" + std::to_string(port)).c_str(), 1);
    if (!row.refused) {
      setenv("VELMARIS_STALL_SECONDS", "0.2", 1);
      mServer.Serve(
          {{testing::TestServer::ReadRequest(),
            testing::TestServer::Send("HTTP/1.0 200 OK\r\nContent-length: 100000\r\n\r\n" + std::string(20000, 'z'))}});
    }
    class FenetreTelechargement& fenetre = OpenWindow("2.1.0");
    testing::VirtualTime time;
    testing::RecordingShell shell;
    testing::RecordingDialogs dialogs;
    RunBranch(fenetre);
    ASSERT_TRUE(testing::WaitUntil([] { return RunIsEnding(); })) << row.name;
    ASSERT_EQ(dialogs.Shown().size(), 1u) << row.name;
    EXPECT_EQ(dialogs.Shown()[0].message, "Errors encountered in downloading the update !") << row.name;
    EXPECT_EQ(shell.Commands(), std::vector<std::string>{"open \"" + kApplication + "\""}) << row.name;
    EXPECT_FALSE(fs::exists(Home() + kArchive)) << row.name;
    _ReleaseFenetreTelechargement();
    unsetenv("VELMARIS_STALL_SECONDS");
  }
}

}  // namespace
}  // namespace velmaris

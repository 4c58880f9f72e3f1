// The progress display of the download, the check of what arrived and the
// hand-over to the installation. The rest of the update branch (the URL,
// the labels, a refused version, a download given up or ended by a signal)
// is pinned by the end-to-end test.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/Recording.h"
#include "support/Sandbox.h"
#include "support/TestWindow.h"
#include "support/VirtualClock.h"
#include "ui/Strings.h"

namespace velmaris {
namespace {

const std::vector<std::string> kUpdateJob = {"VelmarisMAJ", "--REPAPP:/Applications/Velmaris.app", "--MAJ:2.1.0"};

namespace fs = std::filesystem;

// The bar cuts, the label rounds; with no length, a busy bar and the amount.
TEST(UpdateDownload, ProgressShowsThePercentageOrTheAmount) {
  testing::TestWindow window(kUpdateJob);
  window->TimerQuit().SetMode(0);
  struct Row {
    int64_t received, total;
    int64_t maximum = 100;  // 0: a busy bar
    int64_t bar = 0;        // when not busy
    const char* label;
  } rows[] = {
      {.received = 575, .total = 1000, .bar = 57, .label = "57%"},
      {.received = 999, .total = 1000, .bar = 99, .label = "100%"},
      {.received = 512000, .total = 0, .maximum = 0, .label = "512 KB"},
      {.received = 3200000, .total = -1, .maximum = 0, .label = "3.2 MB"},
      {.received = 1000, .total = 2000, .bar = 50, .label = "50%"},
  };
  for (const Row& row : rows) {
    window->Downloader_ReceiveProgress(window->Downloader(), row.received, row.total, "");
    EXPECT_EQ(window->ProgressBarDonwload().Maximum(), row.maximum) << row.label;
    if (row.maximum > 0) {
      EXPECT_EQ(window->ProgressBarDonwload().Value(), row.bar) << row.label;
    }
    EXPECT_EQ(window->LabelDownload().Text(), row.label);
  }
}

// Only the whole body of a 200 answer, every byte of it written, goes on to
// the installation, after the progress display is hidden and a second's
// wait; anything else is the download's failure.
TEST(UpdateDownload, WhatArrivedIsCheckedBeforeTheHandOver) {
  testing::Sandbox sandbox;
  struct Row {
    const char* name;
    int64_t status = 200;
    std::string length = "30000";  // announced; "" for none
    int64_t received = 30000;
    size_t written = 30000;
    bool handsOver = false;
  } rows[] = {
      {.name = "whole", .handsOver = true},
      {.name = "whole, with no length announced", .length = "", .handsOver = true},
      {.name = "a write that failed", .written = 20000},
  };
  for (const Row& row : rows) {
    testing::TestWindow window(kUpdateJob);
    testing::Recording recording;
    testing::VirtualTime time;
    window->TimerQuit().SetMode(0);
    App().strURLGlobal = "http://update.example/downloads/files/Velmaris_2.1.0.dmg.zip";
    App().strCheminApp = "/Applications/Velmaris.app";
    const std::string archive = App().CheminDossierPropre(sandbox.At("/home")) + "/Velmaris_2.1.0.dmg.zip";
    std::filesystem::create_directories(sandbox.At("/home/Downloads"));
    std::filesystem::create_directories(App().CheminDossierPropre(sandbox.At("/home")));
    testing::WriteFile(archive, std::string(row.written, 'z'));
    auto headers = New<InternetHeaders>();
    if (!row.length.empty()) headers->SetHeader("Content-Length", row.length);
    ::testing::internal::CaptureStderr();
    // The second amount comes too soon after the first to be echoed at once.
    for (const int64_t received : {row.received / 2, row.received}) {
      window->Downloader_ReceiveProgress(window->Downloader(), received, 0, "");
    }
    window->LabelDownload().SetVisible(true);
    const int64_t start = time.Now();
    _CallFunctionWithExceptionHandling([&] {
      window->Downloader_DownloadComplete(window->Downloader(), App().strURLGlobal, row.status, headers,
                                          New<FolderItem>(archive, FolderItem::PathModes::Shell));
    });
    const std::vector<std::string> failed = {testing::CautionLine("Errors encountered in downloading the update !",
                                                                  "Velmaris application has not been updated."),
                                             "open \"/Applications/Velmaris.app\""};
    EXPECT_EQ(recording.Seen(), row.handsOver ? std::vector<std::string>{} : failed) << row.name;
    EXPECT_EQ(window->TimerInstallation().Mode(), row.handsOver ? 1 : 0) << row.name;
    EXPECT_EQ(time.Now() - start, row.handsOver ? 60 : 0) << row.name;
    EXPECT_EQ(window->LabelDownload().Visible(), !row.handsOver) << row.name;
    EXPECT_EQ(window->LabelTelechargement().Text(),
              row.handsOver ? "Update installation in progress..." : "Initialization...")
        << row.name;
    EXPECT_EQ(fs::exists(archive), row.handsOver) << row.name;
    // The last amount is never lost, whichever road follows.
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("VelmarisMAJ: " + Strings::TailleRecue(row.received)),
              std::string::npos)
        << row.name;
  }
}

}  // namespace
}  // namespace velmaris

// The progress display of the download and the hand-over to the
// installation. The rest of the update branch (the URL, the labels, a
// refused version, a download given up) is pinned by the end-to-end test.
#include <gtest/gtest.h>

#include "support/TestWindow.h"
#include "support/VirtualClock.h"

namespace velmaris {
namespace {

const std::vector<std::string> kUpdateJob = {"VelmarisMAJ", "--REPAPP:/Applications/Velmaris.app", "--MAJ:2.1.0"};

// The bar cuts, the label rounds; with no length, a busy bar and the amount.
// Then the end of the download hands over to the installation.
TEST(UpdateDownload, ProgressShowsThePercentageOrTheAmountThenTheEndHandsOver) {
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

  window->LabelDownload().SetVisible(true);
  window->ProgressBarDonwload().SetVisible(true);
  testing::VirtualTime time;
  const int64_t start = time.Now();
  window->Downloader_DownloadComplete(window->Downloader(), "", 404, nullptr, nullptr);
  EXPECT_EQ(time.Now() - start, 60) << "one second's wait";
  EXPECT_FALSE(window->LabelDownload().Visible());
  EXPECT_FALSE(window->ProgressBarDonwload().Visible());
  EXPECT_EQ(window->LabelTelechargement().Text(), "Update installation in progress...");
  EXPECT_EQ(window->TimerInstallation().Mode(), 1);
}

}  // namespace
}  // namespace velmaris

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <filesystem>
#include <functional>
#include <map>

#include "base/Runtime.h"
#include "support/Files.h"
#include "support/TestApplication.h"
#include "support/VirtualClock.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

const std::string kLive = "live database";
const std::string kBackup = "backup of the database";
const Files kLiveWithSideFiles = {{"Velmaris.sqlite", kLive},
                                  {"Velmaris.sqlite-wal", "wal"},
                                  {"Velmaris.sqlite-shm", "shm"},
                                  {"Velmaris.sqlite-journal", "journal"},
                                  {"BackupsDB/Velmaris 2024.sqlite", kBackup},
                                  {"notes.txt", "notes"}};

class RestaurerVelmarisDBTest : public ::testing::Test {
 protected:
  void SetUp() override { App().strCheminAppData = Data(); }

  std::string Data() const { return mFolder.path().toStdString() + "/Velmaris"; }
  void Lay(const Files& files) const {
    for (const auto& [name, bytes] : files) {
      fs::create_directories(fs::path(Data() + "/" + name).parent_path());
      testing::WriteFile(Data() + "/" + name, bytes);
    }
  }
  // Every file in the data folder with its bytes.
  Files Found() const {
    Files found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(Data())) {
      if (entry.is_regular_file()) {
        found[entry.path().lexically_relative(Data()).string()] = testing::ReadFile(entry.path());
      }
    }
    return found;
  }

  testing::TestApplication mApp;
  testing::VirtualTime mTime;
  QTemporaryDir mFolder;
};

TEST_F(RestaurerVelmarisDBTest, ResultsAndFilesInEveryCase) {
  Files withoutLive = kLiveWithSideFiles;
  for (const char* name : {"Velmaris.sqlite", "Velmaris.sqlite-wal", "Velmaris.sqlite-shm", "Velmaris.sqlite-journal"})
    withoutLive.erase(name);
  Files restored = withoutLive;
  restored["Velmaris.sqlite"] = kBackup;
  struct Row {
    const char* name;
    Files before;
    std::string value;
    bool expected;
    Files after;
    int64_t seconds;
  } rows[] = {
      {.name = "marker, no live database",
       .before = withoutLive,
       .value = "_INIT",
       .expected = true,
       .after = withoutLive,
       .seconds = 1},
      {.name = "marker at the end, in other letters, side files go too",
       .before = kLiveWithSideFiles,
       .value = "BackupsDB/missing_init",
       .expected = true,
       .after = withoutLive,
       .seconds = 1},
      {.name = "marker, the database is a folder that can't be deleted",
       .before = {{"Velmaris.sqlite/page", "x"}},
       .value = "_INIT_",
       .expected = false,
       .after = {{"Velmaris.sqlite/page", "x"}},
       .seconds = 0},
      {.name = "backup replaces the database and its side files",
       .before = kLiveWithSideFiles,
       .value = "BackupsDB/Velmaris 2024.sqlite",
       .expected = true,
       .after = restored,
       .seconds = 1},
      {.name = "missing backup leaves everything",
       .before = kLiveWithSideFiles,
       .value = "BackupsDB/Velmaris 2023.sqlite",
       .expected = false,
       .after = kLiveWithSideFiles,
       .seconds = 0},
  };
  for (const Row& row : rows) {
    fs::remove_all(Data());
    fs::create_directories(Data());
    Lay(row.before);
    const int64_t start = mTime.Now();
    EXPECT_EQ(App().RestaurerVelmarisDB(row.value), row.expected) << row.name;
    EXPECT_EQ(Found(), row.after) << row.name;
    EXPECT_EQ(mTime.Now() - start, row.seconds * 60) << row.name;
  }
}

// Something removes the copy during the wait; the run ends during the wait.
TEST_F(RestaurerVelmarisDBTest, TheLiveFilesComeBackWhenTheCopyCantTakeTheirPlace) {
  const std::function<void()> interruptions[] = {
      [this] { fs::remove(Data() + "/Velmaris.sqlite.VelmarisMAJ-new"); },
      [] { Quit(0); },
  };
  for (const auto& interruption : interruptions) {
    ResetRunState();
    Lay(kLiveWithSideFiles);
    mTime.At(mTime.Now() + 30, interruption);
    try {
      EXPECT_FALSE(App().RestaurerVelmarisDB("BackupsDB/Velmaris 2024.sqlite"));
    } catch (const EndException&) {
      EXPECT_TRUE(RunIsEnding());
    }
    EXPECT_EQ(Found(), kLiveWithSideFiles);
  }
}

}  // namespace
}  // namespace velmaris

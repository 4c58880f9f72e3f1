// The database restoration on real files: its result in every case, and the
// live database and its side files never lost on the way.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <filesystem>
#include <map>

#include "base/Runtime.h"
#include "support/Files.h"
#include "support/TestApplication.h"
#include "support/VirtualClock.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

const std::string kBackup = "BackupsDB/Velmaris 2024.sqlite";
const Files kWithoutLive = {{kBackup, "backup"}, {"notes.txt", "notes"}};
// The database and its side files, beside what must stay untouched.
const Files kAll = [] {
  Files files = kWithoutLive;
  for (const std::string side : {"", "-wal", "-shm", "-journal"}) files["Velmaris.sqlite" + side] = "live" + side;
  return files;
}();

class RestaurerVelmarisDBTest : public ::testing::Test {
 protected:
  void SetUp() override { App().strCheminAppData = mFolder.path().toStdString() + "/Velmaris"; }
  // Lays the files down afresh in the data folder.
  void Lay(const Files& files) const {
    fs::remove_all(Data());
    for (const auto& [name, bytes] : files) {
      fs::create_directories(fs::path(Data() + "/" + name).parent_path());
      testing::WriteFile(Data() + "/" + name, bytes);
    }
  }
  // Every file in the data folder with its bytes.
  Files Found() const {
    Files found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(Data())) {
      if (entry.is_regular_file()) found[entry.path().lexically_relative(Data())] = testing::ReadFile(entry.path());
    }
    return found;
  }
  std::string Data() const { return App().strCheminAppData; }

  testing::TestApplication mApp;
  testing::VirtualTime mTime;
  QTemporaryDir mFolder;
};

TEST_F(RestaurerVelmarisDBTest, ResultsAndFilesInEveryCase) {
  // What a run killed during its wait leaves: the live files set aside, a copy beside them.
  Files setAside = kWithoutLive, leftBeside = kAll;
  for (const auto& [name, bytes] : kAll) {
    if (name.starts_with("Velmaris.sqlite"))
      setAside[name + ".VelmarisMAJ-old"] = leftBeside[name + ".VelmarisMAJ-old"] = bytes;
  }
  setAside["Velmaris.sqlite.VelmarisMAJ-new"] = leftBeside["Velmaris.sqlite.VelmarisMAJ-new"] = "backup";
  struct Row {
    const char* name;
    Files before = kAll;
    std::string value = kBackup;
    bool result = false;
    Files after = {};                         // {} for unchanged
    std::function<void()> interruption = {};  // half-way through the wait
  } rows[] = {
      {.name = "marker, in other letters: all go", .value = "x_init", .result = true, .after = kWithoutLive},
      {.name = "marker, a database that can't be deleted", .before = {{"Velmaris.sqlite/x", ""}}, .value = "_INIT"},
      {.name = "a killed run's files come back",
       .before = setAside,
       .value = "BackupsDB/missing.sqlite",
       .after = kAll},
      {.name = "a killed run's leftovers beside a live database go",
       .before = leftBeside,
       .value = "BackupsDB/missing.sqlite",
       .after = kAll},
      // The live files come back when the copy can't take their place.
      {.name = "copy removed", .interruption = [this] { fs::remove(Data() + "/Velmaris.sqlite.VelmarisMAJ-new"); }},
      {.name = "run ended", .interruption = [] { Quit(0); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    ResetRunState();
    Lay(row.before);
    const int64_t start = mTime.Now();
    if (row.interruption) mTime.At(start + 30, row.interruption);
    try {
      EXPECT_EQ(App().RestaurerVelmarisDB(row.value), row.result);
    } catch (const EndException&) {
      EXPECT_TRUE(RunIsEnding());
    }
    EXPECT_EQ(Found(), row.after.empty() ? row.before : row.after);
    // One second's wait when done; none when it fails before anything went.
    if (!row.interruption) {
      EXPECT_EQ(mTime.Now() - start, row.result ? 60 : 0);
    }
  }
}

}  // namespace
}  // namespace velmaris

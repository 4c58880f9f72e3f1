// The database restoration on real files: its result in every case, and the
// live database and its side files never lost on the way.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <filesystem>
#include <map>

#include "base/Runtime.h"
#include "base/SQLiteFile.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/TestApplication.h"
#include "support/TestServer.h"
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
  // Lays the files down afresh in the data folder; "backup" stands for a whole database.
  void Lay(const Files& files) const {
    fs::remove_all(Data());
    for (const auto& [name, bytes] : files) {
      fs::create_directories(fs::path(Data() + "/" + name).parent_path());
      testing::WriteFile(Data() + "/" + name, bytes == "backup" ? mBackup : bytes);
    }
  }
  // Every file in the data folder with its bytes; this run's dated copy is "dated.sqlite".
  Files Found() const {
    Files found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(Data())) {
      if (!entry.is_regular_file()) continue;
      std::string name = entry.path().lexically_relative(Data());
      if (name.starts_with("Velmaris-2") && !name.starts_with("Velmaris-2020")) {
        name = "dated" + name.substr(name.find(".sqlite"));
      }
      const std::string bytes = testing::ReadFile(entry.path());
      found[name] = bytes == mBackup ? "backup" : bytes;
    }
    return found;
  }
  std::string Data() const { return App().strCheminAppData; }

  testing::TestApplication mApp;
  testing::VirtualTime mTime;
  QTemporaryDir mFolder;
  const std::string mBackup = testing::DatabaseBytes("backup");
};

TEST_F(RestaurerVelmarisDBTest, ResultsAndFilesInEveryCase) {
  // What a run killed during its wait leaves: the live files set aside, a copy beside them.
  Files setAside = kWithoutLive, leftBeside = kAll;
  for (const auto& [name, bytes] : kAll) {
    if (name.starts_with("Velmaris.sqlite"))
      setAside[name + ".VelmarisMAJ-old"] = leftBeside[name + ".VelmarisMAJ-old"] = bytes;
  }
  setAside["Velmaris.sqlite.VelmarisMAJ-new"] = leftBeside["Velmaris.sqlite.VelmarisMAJ-new"] = "backup";
  // The live files under this run's dated name, beside the others.
  const auto withDated = [](Files files) {
    for (const std::string side : {"", "-wal", "-shm", "-journal"}) files["dated.sqlite" + side] = "live" + side;
    return files;
  };
  // Three dated copies of earlier runs.
  const auto withOld = [](Files files) {
    for (const char* date : {"2020-01-01_000000", "2020-01-02_000000", "2020-01-02_000000-2"}) {
      files["Velmaris-" + std::string(date) + ".sqlite"] = files["Velmaris-" + std::string(date) + ".sqlite-wal"] =
          date;
    }
    return files;
  };
  struct Row {
    const char* name;
    Files before = kAll;
    std::string value = kBackup;
    bool result = false;
    Files after = {};                         // {} for unchanged
    std::function<void()> interruption = {};  // half-way through the wait
    bool writer = false;                      // another process writes to the database all along
  } rows[] = {
      {.name = "the newest three dated copies stay",
       .before = withOld(kAll),
       .result = true,
       .after =
           [&] {
             Files after = withDated(withOld(kWithoutLive));
             after.erase("Velmaris-2020-01-01_000000.sqlite");
             after.erase("Velmaris-2020-01-01_000000.sqlite-wal");
             after["Velmaris.sqlite"] = "backup";
             return after;
           }()},
      {.name = "a database still written to is kept after 10 s",
       .before =
           [] {
             Files files = kWithoutLive;
             files["Velmaris.sqlite"] = "backup";
             return files;
           }(),
       .writer = true},
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
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    ResetRunState();
    Lay(row.before);
    const int64_t start = mTime.Now();
    if (row.interruption) mTime.At(start + 30, row.interruption);
    QProcess writer;
    if (row.writer) {
      writer.start("sqlite3",
                   {QString::fromStdString(Data() + "/Velmaris.sqlite"), "BEGIN IMMEDIATE;", ".shell sleep 60"});
      ASSERT_TRUE(testing::WaitUntil([&] { return SQLiteWriteInProgress(Data() + "/Velmaris.sqlite"); }));
    }
    EXPECT_EQ(App().RestaurerVelmarisDB(row.value), row.result);
    EXPECT_EQ(Found(), row.after.empty() ? row.before : row.after);
    writer.kill();
    writer.waitForFinished();
    // One second's wait when done; none when it fails before anything went, but for a writer.
    if (!row.interruption) {
      EXPECT_EQ(mTime.Now() - start, row.result ? 60 : row.writer ? 600 : 0);
    }
  }
}

}  // namespace
}  // namespace velmaris

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <cstdlib>
#include <filesystem>

#include "base/FolderItem.h"
#include "base/SpecialFolder.h"
#include "base/TextOutputStream.h"
#include "support/Files.h"

namespace velmaris {
namespace {

using testing::ReadFile;
using testing::WriteFile;

class FolderItemTest : public ::testing::Test {
 protected:
  std::string PathOf(const std::string& name) const { return mFolder.path().toStdString() + "/" + name; }
  static Ref<FolderItem> Item(const std::string& path) { return New<FolderItem>(path, FolderItem::PathModes::Shell); }

  QTemporaryDir mFolder;
};

TEST_F(FolderItemTest, PathsAreTakenAsTheyAreAndTouchNothing) {
  const auto missing = Item(PathOf("no such folder/Velmaris.sqlite"));
  EXPECT_FALSE(missing->Exists());
  EXPECT_EQ(missing->Length(), 0u);
  EXPECT_EQ(missing->NativePath(), PathOf("no such folder/Velmaris.sqlite"));
  EXPECT_FALSE(std::filesystem::exists(PathOf("no such folder")));

  EXPECT_EQ(Item(PathOf("data/"))->NativePath(), PathOf("data"));
  EXPECT_EQ(Item("/")->NativePath(), "/");
  EXPECT_EQ(Item(PathOf("data"))->Child("Velmaris")->NativePath(), PathOf("data/Velmaris"));
  EXPECT_THROW(Item(""), UnsupportedFormatException);
  EXPECT_THROW(Item(std::string("/tmp/a\0b", 8)), UnsupportedFormatException);
}

TEST_F(FolderItemTest, ExistsDirectoryAndLengthOfWhatStandsThere) {
  WriteFile(PathOf("file"), std::string(1234, 'x'));
  std::filesystem::create_directory(PathOf("folder"));
  std::filesystem::create_symlink(PathOf("gone"), PathOf("dangling"));

  EXPECT_TRUE(Item(PathOf("file"))->Exists());
  EXPECT_FALSE(Item(PathOf("file"))->Directory());
  EXPECT_EQ(Item(PathOf("file"))->Length(), 1234u);
  EXPECT_TRUE(Item(PathOf("folder"))->Exists());
  EXPECT_TRUE(Item(PathOf("folder"))->Directory());
  EXPECT_TRUE(Item(PathOf("dangling"))->Exists());
}

TEST_F(FolderItemTest, DeleteReportsByCode) {
  WriteFile(PathOf("file"), "x");
  std::filesystem::create_directories(PathOf("full/inner"));
  std::filesystem::create_directory(PathOf("empty"));

  const auto file = Item(PathOf("file"));
  file->Delete();
  EXPECT_EQ(file->LastErrorCode(), 0);
  EXPECT_FALSE(file->Exists());
  file->Delete();
  EXPECT_GT(file->LastErrorCode(), 0) << "nothing left to delete";

  const auto full = Item(PathOf("full"));
  full->Delete();
  EXPECT_GT(full->LastErrorCode(), 0);
  EXPECT_TRUE(full->Exists());

  const auto empty = Item(PathOf("empty"));
  empty->Delete();
  EXPECT_EQ(empty->LastErrorCode(), 0);
  EXPECT_FALSE(empty->Exists());
}

TEST_F(FolderItemTest, CopyFileToCopiesWholeAndReportsByCode) {
  std::string bytes(3 << 20, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 % 251);
  WriteFile(PathOf("source"), bytes);
  WriteFile(PathOf("longer"), bytes + bytes);
  std::filesystem::create_directory(PathOf("folder"));
  const auto source = Item(PathOf("source"));

  source->CopyFileTo(Item(PathOf("copy")));
  EXPECT_EQ(source->LastErrorCode(), 0);
  EXPECT_EQ(ReadFile(PathOf("copy")), bytes);

  source->CopyFileTo(Item(PathOf("longer")));
  EXPECT_EQ(source->LastErrorCode(), 0);
  EXPECT_EQ(ReadFile(PathOf("longer")), bytes) << "an existing file is replaced";

  source->CopyFileTo(Item(PathOf("folder")));
  EXPECT_EQ(source->LastErrorCode(), 0);
  EXPECT_EQ(ReadFile(PathOf("folder/source")), bytes) << "a folder receives the copy";

  source->CopyFileTo(Item(PathOf("no such folder/copy")));
  EXPECT_GT(source->LastErrorCode(), 0);
  source->CopyFileTo(Item(PathOf("copy")));
  EXPECT_EQ(source->LastErrorCode(), 0) << "a success clears the code";

  const auto missing = Item(PathOf("missing"));
  missing->CopyFileTo(Item(PathOf("copy")));
  EXPECT_GT(missing->LastErrorCode(), 0);
  EXPECT_EQ(ReadFile(PathOf("copy")), bytes);

  const auto folder = Item(PathOf("folder"));
  folder->CopyFileTo(Item(PathOf("copy of folder")));
  EXPECT_GT(folder->LastErrorCode(), 0);
}

TEST_F(FolderItemTest, MoveFileToReplacesTheDestination) {
  WriteFile(PathOf("new"), "new");
  WriteFile(PathOf("live"), "old and longer");
  const auto moved = Item(PathOf("new"));
  moved->MoveFileTo(Item(PathOf("live")));
  EXPECT_EQ(moved->LastErrorCode(), 0);
  EXPECT_EQ(ReadFile(PathOf("live")), "new");
  EXPECT_FALSE(moved->Exists());

  moved->MoveFileTo(Item(PathOf("live")));
  EXPECT_GT(moved->LastErrorCode(), 0);
  EXPECT_EQ(ReadFile(PathOf("live")), "new");
}

TEST_F(FolderItemTest, CreateTextFileEmptiesTheFileOrGivesNil) {
  WriteFile(PathOf("download"), "stale bytes");
  const auto item = Item(PathOf("download"));
  Ref<TextOutputStream> stream = item->CreateTextFile();
  ASSERT_FALSE(stream.IsNil());
  stream->Close();
  EXPECT_TRUE(item->Exists());
  EXPECT_EQ(item->Length(), 0u);

  const auto unreachable = Item(PathOf("no such folder/download"));
  EXPECT_TRUE(unreachable->CreateTextFile().IsNil());
  EXPECT_GT(unreachable->LastErrorCode(), 0);
}

// The user's application-data folder follows the XDG rules off macOS.
TEST(SpecialFolder, ApplicationDataIsTheDataHome) {
  const std::string saved = std::getenv("XDG_DATA_HOME") != nullptr ? std::getenv("XDG_DATA_HOME") : "";
  const std::string home = std::getenv("HOME");
  struct Row {
    const char* name;
    const char* dataHome;
    std::string expected;
  } rows[] = {
      {.name = "absolute XDG_DATA_HOME", .dataHome = "/srv/data home", .expected = "/srv/data home"},
      {.name = "relative XDG_DATA_HOME is ignored", .dataHome = "data", .expected = home + "/.local/share"},
      {.name = "unset", .dataHome = nullptr, .expected = home + "/.local/share"},
  };
  for (const Row& row : rows) {
    if (row.dataHome != nullptr) {
      setenv("XDG_DATA_HOME", row.dataHome, 1);
    } else {
      unsetenv("XDG_DATA_HOME");
    }
    EXPECT_EQ(SpecialFolder::ApplicationData()->NativePath(), row.expected) << row.name;
  }
  if (saved.empty()) {
    unsetenv("XDG_DATA_HOME");
  } else {
    setenv("XDG_DATA_HOME", saved.c_str(), 1);
  }
}

}  // namespace
}  // namespace velmaris

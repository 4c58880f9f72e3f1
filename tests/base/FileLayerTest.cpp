// FolderItem and the streams, where the file helpers' tests don't reach:
// what the HTTP client writes through, and the choices of CopyFileTo.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <filesystem>

#include "base/BinaryStream.h"
#include "base/FolderItem.h"
#include "base/MemoryBlock.h"
#include "base/TextOutputStream.h"
#include "support/Files.h"

namespace velmaris {
namespace {

using testing::ReadFile;
using testing::WriteFile;

class FileLayerTest : public ::testing::Test {
 protected:
  std::string PathOf(const std::string& name) const { return mFolder.path().toStdString() + "/" + name; }
  Ref<FolderItem> Item(const std::string& name) const {
    return New<FolderItem>(PathOf(name), FolderItem::PathModes::Shell);
  }

  QTemporaryDir mFolder;
};

TEST_F(FileLayerTest, CopyFileToReplacesAFileAndFillsAFolder) {
  const std::string bytes("SQLite format 3\0\x10\xff", 18);
  WriteFile(PathOf("backup"), bytes);
  WriteFile(PathOf("longer"), bytes + bytes);
  std::filesystem::create_directory(PathOf("folder/"));
  Item("backup")->CopyFileTo(Item("longer"));
  Item("backup")->CopyFileTo(Item("folder/"));
  EXPECT_EQ(ReadFile(PathOf("longer")), bytes);
  EXPECT_EQ(ReadFile(PathOf("folder/backup")), bytes);

  const auto backup = Item("backup");
  backup->CopyFileTo(Item("no such folder/copy"));
  EXPECT_GT(backup->LastErrorCode(), 0);
  backup->CopyFileTo(Item("copy"));
  EXPECT_EQ(backup->LastErrorCode(), 0) << "a success clears the code";
  EXPECT_THROW(New<FolderItem>(std::string("/tmp/a\0b", 8), FolderItem::PathModes::Shell), UnsupportedFormatException);
}

TEST_F(FileLayerTest, FileStreamsKeepOnlyTheBytesWrittenAsTheyAre) {
  WriteFile(PathOf("download"), std::string(1 << 20, 'o'));
  ASSERT_FALSE(Item("download")->CreateTextFile().IsNil());
  EXPECT_EQ(Item("download")->Length(), 0u);
  const std::string blockA("line\r\nwith\0nul", 14);
  const std::string blockB(300000, '\xff');
  auto stream = BinaryStream::Create(Item("download"), true);
  stream->Write(blockA);
  stream->Write(blockB);
  stream->Close();
  EXPECT_TRUE(ReadFile(PathOf("download")) == blockA + blockB);
  EXPECT_THROW(stream->Write("late"), IOException);

  EXPECT_THROW(BinaryStream::Create(Item("download"), false), IOException);
  EXPECT_THROW(BinaryStream::Create(Item("no such folder/file"), true), IOException);
  EXPECT_THROW(TextOutputStream::Create(Item("")), IOException) << "a folder";
  EXPECT_TRUE(Item("no such folder/file")->CreateTextFile().IsNil());
}

TEST(MemoryBlock, AStreamGrowsItAndAStringFillsIt) {
  auto block = New<MemoryBlock>(std::string("abcdef"));
  BinaryStream stream(block);
  stream.Write("XY");
  EXPECT_EQ(block->StringValue(0, block->Size()), "XYcdef") << "writes start at the beginning";
  std::string expected = "XY";
  for (int i = 0; i < 1000; ++i) {
    const std::string piece(static_cast<size_t>(i % 97), static_cast<char>(i));
    stream.Write(piece);
    expected += piece;
  }
  EXPECT_TRUE(block->StringValue(0, block->Size()) == expected);

  const MemoryBlock text(std::string("a\xc3\xa9\0", 4));
  EXPECT_EQ(text.Size(), 4);
  EXPECT_EQ(text.Byte(1), 0xC3);
  EXPECT_EQ(text.Byte(3), 0);
  EXPECT_THROW(text.Byte(4), OutOfBoundsException);
  EXPECT_THROW(text.StringValue(3, 2), OutOfBoundsException);
  EXPECT_EQ(MemoryBlock(0).Size(), 0);
}

}  // namespace
}  // namespace velmaris

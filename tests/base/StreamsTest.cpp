#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "base/BinaryStream.h"
#include "base/FolderItem.h"
#include "base/MemoryBlock.h"
#include "base/TextOutputStream.h"
#include "support/Files.h"

namespace velmaris {
namespace {

using testing::ReadFile;
using testing::WriteFile;

class StreamsTest : public ::testing::Test {
 protected:
  std::string PathOf(const std::string& name) const { return mFolder.path().toStdString() + "/" + name; }
  static Ref<FolderItem> Item(const std::string& path) { return New<FolderItem>(path, FolderItem::PathModes::Shell); }

  QTemporaryDir mFolder;
};

TEST_F(StreamsTest, FileStreamKeepsOnlyTheBytesWrittenAsTheyAre) {
  WriteFile(PathOf("download"), std::string(1 << 20, 'o'));
  const std::string blockA("line\r\nwith\0nul", 14);
  const std::string blockB(70000, '\xff');
  auto stream = BinaryStream::Create(Item(PathOf("download")), true);
  stream->Write(blockA);
  stream->Write(blockB);
  stream->Close();
  stream->Close();
  EXPECT_EQ(ReadFile(PathOf("download")), blockA + blockB);
  EXPECT_THROW(stream->Write("late"), IOException);
}

TEST_F(StreamsTest, FileStreamRaisesIOExceptionWhenItCantOpen) {
  WriteFile(PathOf("existing"), "keep");
  EXPECT_THROW(BinaryStream::Create(Item(PathOf("existing")), false), IOException);
  EXPECT_EQ(ReadFile(PathOf("existing")), "keep");
  EXPECT_THROW(BinaryStream::Create(Item(PathOf("no such folder/file")), true), IOException);
  EXPECT_THROW(BinaryStream::Create(Item(mFolder.path().toStdString()), true), IOException);
  EXPECT_THROW(TextOutputStream::Create(Item(PathOf("no such folder/file"))), IOException);
  EXPECT_THROW(BinaryStream::Create(nullptr, true), NilObjectException);
}

TEST_F(StreamsTest, TextOutputStreamEmptiesTheFileAndWritesText) {
  WriteFile(PathOf("notes.txt"), "old text, longer than the new");
  auto stream = TextOutputStream::Create(Item(PathOf("notes.txt")));
  stream->Write("Résumé\n");
  stream->Close();
  EXPECT_EQ(ReadFile(PathOf("notes.txt")), "Résumé\n");
}

TEST(MemoryBlockStream, WritingGrowsTheBlock) {
  auto block = New<MemoryBlock>(0);
  EXPECT_EQ(block->Size(), 0);
  BinaryStream stream(block);
  std::string expected;
  for (int i = 0; i < 1000; ++i) {
    const std::string piece(static_cast<size_t>(i % 97), static_cast<char>(i));
    stream.Write(piece);
    expected += piece;
  }
  EXPECT_EQ(block->Size(), static_cast<int64_t>(expected.size()));
  EXPECT_EQ(block->StringValue(0, block->Size()), expected);
  stream.Close();
  EXPECT_THROW(stream.Write("x"), IOException);
}

TEST(MemoryBlockStream, WritesStartAtTheBlocksBeginning) {
  auto block = New<MemoryBlock>(std::string("abcdef"));
  BinaryStream stream(block);
  stream.Write("XY");
  EXPECT_EQ(block->StringValue(0, block->Size()), "XYcdef");
  stream.Write("1234567");
  EXPECT_EQ(block->StringValue(0, block->Size()), "XY1234567");
}

TEST(MemoryBlock, AStringGivesItsBytes) {
  const MemoryBlock block(std::string("a\xc3\xa9\0z", 5));
  EXPECT_EQ(block.Size(), 5);
  EXPECT_EQ(block.Byte(0), 'a');
  EXPECT_EQ(block.Byte(1), 0xC3);
  EXPECT_EQ(block.Byte(3), 0);
  EXPECT_EQ(block.StringValue(1, 2), "\xc3\xa9");
  EXPECT_EQ(block.StringValue(5, 0), "");
  EXPECT_THROW(block.Byte(5), OutOfBoundsException);
  EXPECT_THROW(block.Byte(-1), OutOfBoundsException);
  EXPECT_THROW(block.StringValue(4, 2), OutOfBoundsException);
  EXPECT_EQ(MemoryBlock(3).StringValue(0, 3), std::string(3, '\0'));
}

}  // namespace
}  // namespace velmaris

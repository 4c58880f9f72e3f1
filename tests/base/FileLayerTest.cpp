// The streams, where the file helpers' tests don't reach: what the HTTP
// client writes a download and a page through.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <filesystem>

#include "base/BinaryStream.h"
#include "base/FolderItem.h"
#include "base/InfoPlist.h"
#include "base/MemoryBlock.h"
#include "support/Files.h"

namespace velmaris {

TEST(FileLayer, FileStreamsKeepOnlyTheBytesWrittenAsTheyAre) {
  QTemporaryDir folder;
  const std::string path = folder.path().toStdString() + "/download";
  const std::string nowhere = folder.path().toStdString() + "/no such folder/file";
  const auto item = [](const std::string& at) { return New<FolderItem>(at, FolderItem::PathModes::Shell); };
  testing::WriteFile(path, std::string(1 << 20, 'o'));
  const std::string bytes = std::string("line\r\nwith\0nul", 14) + std::string(300000, '\xff');
  auto stream = BinaryStream::Create(item(path), true);
  stream->Write(bytes.substr(0, 14));
  stream->Write(bytes.substr(14));
  stream->Close();
  EXPECT_TRUE(testing::ReadFile(path) == bytes) << "only the new bytes, over a longer file";
  EXPECT_THROW(stream->Write("late"), IOException);
  EXPECT_THROW(BinaryStream::Create(item(nowhere), true), IOException);
  ASSERT_FALSE(item(path)->CreateTextFile().IsNil());
  EXPECT_EQ(item(path)->Length(), 0u) << "a text file is created empty";
  EXPECT_TRUE(item(nowhere)->CreateTextFile().IsNil());
}

TEST(FileLayer, MemoryBlockGrowsUnderAStreamAndHoldsAStringsBytes) {
  auto block = New<MemoryBlock>(0);
  BinaryStream stream(block);
  const std::string bytes = std::string("a\xc3\xa9\0", 4) + std::string(100000, 'z');
  stream.Write(bytes.substr(0, 4));
  stream.Write(bytes.substr(4));
  EXPECT_TRUE(block->StringValue(0, block->Size()) == bytes);
  const MemoryBlock text(bytes.substr(0, 4));
  EXPECT_EQ(text.Byte(1), 0xC3);
  EXPECT_THROW(text.Byte(4), OutOfBoundsException);
}

// Only a string of the outermost dictionary counts, its entities decoded.
TEST(FileLayer, InfoPlistValueReadsTheOutermostDictionary) {
  QTemporaryDir folder;
  const std::string bundle = folder.path().toStdString() + "/A.app";
  EXPECT_EQ(InfoPlistValue(bundle, "CFBundleIdentifier"), "") << "no file";
  std::filesystem::create_directories(bundle + "/Contents");
  testing::WriteFile(bundle + "/Contents/Info.plist",
                     "<?xml version=\"1.0\"?><plist><dict><key>Inner</key><dict><key>CFBundleIdentifier</key>"
                     "<string>inner</string></dict><key>CFBundleVersion</key><true/><key>CFBundleIdentifier</key>"
                     "<string>a&amp;b&lt;c</string></dict></plist>");
  EXPECT_EQ(InfoPlistValue(bundle, "CFBundleIdentifier"), "a&b<c");
  EXPECT_EQ(InfoPlistValue(bundle, "CFBundleVersion"), "");
  EXPECT_EQ(InfoPlistValue(bundle, "Inner"), "");
}

}  // namespace velmaris

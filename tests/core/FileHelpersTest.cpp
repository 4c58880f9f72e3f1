#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <filesystem>

#include "base/FolderItem.h"
#include "base/TextOutputStream.h"
#include "support/Files.h"
#include "support/TestApplication.h"

namespace velmaris {
namespace {

using testing::ReadFile;
using testing::WriteFile;

class FileHelpersTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WriteFile(PathOf("file"), std::string(10001, 'z'));
    WriteFile(PathOf("empty"), "");
    std::filesystem::create_directories(PathOf("folder with blanks/inner"));
  }
  std::string PathOf(const std::string& name) const { return mFolder.path().toStdString() + "/" + name; }
  static Ref<FolderItem> Item(const std::string& path) { return New<FolderItem>(path, FolderItem::PathModes::Shell); }

  testing::TestApplication mApp;
  QTemporaryDir mFolder;
};

// 0 means that the path exists, file or folder.
TEST_F(FileHelpersTest, ExisteRepertoireCodes) {
  EXPECT_EQ(App().ExisteRepertoire(PathOf("file")), 0);
  EXPECT_EQ(App().ExisteRepertoire(PathOf("folder with blanks")), 0);
  EXPECT_EQ(App().ExisteRepertoire(PathOf("missing")), 1);
  EXPECT_EQ(App().ExisteRepertoire(""), -1);
}

TEST_F(FileHelpersTest, RetournerTailleFichierGivesZeroForAnyFailure) {
  EXPECT_EQ(App().RetournerTailleFichier(PathOf("file")), 10001);
  EXPECT_EQ(App().RetournerTailleFichier(PathOf("empty")), 0);
  EXPECT_EQ(App().RetournerTailleFichier(PathOf("missing")), 0);
  EXPECT_EQ(App().RetournerTailleFichier(""), 0);
}

TEST_F(FileHelpersTest, SupprimerFichierCodes) {
  EXPECT_EQ(App().SupprimerFichier(PathOf("file")), 0);
  EXPECT_FALSE(std::filesystem::exists(PathOf("file")));
  EXPECT_EQ(App().SupprimerFichier(PathOf("file")), -1) << "nothing there is no success";
  EXPECT_EQ(App().SupprimerFichier(PathOf("folder with blanks")), 1) << "a folder that isn't empty stays";
  EXPECT_TRUE(std::filesystem::exists(PathOf("folder with blanks/inner")));
  EXPECT_EQ(App().SupprimerFichier(""), -2);
}

TEST_F(FileHelpersTest, CopierFichierIsTrueOnlyWithoutError) {
  EXPECT_TRUE(App().CopierFichier(Item(PathOf("file")), Item(PathOf("folder with blanks/copy"))));
  EXPECT_EQ(ReadFile(PathOf("folder with blanks/copy")), std::string(10001, 'z'));
  EXPECT_FALSE(App().CopierFichier(Item(PathOf("missing")), Item(PathOf("copy"))));
  EXPECT_FALSE(App().CopierFichier(Item(PathOf("file")), Item(PathOf("missing/copy"))));
  EXPECT_THROW(App().CopierFichier(nullptr, Item(PathOf("copy"))), NilObjectException);
}

TEST_F(FileHelpersTest, CreerFichierGivesAStreamOrNil) {
  Ref<TextOutputStream> stream = App().CreerFichier(PathOf("file"));
  ASSERT_FALSE(stream.IsNil());
  stream->Write("new");
  stream->Close();
  EXPECT_EQ(ReadFile(PathOf("file")), "new");
  EXPECT_TRUE(App().CreerFichier(PathOf("missing/file")).IsNil());
  EXPECT_TRUE(App().CreerFichier("").IsNil());
}

}  // namespace
}  // namespace velmaris

// Each file helper's own result codes.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <filesystem>

#include "base/FolderItem.h"
#include "base/TextOutputStream.h"
#include "support/Files.h"
#include "support/TestApplication.h"

namespace velmaris {
namespace {

TEST(FileHelpers, ResultCodes) {
  testing::TestApplication application;
  QTemporaryDir folder;
  const std::string file = folder.path().toStdString() + "/file";
  const std::string full = folder.path().toStdString() + "/folder with blanks";
  const std::string missing = folder.path().toStdString() + "/missing";
  testing::WriteFile(file, std::string(10001, 'z'));
  std::filesystem::create_directories(full + "/inner");
  const auto item = [](const std::string& path) { return New<FolderItem>(path, FolderItem::PathModes::Shell); };

  EXPECT_EQ(App().ExisteRepertoire(file), 0);
  EXPECT_EQ(App().ExisteRepertoire(full), 0);
  EXPECT_EQ(App().ExisteRepertoire(missing), 1);
  EXPECT_EQ(App().ExisteRepertoire(""), -1);

  EXPECT_EQ(App().RetournerTailleFichier(file), 10001);
  EXPECT_EQ(App().RetournerTailleFichier(missing), 0);
  EXPECT_EQ(App().RetournerTailleFichier(""), 0);

  EXPECT_TRUE(App().CopierFichier(item(file), item(full + "/copy")));
  EXPECT_EQ(testing::ReadFile(full + "/copy"), std::string(10001, 'z'));
  EXPECT_FALSE(App().CopierFichier(item(missing), item(full + "/copy")));
  EXPECT_FALSE(App().CopierFichier(item(file), item(missing + "/copy")));
  EXPECT_THROW(App().CopierFichier(nullptr, item(file)), NilObjectException);

  Ref<TextOutputStream> stream = App().CreerFichier(file);
  ASSERT_FALSE(stream.IsNil());
  stream->Close();
  EXPECT_EQ(App().RetournerTailleFichier(file), 0) << "an empty file and a missing one look alike";
  EXPECT_TRUE(App().CreerFichier(missing + "/file").IsNil());
  EXPECT_TRUE(App().CreerFichier("").IsNil());

  EXPECT_EQ(App().SupprimerFichier(file), 0);
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(App().SupprimerFichier(file), -1) << "nothing there is no success";
  EXPECT_EQ(App().SupprimerFichier(full), 1) << "a folder that isn't empty stays";
  EXPECT_TRUE(std::filesystem::exists(full + "/inner"));
  EXPECT_EQ(App().SupprimerFichier(""), -2);
}

}  // namespace
}  // namespace velmaris

// Each file helper's own result codes.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <filesystem>

#include "base/FolderItem.h"
#include "base/TextOutputStream.h"
#include "support/Files.h"
#include "support/TestApplication.h"

namespace velmaris {

TEST(FileHelpers, ResultCodes) {
  testing::TestApplication application;
  QTemporaryDir folder;
  const std::string root = folder.path().toStdString(), file = root + "/file", missing = root + "/missing";
  const std::string full = root + "/folder with blanks", longer = full + "/database.sqlite";
  const std::string bytes("SQLite format 3\0\x10\xff", 18);
  std::filesystem::create_directories(full + "/inner");
  testing::WriteFile(file, bytes);
  testing::WriteFile(longer, bytes + bytes);
  const auto item = [](const std::string& path) { return New<FolderItem>(path, FolderItem::PathModes::Shell); };
  using Codes = std::vector<int64_t>;

  // ExisteRepertoire gives 0 when the path exists, file or folder.
  EXPECT_EQ((Codes{App().ExisteRepertoire(file), App().ExisteRepertoire(full), App().ExisteRepertoire(missing),
                   App().ExisteRepertoire("")}),
            (Codes{0, 0, 1, -1}));
  EXPECT_EQ((Codes{App().RetournerTailleFichier(file), App().RetournerTailleFichier(missing),
                   App().RetournerTailleFichier("")}),
            (Codes{18, 0, 0}));

  // A failure, then a success, on one source item: its code follows the last copy.
  const auto source = item(file);
  EXPECT_FALSE(App().CopierFichier(source, item(missing + "/copy")));
  EXPECT_TRUE(App().CopierFichier(source, item(longer)));
  EXPECT_TRUE(testing::ReadFile(longer) == bytes) << "a longer file is replaced whole";
  EXPECT_FALSE(App().CopierFichier(item(missing), item(full + "/copy")));
  EXPECT_THROW(App().CopierFichier(nullptr, item(file)), NilObjectException);

  Ref<TextOutputStream> stream = App().CreerFichier(file);
  ASSERT_FALSE(stream.IsNil());
  stream->Close();
  EXPECT_EQ(App().RetournerTailleFichier(file), 0) << "an empty file and a missing one look alike";
  EXPECT_TRUE(App().CreerFichier(missing + "/file").IsNil() && App().CreerFichier("").IsNil());

  // SupprimerFichier gives 0 for a success, -1 when nothing is there.
  EXPECT_EQ((Codes{App().SupprimerFichier(file), App().SupprimerFichier(file), App().SupprimerFichier(full),
                   App().SupprimerFichier("")}),
            (Codes{0, -1, 1, -2}));
  EXPECT_TRUE(!std::filesystem::exists(file) && std::filesystem::exists(full + "/inner"));
}

}  // namespace velmaris

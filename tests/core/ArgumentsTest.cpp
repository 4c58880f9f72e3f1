#include <gtest/gtest.h>

#include "support/TestApplication.h"

namespace velmaris {
namespace {

const char* kProgram = "/Applications/Velmaris MAJ.app/Contents/MacOS/VelmarisMAJ";

TEST(Arguments, ValuesAreReadFromTheWholeCommandLine) {
  struct Row {
    const char* name;
    std::vector<std::string> arguments;
    const char* key;
    const char* expected;
  } rows[] = {
      {.name = "plain value", .arguments = {kProgram, "--MAJ:2.1.0"}, .key = "MAJ", .expected = "2.1.0"},
      {.name = "blanks inside a value, blank before the next key",
       .arguments = {kProgram, "--REPAPP:/Applications/My Velmaris.app", "--MAJ:2"},
       .key = "REPAPP",
       .expected = "/Applications/My Velmaris.app"},
      {.name = "blank behind the colon", .arguments = {kProgram, "--MAJ:  3.0"}, .key = "MAJ", .expected = "3.0"},
      {.name = "colons stay in a value",
       .arguments = {kProgram, "--SAUVEDB:BackupsDB/2024-01-01 12:30:00.sqlite"},
       .key = "SAUVEDB",
       .expected = "BackupsDB/2024-01-01 12:30:00.sqlite"},
      {.name = "-- ends a value", .arguments = {kProgram, "--SAUVEDB:a--b.sqlite"}, .key = "SAUVEDB", .expected = "a"},
      {.name = "the key's own colon is required",
       .arguments = {kProgram, "--MAJOR:5", "--MAJ:6"},
       .key = "MAJ",
       .expected = "6"},
      {.name = "a word that ends in the key does not match",
       .arguments = {kProgram, "--XMAJ:5"},
       .key = "MAJ",
       .expected = ""},
      {.name = "letter case of the key", .arguments = {kProgram, "--maj:7"}, .key = "MAJ", .expected = "7"},
      {.name = "the first of a repeated key wins",
       .arguments = {kProgram, "--MAJ:1", "--MAJ:2"},
       .key = "MAJ",
       .expected = "1"},
      {.name = "absent key", .arguments = {kProgram, "--MAJ:1"}, .key = "REPAPP", .expected = ""},
      {.name = "empty value", .arguments = {kProgram, "--MAJ:", "--REPAPP:/x"}, .key = "MAJ", .expected = ""},
      {.name = "blanks only", .arguments = {kProgram, "--MAJ:   "}, .key = "MAJ", .expected = ""},
      {.name = "no -- at all", .arguments = {kProgram, "MAJ:1"}, .key = "MAJ", .expected = ""},
      {.name = "only the program", .arguments = {kProgram}, .key = "MAJ", .expected = ""},
      {.name = "no command line", .arguments = {}, .key = "MAJ", .expected = ""},
  };
  for (const Row& row : rows) {
    testing::TestApplication app(row.arguments);
    EXPECT_EQ(App().RetournerValeurArgument(row.key), row.expected) << row.name;
  }
}

TEST(Arguments, CommandLineIsReadAfreshAtEveryCall) {
  testing::TestApplication app({kProgram, "--MAJ:1"});
  EXPECT_EQ(App().RetournerValeurArgument("MAJ"), "1");
  System::SetArguments({kProgram, "--MAJ:2"});
  EXPECT_EQ(App().RetournerValeurArgument("MAJ"), "2");
}

TEST(Arguments, FileNameIsTheTextBehindTheLastSlash) {
  testing::TestApplication app;
  struct Row {
    const char* path;
    const char* expected;
  } rows[] = {
      {.path = "http://host/downloads/files/Velmaris_2.1.0.dmg.zip", .expected = "Velmaris_2.1.0.dmg.zip"},
      {.path = "/a/b\xC3\xA9.txt", .expected = "b\xC3\xA9.txt"},
      {.path = "no-slash", .expected = ""},
      {.path = "/ends/with/", .expected = ""},
      {.path = "", .expected = ""},
  };
  for (const Row& row : rows) EXPECT_EQ(App().ExtraireNomFichier(row.path), row.expected) << row.path;
}

TEST(Arguments, LastWordAndLineParameters) {
  testing::TestApplication app;
  EXPECT_EQ(App().RetournerDernierMot("  first second  "), "second");
  EXPECT_EQ(App().RetournerDernierMot(""), "");
  EXPECT_EQ(App().RetournerDernierMot("one"), "one");
  const std::string text = "junk\n  Version : 2.1 \nURL: http://host:8080/x\n";
  EXPECT_EQ(App().RecupererValeurParametre(text, "URL"), "http://host:8080/x");
  EXPECT_EQ(App().RecupererValeurParametre(text, "version "), "2.1");
  EXPECT_EQ(App().RecupererValeurParametre(text, "Missing"), "");
  // A line without a colon compares as an empty name.
  EXPECT_EQ(App().RecupererValeurParametre("junk\nA:1", ""), "junk");
  EXPECT_EQ(App().RecupererValeurParametre("", "A"), "");
}

}  // namespace
}  // namespace velmaris

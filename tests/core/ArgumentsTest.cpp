#include <gtest/gtest.h>

#include "support/TestApplication.h"

namespace velmaris {

const char* const kApp = "/Applications/Velmaris MAJ.app/Contents/MacOS/VelmarisMAJ";

// One application for all: the command line is read afresh at every call.
TEST(Arguments, ValuesAreReadFromTheWholeCommandLine) {
  testing::TestApplication app;
  const auto value = [](std::vector<std::string> arguments, const char* key) {
    System::SetArguments(std::move(arguments));
    return App().RetournerValeurArgument(key);
  };
  EXPECT_EQ(value({kApp, "--REPAPP:/Apps/My Velmaris.app", "--MAJ:2"}, "REPAPP"), "/Apps/My Velmaris.app");
  EXPECT_EQ(value({kApp, "--MAJ:  3.0"}, "MAJ"), "3.0");
  EXPECT_EQ(value({kApp, "--SAUVEDB:Backups/01 12:30:00.db"}, "SAUVEDB"), "Backups/01 12:30:00.db");
  EXPECT_EQ(value({kApp, "--SAUVEDB:a--b.sqlite"}, "SAUVEDB"), "a");
  EXPECT_EQ(value({kApp, "--MAJOR:5", "--MAJ:6"}, "MAJ"), "6");
  EXPECT_EQ(value({kApp, "--maj:7"}, "MAJ"), "7");
  EXPECT_EQ(value({kApp, "--MAJ:1", "--MAJ:2"}, "MAJ"), "1");
  // Empty, ending another word, without "--", absent.
  EXPECT_EQ(value({kApp, "--MAJ:", "--REPAPP:/x"}, "MAJ") + value({kApp, "--XMAJ:5"}, "MAJ") +
                value({kApp, "MAJ:1"}, "MAJ") + value({kApp}, "MAJ") + value({}, "MAJ"),
            "");
  // An empty argument keeps its place between two blanks.
  System::SetArguments({"", kApp, "", "--MAJ:1"});
  EXPECT_EQ(System::CommandLine(), std::string(" ") + kApp + "  --MAJ:1");
}

TEST(Arguments, TextHelpers) {
  testing::TestApplication app;
  EXPECT_EQ(App().ExtraireNomFichier("http://host/downloads/files/Velmaris_2.1.0.dmg.zip"), "Velmaris_2.1.0.dmg.zip");
  EXPECT_EQ(App().ExtraireNomFichier("/a/b\xC3\xA9.txt"), "b\xC3\xA9.txt");
  EXPECT_EQ(App().ExtraireNomFichier("no-slash") + App().ExtraireNomFichier("/ends/") + App().ExtraireNomFichier(""),
            "");
  EXPECT_EQ(App().RetournerDernierMot("  first second  "), "second");
  EXPECT_EQ(App().RetournerDernierMot("one") + "|" + App().RetournerDernierMot(""), "one|");
  const std::string text = "junk\n  Version : 2.1 \nURL: http://host:8080/x\n";
  EXPECT_EQ(App().RecupererValeurParametre(text, "URL"), "http://host:8080/x");
  EXPECT_EQ(App().RecupererValeurParametre(text, "version "), "2.1");
  EXPECT_EQ(App().RecupererValeurParametre(text, "Missing") + App().RecupererValeurParametre("", "A"), "");
  // A line without a colon compares as an empty name.
  EXPECT_EQ(App().RecupererValeurParametre("junk\nA:1", ""), "junk");
}

}  // namespace velmaris

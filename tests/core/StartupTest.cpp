// The real binary, run without a display and without arguments, under a
// French locale of a country other than France: from the build folder, and
// installed by cmake --install into a prefix of its own.
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <filesystem>

namespace velmaris {

// The no-job road shows its message in the user's language, then its reason
// and the log's place, nothing else (no warning of Qt's), and still ends the
// run with status 0.
TEST(Startup, WithoutArgumentsTheNoJobRoadSpeaksTheUserLanguageAndEndsWithStatusZero) {
  QTemporaryDir prefix;
  QProcess install;
  install.start(QStringLiteral(VELMARIS_CMAKE), {"--install", VELMARIS_BUILD_DIR, "--prefix", prefix.path()});
  ASSERT_TRUE(install.waitForFinished(60000));
  ASSERT_EQ(install.exitCode(), 0) << install.readAllStandardError().toStdString();
  const std::string installed = prefix.path().toStdString() + "/bin/";
#if !defined(Q_OS_MACOS)
  for (const char* standIn : {"open", "hdiutil", "ditto", "Sleep"}) {
    const auto permissions = std::filesystem::status(installed + "macos-tools/" + standIn).permissions();
    EXPECT_NE(permissions & std::filesystem::perms::owner_exec, std::filesystem::perms::none) << standIn;
  }
#endif

  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  for (const char* name :
       {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LANGUAGE", "LC_ALL", "LC_MESSAGES", "XDG_RUNTIME_DIR"})
    environment.remove(name);
  environment.insert(QStringLiteral("LANG"), QStringLiteral("fr_BE.UTF-8"));
  environment.insert(QStringLiteral("HOME"), prefix.path());
  environment.remove(QStringLiteral("XDG_STATE_HOME"));
  for (const std::string& binary : {std::string(VELMARIS_BINARY), installed + "VelmarisMAJ"}) {
    QProcess tool;
    tool.setProcessEnvironment(environment);
    tool.start(QString::fromStdString(binary), {});
    ASSERT_TRUE(tool.waitForFinished(30000)) << binary;
    EXPECT_EQ(tool.exitStatus(), QProcess::NormalExit) << binary;
    EXPECT_EQ(tool.exitCode(), 0) << binary;
    EXPECT_EQ(tool.readAllStandardError().toStdString(),
              "VelmarisMAJ: Initialisation...\n"
              "VelmarisMAJ: Le lancement de VelmarisMAJ doit être initié par Velmaris\u00a0! "
              "L\u2019application Velmaris n\u2019a pas été mise à jour.\n"
              "VelmarisMAJ: no application was given (--REPAPP:)\n"
              "VelmarisMAJ: Update log: " +
                  prefix.path().toStdString() + "/.local/state/Velmaris/VelmarisMAJ.log\n")
        << binary;
  }
}

}  // namespace velmaris

// The real binary, run without a display and without arguments, under a
// French locale of a country other than France.
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>

namespace velmaris {

// The no-job road shows its message in the user's language and still ends the run with status 0.
TEST(Startup, WithoutArgumentsTheNoJobRoadSpeaksTheUserLanguageAndEndsWithStatusZero) {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LANGUAGE", "LC_ALL", "LC_MESSAGES"})
    environment.remove(name);
  environment.insert(QStringLiteral("LANG"), QStringLiteral("fr_BE.UTF-8"));
  QProcess tool;
  tool.setProcessEnvironment(environment);
  tool.start(QStringLiteral(VELMARIS_BINARY), {});
  ASSERT_TRUE(tool.waitForFinished(30000));
  EXPECT_EQ(tool.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(tool.exitCode(), 0);
  const std::string errors = tool.readAllStandardError().toStdString();
  EXPECT_NE(errors.find("VelmarisMAJ: Le lancement de VelmarisMAJ doit être initié par Velmaris\u00a0! "
                        "L\u2019application Velmaris n\u2019a pas été mise à jour.\n"),
            std::string::npos)
      << errors;
}

}  // namespace velmaris

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>

#include "base/Translations.h"
#include "ui/Strings.h"

namespace velmaris {
namespace {

struct Entry {
  std::string (*constant)(const std::string&);
  const char* key;
  const char* english;
  const char* french;
};

// The no-break spaces (U+00A0) and the one ellipsis character (U+2026) are spelled out.
const Entry kCatalogue[] = {
    {Strings::kLabelTelechargement0, "Strings.kLabelTelechargement0", "Initialization...", "Initialisation..."},
    {Strings::kLabelTelechargement1, "Strings.kLabelTelechargement1", "Download ", "Téléchargement de "},
    {Strings::kLabelTelechargement2, "Strings.kLabelTelechargement2", " in progress...", " en cours..."},
    {Strings::kLabelTelechargement3, "Strings.kLabelTelechargement3", "Update installation in progress...",
     "Installation de la mise à jour en cours..."},
    {Strings::kLabelRestaurationDB, "Strings.kLabelRestaurationDB", "Restore of the database backup in progress\u2026",
     "Restauration de la sauvegarde de la base en cours\u2026"},
    {Strings::kTitreFenetreRestaurerDB, "Strings.kTitreFenetreRestaurerDB", "Restore database...",
     "Restauration de la base..."},
    {Strings::kMsgBoxErreurMAJ0, "Strings.kMsgBoxErreurMAJ0",
     "The launch of VelmarisMAJ must be initiated by Velmaris!",
     "Le lancement de VelmarisMAJ doit être initié par Velmaris\u00a0!"},
    {Strings::kMsgBoxErreurMAJ1, "Strings.kMsgBoxErreurMAJ1", "Errors encountered in installing the update !",
     "Des erreurs sont survenues pendant l\u2019installation de la mise à jour\u00a0!"},
    {Strings::kMsgBoxErreurMAJ2, "Strings.kMsgBoxErreurMAJ2", "Errors encountered in downloading the update !",
     "Des erreurs sont survenues pendant le téléchargement de la mise à jour\u00a0!"},
    {Strings::kMsgBoxErreurRestauration, "Strings.kMsgBoxErreurRestauration",
     "Errors encountered in restoring database backup !",
     "Des erreurs sont survenues pendant la restauration de la sauvegarde de la base\u00a0!"},
    {Strings::kMsgBoxVelmarisDispo, "Strings.kMsgBoxVelmarisDispo", "Velmaris application has not been updated.",
     "L\u2019application Velmaris n\u2019a pas été mise à jour."},
    {Strings::kMsgBoxTelechargerSite, "Strings.kMsgBoxTelechargerSite",
     "A \u00ab\u00a0fresh\u00a0\u00bb installation is required.",
     "Une installation \u00ab\u00a0propre\u00a0\u00bb est nécessaire."},
    {Strings::kTitreFenetreTelechargement, "Strings.kTitreFenetreTelechargement", "Velmaris Update",
     "Mise à jour de Velmaris"},
};

// Answers every key with the key in brackets.
class KeyTranslator : public QTranslator {
 public:
  bool isEmpty() const override { return false; }
  QString translate(const char* /*context*/, const char* sourceText, const char* /*disambiguation*/,
                    int /*n*/) const override {
    return QStringLiteral("[%1]").arg(QLatin1String(sourceText));
  }
};

TEST(Strings, EachConstantIsResolvedByItsKeyAtEveryRead) {
  KeyTranslator translator;
  QCoreApplication::installTranslator(&translator);
  for (const Entry& entry : kCatalogue) {
    EXPECT_EQ(entry.constant(""), std::string("[") + entry.key + "]") << entry.key;
  }
  QCoreApplication::removeTranslator(&translator);
  for (const Entry& entry : kCatalogue) EXPECT_EQ(entry.constant(""), entry.english) << entry.key;
}

TEST(Strings, EnglishTextsStandWhereNoTranslationExists) {
  for (const Entry& entry : kCatalogue) {
    EXPECT_EQ(entry.constant("de"), entry.english) << entry.key;
    EXPECT_EQ(entry.constant("en"), entry.english) << entry.key;
  }
}

TEST(Strings, FrenchTranslationIsComplete) {
  for (const Entry& entry : kCatalogue) EXPECT_EQ(entry.constant("fr"), entry.french) << entry.key;

  // The user's translation is chosen by language, whatever the country.
  const std::unique_ptr<QTranslator> translator = LoadTranslation(QLocale(QStringLiteral("fr_CA")));
  ASSERT_NE(translator, nullptr);
  QCoreApplication::installTranslator(translator.get());
  for (const Entry& entry : kCatalogue) EXPECT_EQ(entry.constant(""), entry.french) << entry.key;
  QCoreApplication::removeTranslator(translator.get());
  EXPECT_EQ(LoadTranslation(QLocale(QStringLiteral("de_DE"))), nullptr);
}

// The tool itself, headless, picks its texts by the user's locale.
TEST(Strings, ToolSpeaksTheUserLanguage) {
  const struct {
    const char* lang;
    const char* message;
  } rows[] = {
      {.lang = "fr_FR.UTF-8", .message = "Le lancement de VelmarisMAJ doit être initié par Velmaris\u00a0!"},
      {.lang = "fr_BE.UTF-8", .message = "L\u2019application Velmaris n\u2019a pas été mise à jour."},
      {.lang = "de_DE.UTF-8", .message = "The launch of VelmarisMAJ must be initiated by Velmaris!"},
      {.lang = "C", .message = "Velmaris application has not been updated."},
  };
  for (const auto& row : rows) {
    QProcess tool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "LANGUAGE", "LC_ALL", "LC_MESSAGES"}) {
      environment.remove(QString::fromLatin1(name));
    }
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("LANG"), QString::fromLatin1(row.lang));
    tool.setProcessEnvironment(environment);
    tool.start(QStringLiteral(VELMARIS_BINARY), {});
    ASSERT_TRUE(tool.waitForFinished(30000)) << row.lang;
    const std::string errors = tool.readAllStandardError().toStdString();
    EXPECT_NE(errors.find(row.message), std::string::npos) << row.lang << ": " << errors;
  }
}

}  // namespace
}  // namespace velmaris

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>

#include "base/Translations.h"
#include "ui/Strings.h"

namespace velmaris {

// Each constant's key is "Strings." and its name. The no-break spaces (U+00A0),
// the one ellipsis character (U+2026) and the apostrophes (U+2019) are spelled out.
#define ENTRY(name) Strings::name, "Strings." #name
const struct Entry {
  std::string (*constant)(const std::string&);
  const char *key, *english, *french;
} kCatalogue[] = {
    {ENTRY(kLabelTelechargement0), "Initialization...", "Initialisation..."},
    {ENTRY(kLabelTelechargement1), "Download ", "Téléchargement de "},
    {ENTRY(kLabelTelechargement2), " in progress...", " en cours..."},
    {ENTRY(kLabelTelechargement3), "Update installation in progress...", "Installation de la mise à jour en cours..."},
    {ENTRY(kLabelRestaurationDB), "Restore of the database backup in progress\u2026",
     "Restauration de la sauvegarde de la base en cours\u2026"},
    {ENTRY(kTitreFenetreRestaurerDB), "Restore database...", "Restauration de la base..."},
    {ENTRY(kMsgBoxErreurMAJ0), "The launch of VelmarisMAJ must be initiated by Velmaris!",
     "Le lancement de VelmarisMAJ doit être initié par Velmaris\u00a0!"},
    {ENTRY(kMsgBoxErreurMAJ1), "Errors encountered in installing the update !",
     "Des erreurs sont survenues pendant l\u2019installation de la mise à jour\u00a0!"},
    {ENTRY(kMsgBoxErreurMAJ2), "Errors encountered in downloading the update !",
     "Des erreurs sont survenues pendant le téléchargement de la mise à jour\u00a0!"},
    {ENTRY(kMsgBoxErreurRestauration), "Errors encountered in restoring database backup !",
     "Des erreurs sont survenues pendant la restauration de la sauvegarde de la base\u00a0!"},
    {ENTRY(kMsgBoxVelmarisDispo), "Velmaris application has not been updated.",
     "L\u2019application Velmaris n\u2019a pas été mise à jour."},
    {ENTRY(kMsgBoxTelechargerSite), "A \u00ab\u00a0fresh\u00a0\u00bb installation is required.",
     "Une installation \u00ab\u00a0propre\u00a0\u00bb est nécessaire."},
    {ENTRY(kTitreFenetreTelechargement), "Velmaris Update", "Mise à jour de Velmaris"},
    {ENTRY(kUniteKo), " KB", "\u00a0Ko"},
    {ENTRY(kUniteMo), " MB", "\u00a0Mo"},
    {ENTRY(kSeparateurDecimal), ".", ","}};
#undef ENTRY

// Every constant is looked up by its key at each read: the French
// translation, chosen by language whatever the country, answers it while
// installed, and the English text stands for a language without translation.
TEST(Strings, EachConstantIsResolvedByItsKeyAtEveryRead) {
  const std::unique_ptr<QTranslator> french = LoadTranslation(QLocale(QStringLiteral("fr_CA")));
  ASSERT_NE(french, nullptr);
  QCoreApplication::installTranslator(french.get());
  for (const Entry& entry : kCatalogue) {
    EXPECT_EQ(french->translate(nullptr, entry.key).toStdString(), entry.french) << entry.key;
    EXPECT_EQ(entry.constant(""), entry.french) << entry.key;
  }
  EXPECT_EQ(Strings::TailleRecue(3249999) + " " + Strings::TailleRecue(999499), "3,2\u00a0Mo 999\u00a0Ko");
  QCoreApplication::removeTranslator(french.get());
  EXPECT_EQ(Strings::TailleRecue(3260000) + " " + Strings::TailleRecue(999600), "3.3 MB 1000 KB");
  for (const Entry& entry : kCatalogue) {
    EXPECT_EQ(entry.constant(""), entry.english) << entry.key;
    EXPECT_EQ(entry.constant("de"), entry.english) << entry.key;
    EXPECT_EQ(entry.constant("fr"), entry.french) << entry.key;
  }
}

}  // namespace velmaris

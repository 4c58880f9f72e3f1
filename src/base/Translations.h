#pragma once
// The translations of the string catalogue: compiled at build time and kept
// among the application's resources as ":/i18n/velmaris_<language>.qm",
// each message under its key.

#include <QLocale>
#include <QTranslator>
#include <memory>

namespace velmaris {

// The translation that fits the locale's languages best, or nullptr when
// there is none.
std::unique_ptr<QTranslator> LoadTranslation(const QLocale& locale);

// Installs the translation of the user's language (QLocale::system()) for the
// rest of the run; false when there is none, and the English texts stand.
bool InstallUserTranslation();

}  // namespace velmaris

#include "base/Translations.h"

#include <QCoreApplication>

namespace velmaris {

std::unique_ptr<QTranslator> LoadTranslation(const QLocale& locale) {
  auto translator = std::make_unique<QTranslator>();
  if (!translator->load(locale, QStringLiteral("velmaris"), QStringLiteral("_"), QStringLiteral(":/i18n"))) {
    return nullptr;
  }
  return translator;
}

bool InstallUserTranslation() {
  std::unique_ptr<QTranslator> translator = LoadTranslation(QLocale::system());
  if (!translator) return false;
  // The application owns it from here on.
  translator->setParent(QCoreApplication::instance());
  QCoreApplication::installTranslator(translator.release());
  return true;
}

}  // namespace velmaris

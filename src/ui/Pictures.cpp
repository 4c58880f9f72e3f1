#include "ui/Pictures.h"

#include <QString>

namespace velmaris {

namespace {

QImage OpenFromApp(const char* name) { return QImage(QStringLiteral(":/pictures/%1.png").arg(QLatin1String(name))); }

}  // namespace

const QImage& Logo() {
  static const QImage picture = OpenFromApp("Logo");
  return picture;
}

const QImage& Velmaris_Titre() {
  static const QImage picture = OpenFromApp("Velmaris_Titre");
  return picture;
}

}  // namespace velmaris

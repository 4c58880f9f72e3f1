#include "base/Screens.h"

#include <QGuiApplication>
#include <QScreen>

#include "base/Exceptions.h"

namespace velmaris {

namespace {

std::optional<std::vector<ScreenArea>>& FixedScreens() {
  static std::optional<std::vector<ScreenArea>> screens;
  return screens;
}

std::vector<ScreenArea> RealScreens() {
  std::vector<ScreenArea> areas;
  if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr) return areas;
  QList<QScreen*> screens = QGuiApplication::screens();
  QScreen* primary = QGuiApplication::primaryScreen();
  if (primary != nullptr) {
    screens.removeAll(primary);
    screens.prepend(primary);
  }
  for (const QScreen* screen : screens) {
    const QRect geometry = screen->geometry();
    areas.push_back({geometry.left(), geometry.top(), geometry.width(), geometry.height()});
  }
  return areas;
}

std::vector<ScreenArea> Screens() { return FixedScreens() ? *FixedScreens() : RealScreens(); }

}  // namespace

int64_t ScreenCount() { return static_cast<int64_t>(Screens().size()); }

ScreenArea Screen(int64_t index) {
  const std::vector<ScreenArea> screens = Screens();
  if (index < 0 || index >= static_cast<int64_t>(screens.size()))
    throw OutOfBoundsException("No screen " + std::to_string(index));
  return screens[static_cast<size_t>(index)];
}

void SetScreens(std::optional<std::vector<ScreenArea>> screens) { FixedScreens() = std::move(screens); }

}  // namespace velmaris

#include "base/Clock.h"
#include "base/Geometry.h"
#include "base/Screens.h"
#include "core/VelmarisMAJ.h"

namespace velmaris {

int64_t VelmarisMAJ::RetournerEcranActif(int64_t x, int64_t y) {
  auto area = New<Rect>();
  auto point = New<Point>(x, y);
  for (int64_t i = 0; i <= ScreenCount() - 1; ++i) {
    const ScreenArea screen = Screen(i);
    area->SetTop(screen.Top);
    area->SetLeft(screen.Left);
    area->SetWidth(screen.Width);
    area->SetHeight(screen.Height);
    if (area->Contains(point)) return i;
  }
  return -1;
}

}  // namespace velmaris

#pragma once
// The attached screens, primary first, in global coordinates.

#include <cstdint>
#include <optional>
#include <vector>

namespace velmaris {

struct ScreenArea {
  int64_t Left = 0;
  int64_t Top = 0;
  int64_t Width = 0;
  int64_t Height = 0;
};

int64_t ScreenCount();
// Raises OutOfBoundsException outside 0 to ScreenCount - 1.
ScreenArea Screen(int64_t index);

// Replaces the real screens with a fixed list (tests); nullopt restores them.
void SetScreens(std::optional<std::vector<ScreenArea>> screens);

}  // namespace velmaris

#pragma once
// The user's standard folders.

#include "base/FolderItem.h"
#include "base/Ref.h"

namespace velmaris {

class SpecialFolder {
 public:
  // The user's folder for application data: ~/Library/Application Support
  // on macOS; elsewhere the XDG data home, $XDG_DATA_HOME when it is an
  // absolute path, else ~/.local/share.
  static Ref<FolderItem> ApplicationData();
};

}  // namespace velmaris

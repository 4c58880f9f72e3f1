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
  // Where disk images are mounted: /Volumes on macOS; elsewhere the folder
  // that the stand-in of hdiutil mounts into, $VELMARIS_VOLUMES when it is
  // an absolute path, else /Volumes.
  static Ref<FolderItem> Volumes();
};

}  // namespace velmaris

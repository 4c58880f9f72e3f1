#include "base/SpecialFolder.h"

#include <QDir>

#include "base/System.h"

namespace velmaris {

Ref<FolderItem> SpecialFolder::ApplicationData() {
  const std::string home = QDir::homePath().toStdString();
#if defined(Q_OS_MACOS)
  return New<FolderItem>(home + "/Library/Application Support", FolderItem::PathModes::Shell);
#else
  // A relative XDG_DATA_HOME is invalid and ignored, as the XDG base directory rules say.
  const std::string dataHome = System::EnvironmentVariable("XDG_DATA_HOME");
  if (dataHome.starts_with('/')) return New<FolderItem>(dataHome, FolderItem::PathModes::Shell);
  return New<FolderItem>(home + "/.local/share", FolderItem::PathModes::Shell);
#endif
}

}  // namespace velmaris

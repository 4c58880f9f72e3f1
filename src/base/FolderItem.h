#pragma once
// A place in the file system, whether or not anything stands there. Making
// one touches nothing on disk. Delete, CopyFileTo, MoveFileTo, ExchangeWith
// and CreateAsFolder report failure through LastErrorCode (an errno value
// above 0), never by exception.

#include <cstdint>
#include <filesystem>
#include <string>

#include "base/Ref.h"

namespace velmaris {

class TextOutputStream;

class FolderItem {
 public:
  enum class PathModes {
    // A POSIX path as a shell takes it, "/" as the separator, with no quoting.
    Shell = 1,
  };

  // Raises UnsupportedFormatException for an empty path or one that holds a NUL byte.
  FolderItem(const std::string& path, PathModes pathMode);

  // True for a symbolic link, whatever it points to.
  bool Alias() const;
  // The entry of that name inside this folder, whether it exists or not.
  Ref<FolderItem> Child(const std::string& name) const;
  // Copies the file whole. A file at the destination is replaced; an
  // existing folder receives the copy under this item's name.
  void CopyFileTo(const Ref<FolderItem>& destination);
  // Creates the folder; its parent must exist.
  void CreateAsFolder();
  // Creates the file, emptying one that is there; nil on failure.
  Ref<TextOutputStream> CreateTextFile();
  // Removes the file, or an empty folder.
  void Delete();
  // True for a folder, or a link to one.
  bool Directory() const;
  // Gives this item and the other one each other's names in one step, so
  // that at no instant does either name stand empty. Both must exist on the
  // same volume. ENOTSUP where the system or the file system has no such step.
  void ExchangeWith(const Ref<FolderItem>& other);
  // True when anything stands at the path, a dangling link included.
  bool Exists() const;
  // 0 when the last Delete, CopyFileTo, MoveFileTo or CreateTextFile worked.
  int64_t LastErrorCode() const { return mLastErrorCode; }
  // The file's size in bytes; 0 for a folder or a missing file.
  uint64_t Length() const;
  // Renames the item to the destination on the same volume, replacing a
  // file there; an existing folder receives it under this item's name.
  void MoveFileTo(const Ref<FolderItem>& destination);
  // The last component of the path.
  std::string Name() const { return mPath.filename().string(); }
  // The absolute path, without a trailing "/".
  std::string NativePath() const { return mPath.string(); }
  // The folder that holds the item.
  Ref<FolderItem> Parent() const;

 private:
  // Where this item lands when given to CopyFileTo or MoveFileTo.
  std::filesystem::path _TargetPath(const FolderItem& destination) const;

  std::filesystem::path mPath;
  int64_t mLastErrorCode = 0;
};

}  // namespace velmaris

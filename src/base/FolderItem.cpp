#include "base/FolderItem.h"

#include <cerrno>
#include <system_error>

#include "base/TextOutputStream.h"

namespace velmaris {

namespace fs = std::filesystem;

namespace {

fs::path WithoutTrailingSeparator(fs::path path) {
  while (!path.has_filename() && path != path.root_path()) path = path.parent_path();
  return path;
}

}  // namespace

FolderItem::FolderItem(const std::string& path, PathModes /*pathMode*/) {
  if (path.empty() || path.find('\0') != std::string::npos) {
    throw UnsupportedFormatException("Unusable path: \"" + path + "\"");
  }
  std::error_code error;
  fs::path absolute = fs::absolute(path, error);
  if (error) throw UnsupportedFormatException("Unusable path: \"" + path + "\": " + error.message());
  mPath = WithoutTrailingSeparator(std::move(absolute));
}

Ref<FolderItem> FolderItem::Child(const std::string& name) const {
  return New<FolderItem>((mPath / name).string(), PathModes::Shell);
}

void FolderItem::CopyFileTo(const Ref<FolderItem>& destination) {
  std::error_code error;
  if (fs::is_directory(mPath, error)) {
    mLastErrorCode = EISDIR;
    return;
  }
  fs::copy_file(mPath, _TargetPath(*destination), fs::copy_options::overwrite_existing, error);
  mLastErrorCode = error.value();
}

Ref<TextOutputStream> FolderItem::CreateTextFile() {
  try {
    auto stream = New<TextOutputStream>(*this);
    mLastErrorCode = 0;
    return stream;
  } catch (const IOException& failure) {
    mLastErrorCode = failure.ErrorNumber() > 0 ? failure.ErrorNumber() : EIO;
    return nullptr;
  }
}

void FolderItem::Delete() {
  std::error_code error;
  if (!fs::remove(mPath, error) && !error) error = std::make_error_code(std::errc::no_such_file_or_directory);
  mLastErrorCode = error.value();
}

bool FolderItem::Directory() const {
  std::error_code error;
  return fs::is_directory(mPath, error);
}

bool FolderItem::Exists() const {
  std::error_code error;
  return fs::exists(fs::symlink_status(mPath, error));
}

uint64_t FolderItem::Length() const {
  std::error_code error;
  const uintmax_t size = fs::file_size(mPath, error);
  return error ? 0 : size;
}

void FolderItem::MoveFileTo(const Ref<FolderItem>& destination) {
  std::error_code error;
  fs::rename(mPath, _TargetPath(*destination), error);
  mLastErrorCode = error.value();
}

fs::path FolderItem::_TargetPath(const FolderItem& destination) const {
  std::error_code error;
  return fs::is_directory(destination.mPath, error) ? destination.mPath / mPath.filename() : destination.mPath;
}

}  // namespace velmaris

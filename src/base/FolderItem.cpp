#include "base/FolderItem.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
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

bool FolderItem::Alias() const {
  std::error_code error;
  return fs::is_symlink(mPath, error);
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

void FolderItem::CreateAsFolder() {
  std::error_code error;
  if (!fs::create_directory(mPath, error) && !error) error = std::make_error_code(std::errc::file_exists);
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

void FolderItem::ExchangeWith(const Ref<FolderItem>& other) {
#if defined(__APPLE__)
  const int result = renamex_np(mPath.c_str(), other->mPath.c_str(), RENAME_SWAP);
#elif defined(__linux__)
  const int result = renameat2(AT_FDCWD, mPath.c_str(), AT_FDCWD, other->mPath.c_str(), RENAME_EXCHANGE);
#else
  const int result = -1;
  errno = ENOTSUP;
#endif
  // A file system without the exchange says so in one of these.
  const bool unsupported = result != 0 && (errno == EINVAL || errno == ENOSYS || errno == ENOTSUP);
  mLastErrorCode = result == 0 ? 0 : unsupported ? ENOTSUP : errno;
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

Ref<FolderItem> FolderItem::Parent() const { return New<FolderItem>(mPath.parent_path().string(), PathModes::Shell); }

fs::path FolderItem::_TargetPath(const FolderItem& destination) const {
  std::error_code error;
  return fs::is_directory(destination.mPath, error) ? destination.mPath / mPath.filename() : destination.mPath;
}

}  // namespace velmaris

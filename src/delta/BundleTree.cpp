#include "delta/BundleTree.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/Minisign.h"

namespace velmaris {

namespace {

constexpr size_t kReadBytes = size_t{256} * 1024;

std::string Joined(const std::string& folder, const std::string& name) {
  return folder.empty() ? name : folder + "/" + name;
}

// The names in the open folder, sorted byte by byte.
bool Names(int folder, std::vector<std::string>& names) {
  const int copy = ::dup(folder);
  DIR* dir = copy < 0 ? nullptr : ::fdopendir(copy);
  if (dir == nullptr) {
    if (copy >= 0) ::close(copy);
    return false;
  }
  ::rewinddir(dir);
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  ::closedir(dir);
  std::ranges::sort(names);
  return true;
}

std::string ListFolder(int folder, const std::string& path, std::vector<DeltaEntry>& entries) {
  std::vector<std::string> names;
  if (!Names(folder, names)) return "the folder \"" + path + "\" can't be read: " + std::strerror(errno);
  for (const std::string& name : names) {
    const std::string childPath = Joined(path, name);
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      return "\"" + childPath + "\" can't be read: " + std::strerror(errno);
    }
    DeltaEntry entry{.path = childPath, .mode = static_cast<uint32_t>(status.st_mode & 07777)};
    if (S_ISLNK(status.st_mode)) {
      std::string target(static_cast<size_t>(status.st_size) + 1, '\0');
      const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
      if (length < 0 || static_cast<size_t>(length) >= target.size()) return "the link \"" + childPath + "\" changed";
      target.resize(static_cast<size_t>(length));
      entries.push_back({.path = childPath, .kind = EntryKind::Link, .target = target});
    } else if (S_ISDIR(status.st_mode)) {
      entry.kind = EntryKind::Folder;
      entries.push_back(entry);
      const FileDescriptor child = OpenBeneath(folder, name, O_RDONLY | O_DIRECTORY);
      if (!child.Valid()) return "the folder \"" + childPath + "\" can't be opened: " + std::strerror(errno);
      if (std::string defect = ListFolder(child.Get(), childPath, entries); defect != "") return defect;
    } else if (S_ISREG(status.st_mode)) {
      const FileDescriptor file = OpenBeneath(folder, name, O_RDONLY);
      entry.size = static_cast<uint64_t>(status.st_size);
      entry.hash = file.Valid() ? HashFile(file.Get()) : "";
      if (entry.hash == "") return "the file \"" + childPath + "\" can't be read: " + std::strerror(errno);
      entries.push_back(entry);
    } else {
      return "\"" + childPath + "\" is neither a folder, a file nor a link";
    }
  }
  return "";
}

}  // namespace

FileDescriptor OpenBeneath(int folder, const std::string& path, int flags, mode_t mode) {
  // Folder by folder, so that no component, not only the last, is a link.
  FileDescriptor current;
  int at = folder;
  size_t start = 0;
  while (true) {
    const size_t slash = path.find('/', start);
    const std::string name = path.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
    if (slash == std::string::npos)
      return FileDescriptor(::openat(at, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, mode));
    current = FileDescriptor(::openat(at, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!current.Valid()) return current;
    at = current.Get();
    start = slash + 1;
  }
}

bool ReadBeneath(int folder, const std::string& path, std::string& bytes) {
  const FileDescriptor file = OpenBeneath(folder, path, O_RDONLY);
  struct stat status {};
  if (!file.Valid() || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  bytes.assign(static_cast<size_t>(status.st_size), '\0');
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = ::read(file.Get(), bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<size_t>(count);
  }
  return true;
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

std::string HashFile(int fd) {
  Blake2b512 hash;
  std::string piece(kReadBytes, '\0');
  while (true) {
    const ssize_t count = ::read(fd, piece.data(), piece.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return "";
    if (count == 0) return hash.Digest();
    hash.Update(std::string_view(piece.data(), static_cast<size_t>(count)));
  }
}

std::string ListTree(int folder, std::vector<DeltaEntry>& entries) {
  struct stat status {};
  if (::fstat(folder, &status) != 0) return std::string("the bundle can't be read: ") + std::strerror(errno);
  entries = {{.path = "", .kind = EntryKind::Folder, .mode = static_cast<uint32_t>(status.st_mode & 07777)}};
  return ListFolder(folder, "", entries);
}

}  // namespace velmaris

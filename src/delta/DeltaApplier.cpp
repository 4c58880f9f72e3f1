#include "delta/DeltaApplier.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "delta/BundleTree.h"
#include "delta/DeltaFile.h"
#include "delta/Patch.h"

#ifdef __linux__
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif
#ifdef __APPLE__
#include <sys/clonefile.h>
#endif

namespace velmaris {

namespace {

constexpr size_t kCopyBytes = size_t{256} * 1024;

std::string Quoted(const std::string& path) { return "\"" + path + "\""; }

std::string Failure(const std::string& what) { return what + ": " + std::strerror(errno); }

// Copies the rest of one open file into another: in the kernel where it
// can (a clone sharing the blocks, or copy_file_range), else by reads and
// writes. False on failure, errno set.
bool CopyContent(int from, int to, uint64_t size) {
  uint64_t done = 0;
#ifdef __linux__
  if (::ioctl(to, FICLONE, from) == 0) return true;
  while (done < size) {
    const ssize_t count = ::copy_file_range(from, nullptr, to, nullptr, size - done, 0);
    if (count <= 0) break;
    done += static_cast<uint64_t>(count);
  }
#endif
  std::string piece(kCopyBytes, '\0');
  while (done < size) {
    const ssize_t count = ::read(from, piece.data(), piece.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    if (!WriteAll(to, std::string_view(piece.data(), static_cast<size_t>(count)))) return false;
    done += static_cast<uint64_t>(count);
  }
  return true;
}

// A new file of that name in the open folder, a copy of the open file.
FileDescriptor CreateCopy(int from, int folder, const std::string& name, uint64_t size) {
#ifdef __APPLE__
  if (::fclonefileat(from, folder, name.c_str(), 0) == 0) {
    return FileDescriptor(::openat(folder, name.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC));
  }
#endif
  FileDescriptor copy(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!copy.Valid() || !CopyContent(from, copy.Get(), size)) return FileDescriptor();
  return copy;
}

// Every old file the delta relies on must be the one it was made from.
std::string CheckBases(int installed, const DeltaManifest& manifest) {
  for (const DeltaBase& base : manifest.bases) {
    const FileDescriptor file = OpenBeneath(installed, base.path, O_RDONLY);
    struct stat status {};
    if (!file.Valid() || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
      return "the installed application has no file " + Quoted(base.path);
    }
    if (HashFile(file.Get()) != base.hash) {
      return "the installed application was modified: " + Quoted(base.path) + " is not version " + manifest.from + "'s";
    }
  }
  return "";
}

std::string CheckRoom(const std::string& staging, const DeltaManifest& manifest) {
  uint64_t needed = 0;
  for (const DeltaEntry& entry : manifest.entries) needed += entry.size;
  struct statvfs volume {};
  const std::string parent = std::filesystem::absolute(staging).parent_path().string();
  if (::statvfs(parent.c_str(), &volume) != 0) return Failure("the staging folder's volume can't be read");
  const uint64_t available = uint64_t{volume.f_bavail} * volume.f_frsize;
  if (needed > available) {
    return "no room: the new files need " + std::to_string(needed) + " bytes, the volume has " +
           std::to_string(available);
  }
  return "";
}

std::string MakeFile(const DeltaReader& reader, size_t index, int installed, int folder, const std::string& name) {
  const DeltaEntry& entry = reader.Manifest().entries[index];
  const DeltaBase* base = entry.source == EntrySource::Whole ? nullptr : &reader.Manifest().bases[entry.base];
  FileDescriptor file;
  if (entry.source == EntrySource::Copy) {
    const FileDescriptor from = OpenBeneath(installed, base->path, O_RDONLY);
    if (from.Valid()) file = CreateCopy(from.Get(), folder, name, entry.size);
    if (!file.Valid()) return Failure(Quoted(entry.path) + " can't be copied");
  } else {
    std::string frame;
    std::string reference;
    if (std::string defect = reader.Frame(index, frame); defect != "") return defect;
    if (base != nullptr && !ReadBeneath(installed, base->path, reference)) {
      return Failure("the installed " + Quoted(base->path) + " can't be read");
    }
    file = FileDescriptor(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.Valid()) return Failure(Quoted(entry.path) + " can't be made");
    const std::string defect = DecodeFrame(frame, reference, entry.size, [&](std::string_view piece) {
      return WriteAll(file.Get(), piece) ? "" : Failure("writing " + Quoted(entry.path) + " failed");
    });
    if (defect != "") return Quoted(entry.path) + ": " + defect;
  }
  if (::fchmod(file.Get(), static_cast<mode_t>(entry.mode)) != 0) return Failure(Quoted(entry.path) + " can't be set");
  return "";
}

// Folders are made open to the owner, so that they can be filled, and take
// their own mode only once full.
std::string MakeEntry(const DeltaReader& reader, size_t index, int installed, int staging) {
  const DeltaEntry& entry = reader.Manifest().entries[index];
  const size_t slash = entry.path.rfind('/');
  const std::string name = slash == std::string::npos ? entry.path : entry.path.substr(slash + 1);
  FileDescriptor parent;
  if (slash != std::string::npos) {
    parent = OpenBeneath(staging, entry.path.substr(0, slash), O_RDONLY | O_DIRECTORY);
    if (!parent.Valid()) return Failure("the folder of " + Quoted(entry.path) + " can't be opened");
  }
  const int folder = parent.Valid() ? parent.Get() : staging;
  switch (entry.kind) {
    case EntryKind::Folder:
      if (::mkdirat(folder, name.c_str(), 0700) != 0) return Failure(Quoted(entry.path) + " can't be made");
      return "";
    case EntryKind::Link:
      if (::symlinkat(entry.target.c_str(), folder, name.c_str()) != 0) {
        return Failure(Quoted(entry.path) + " can't be made");
      }
      return "";
    case EntryKind::File:
      return MakeFile(reader, index, installed, folder, name);
  }
  return Quoted(entry.path) + " is of no known kind";
}

std::string SetFolderModes(int staging, const DeltaManifest& manifest) {
  // The deepest first, so that a folder's own mode never stands in the way.
  for (size_t i = manifest.entries.size(); i-- > 0;) {
    const DeltaEntry& entry = manifest.entries[i];
    if (entry.kind != EntryKind::Folder) continue;
    const FileDescriptor folder =
        entry.path == "" ? FileDescriptor(::dup(staging)) : OpenBeneath(staging, entry.path, O_RDONLY | O_DIRECTORY);
    if (!folder.Valid() || ::fchmod(folder.Get(), static_cast<mode_t>(entry.mode)) != 0) {
      return Failure(Quoted(entry.path) + " can't be set");
    }
  }
  return "";
}

// The staging folder as it stands on disk must be the manifest's bundle,
// entry for entry.
std::string CheckStaged(int staging, const DeltaManifest& manifest) {
  std::vector<DeltaEntry> staged;
  if (std::string defect = ListTree(staging, staged); defect != "") return "the new bundle: " + defect;
  for (size_t i = 0; i < staged.size() || i < manifest.entries.size(); ++i) {
    if (i >= staged.size()) return Quoted(manifest.entries[i].path) + " is missing from the new bundle";
    if (i >= manifest.entries.size()) return Quoted(staged[i].path) + " is not in the manifest";
    const DeltaEntry& made = staged[i];
    const DeltaEntry& described = manifest.entries[i];
    if (made.path != described.path || made.kind != described.kind || made.mode != described.mode ||
        made.target != described.target || made.size != described.size || made.hash != described.hash) {
      return Quoted(described.path) + " is not as the manifest describes it";
    }
  }
  return "";
}

}  // namespace

std::string ApplyDelta(const std::string& deltaPath, const std::string& installed, const std::string& staging,
                       const std::string& from, const std::string& to) {
  const FileDescriptor delta(::open(deltaPath.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!delta.Valid() || ::fstat(delta.Get(), &status) != 0) return Failure("the delta can't be read");
  DeltaReader reader;
  if (std::string defect = reader.Open(ReadFromFile(delta.Get()), static_cast<uint64_t>(status.st_size));
      defect != "") {
    return "the delta is refused: " + defect;
  }
  const DeltaManifest& manifest = reader.Manifest();
  if (manifest.from != from || manifest.to != to) return "it is the delta from " + manifest.from + " to " + manifest.to;
  const FileDescriptor old(::open(installed.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!old.Valid()) return Failure("the installed application can't be read");
  if (std::string defect = CheckBases(old.Get(), manifest); defect != "") return defect;
  if (std::string defect = CheckRoom(staging, manifest); defect != "") return defect;

  if (::mkdir(staging.c_str(), 0700) != 0) return Failure("the staging folder can't be made");
  const FileDescriptor root(::open(staging.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!root.Valid()) return Failure("the staging folder can't be opened");
  for (size_t i = 1; i < manifest.entries.size(); ++i) {
    if (std::string defect = MakeEntry(reader, i, old.Get(), root.Get()); defect != "") return defect;
  }
  if (std::string defect = SetFolderModes(root.Get(), manifest); defect != "") return defect;
  return CheckStaged(root.Get(), manifest);
}

}  // namespace velmaris

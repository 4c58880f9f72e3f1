#include "delta/Manifest.h"

#include <algorithm>
#include <set>

namespace velmaris {

namespace {

constexpr size_t kHashBytes = 64;
constexpr size_t kPathLimit = 4096;
constexpr size_t kNameLimit = 255;

std::vector<std::string_view> Components(std::string_view path) {
  std::vector<std::string_view> components;
  size_t start = 0;
  while (true) {
    const size_t end = path.find('/', start);
    components.push_back(path.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
    if (end == std::string_view::npos) return components;
    start = end + 1;
  }
}

bool PlainName(std::string_view name) {
  return !name.empty() && name.size() <= kNameLimit && name != "." && name != ".." &&
         name.find('\0') == std::string_view::npos;
}

// A relative path of plain names: no "", ".", ".." or absolute path.
bool PlainPath(std::string_view path) {
  return !path.empty() && path.size() <= kPathLimit && std::ranges::all_of(Components(path), PlainName);
}

std::string_view Parent(std::string_view path) {
  const size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

// A link stays inside the bundle, through whatever links it meets on the
// way, when its target climbs by ".." only at its start, and no higher than
// the folder it stands in, then goes down by plain names.
bool LinkInside(std::string_view path, std::string_view target) {
  if (target.empty() || target.size() > kPathLimit || target.starts_with('/')) return false;
  const size_t depth = Components(path).size() - 1;
  size_t climbed = 0;
  bool descending = false;
  for (const std::string_view name : Components(target)) {
    if (name == ".." && !descending) {
      if (++climbed > depth) return false;
    } else if (PlainName(name)) {
      descending = true;
    } else {
      return false;
    }
  }
  return true;
}

std::string Quoted(std::string_view path) { return "\"" + std::string(path) + "\""; }

std::string CheckEntry(const DeltaEntry& entry, const DeltaManifest& manifest) {
  if ((entry.mode & ~kAllowedModes) != 0) return Quoted(entry.path) + " has a mode that is not allowed";
  const bool needsBase = entry.source != EntrySource::Whole;
  const bool needsFrame = entry.source != EntrySource::Copy;
  switch (entry.kind) {
    case EntryKind::Folder:
      if ((entry.mode & 0700) != 0700) return "the folder " + Quoted(entry.path) + " is closed to its owner";
      return "";
    case EntryKind::Link:
      if (!LinkInside(entry.path, entry.target)) return "the link " + Quoted(entry.path) + " points outside the bundle";
      return "";
    case EntryKind::File:
      if ((entry.mode & 0400) == 0) return "the file " + Quoted(entry.path) + " is not readable by its owner";
      if (entry.hash.size() != kHashBytes) return "the file " + Quoted(entry.path) + " has no hash";
      if (needsBase && entry.base >= manifest.bases.size()) return Quoted(entry.path) + " refers to no old file";
      if (needsFrame != (entry.frameSize > 0)) return Quoted(entry.path) + " has no frame, or one it should not have";
      if (entry.source == EntrySource::Copy && manifest.bases[entry.base].hash != entry.hash) {
        return Quoted(entry.path) + " is a copy of a file with another hash";
      }
      return "";
  }
  return Quoted(entry.path) + " is of no known kind";
}

// Little-endian integers and length-prefixed strings.
class Writer {
 public:
  template <typename Integer>
  void Put(Integer value) {
    for (size_t i = 0; i < sizeof(Integer); ++i) mBytes.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
  }
  void PutText(std::string_view text) {
    Put(static_cast<uint16_t>(text.size()));
    mBytes.append(text);
  }
  void PutBytes(std::string_view bytes) { mBytes.append(bytes); }
  std::string Bytes() && { return std::move(mBytes); }

 private:
  std::string mBytes;
};

// Reads what Writer wrote; any read past the end leaves it failed.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : mBytes(bytes) {}
  template <typename Integer>
  Integer Get() {
    Integer value = 0;
    const std::string_view bytes = Take(sizeof(Integer));
    for (size_t i = 0; i < bytes.size(); ++i) value |= static_cast<Integer>(static_cast<uint8_t>(bytes[i])) << (8 * i);
    return value;
  }
  std::string GetText() { return std::string(Take(Get<uint16_t>())); }
  std::string GetBytes(size_t count) { return std::string(Take(count)); }
  bool Failed() const { return mFailed; }
  bool AtEnd() const { return mBytes.empty(); }

 private:
  std::string_view Take(size_t count) {
    if (count > mBytes.size()) {
      mFailed = true;
      mBytes = {};
      return {};
    }
    const std::string_view taken = mBytes.substr(0, count);
    mBytes.remove_prefix(count);
    return taken;
  }

  std::string_view mBytes;
  bool mFailed = false;
};

}  // namespace

bool PathBefore(std::string_view a, std::string_view b) {
  // "/" sorts before every other byte: a folder's entries come before its
  // neighbours whose names merely begin with the folder's name.
  const auto rank = [](char c) { return c == '/' ? 0 : static_cast<int>(static_cast<uint8_t>(c)) + 1; };
  for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
    if (a[i] != b[i]) return rank(a[i]) < rank(b[i]);
  }
  return a.size() < b.size();
}

std::string CheckManifest(const DeltaManifest& manifest) {
  for (const DeltaBase& base : manifest.bases) {
    if (!PlainPath(base.path)) return "the old file " + Quoted(base.path) + " is not a plain path inside the bundle";
    if (base.hash.size() != kHashBytes) return "the old file " + Quoted(base.path) + " has no hash";
  }
  if (manifest.entries.empty() || manifest.entries[0].path != "" || manifest.entries[0].kind != EntryKind::Folder) {
    return "the bundle's folder does not come first";
  }
  std::set<std::string_view> folders;
  for (size_t i = 0; i < manifest.entries.size(); ++i) {
    const DeltaEntry& entry = manifest.entries[i];
    if (i > 0) {
      if (!PlainPath(entry.path)) return Quoted(entry.path) + " is not a plain path inside the bundle";
      if (!PathBefore(manifest.entries[i - 1].path, entry.path)) return Quoted(entry.path) + " is out of order";
      if (!folders.contains(Parent(entry.path))) return Quoted(entry.path) + " is not in a folder of the bundle";
    }
    if (std::string defect = CheckEntry(entry, manifest); defect != "") return defect;
    if (entry.kind == EntryKind::Folder) folders.insert(entry.path);
  }
  return "";
}

std::string EncodeManifest(const DeltaManifest& manifest) {
  Writer writer;
  writer.PutText(manifest.from);
  writer.PutText(manifest.to);
  writer.Put(static_cast<uint32_t>(manifest.bases.size()));
  for (const DeltaBase& base : manifest.bases) {
    writer.PutText(base.path);
    writer.PutBytes(base.hash);
  }
  writer.Put(static_cast<uint32_t>(manifest.entries.size()));
  for (const DeltaEntry& entry : manifest.entries) {
    writer.PutText(entry.path);
    writer.Put(static_cast<uint8_t>(entry.kind));
    if (entry.kind == EntryKind::Link) {
      writer.PutText(entry.target);
      continue;
    }
    writer.Put(static_cast<uint16_t>(entry.mode));
    if (entry.kind != EntryKind::File) continue;
    writer.Put(entry.size);
    writer.PutBytes(entry.hash);
    writer.Put(static_cast<uint8_t>(entry.source));
    if (entry.source != EntrySource::Whole) writer.Put(entry.base);
    if (entry.source != EntrySource::Copy) writer.Put(entry.frameSize);
  }
  return std::move(writer).Bytes();
}

std::string DecodeManifest(std::string_view bytes, DeltaManifest& manifest) {
  Reader reader(bytes);
  manifest = {};
  manifest.from = reader.GetText();
  manifest.to = reader.GetText();
  // Each count is checked against the bytes left as they are read, never
  // trusted to reserve memory.
  for (auto count = reader.Get<uint32_t>(); count > 0 && !reader.Failed(); --count) {
    DeltaBase& base = manifest.bases.emplace_back();
    base.path = reader.GetText();
    base.hash = reader.GetBytes(kHashBytes);
  }
  for (auto count = reader.Get<uint32_t>(); count > 0 && !reader.Failed(); --count) {
    DeltaEntry& entry = manifest.entries.emplace_back();
    entry.path = reader.GetText();
    entry.kind = static_cast<EntryKind>(reader.Get<uint8_t>());
    if (entry.kind == EntryKind::Link) {
      entry.target = reader.GetText();
      continue;
    }
    if (entry.kind != EntryKind::Folder && entry.kind != EntryKind::File) return "an entry is of no known kind";
    entry.mode = reader.Get<uint16_t>();
    if (entry.kind != EntryKind::File) continue;
    entry.size = reader.Get<uint64_t>();
    entry.hash = reader.GetBytes(kHashBytes);
    entry.source = static_cast<EntrySource>(reader.Get<uint8_t>());
    if (entry.source != EntrySource::Copy && entry.source != EntrySource::Whole && entry.source != EntrySource::Patch) {
      return "a file has no known source";
    }
    if (entry.source != EntrySource::Whole) entry.base = reader.Get<uint32_t>();
    if (entry.source != EntrySource::Copy) entry.frameSize = reader.Get<uint64_t>();
  }
  if (reader.Failed()) return "the manifest is cut short";
  if (!reader.AtEnd()) return "bytes follow the manifest";
  return CheckManifest(manifest);
}

}  // namespace velmaris

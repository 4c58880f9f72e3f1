#include "delta/DeltaWriter.h"

#include <cerrno>
#include <cstring>
#include <map>

#include "delta/BundleTree.h"
#include "delta/DeltaFile.h"
#include "delta/Patch.h"

namespace velmaris {

namespace {

// The base of that old file, added once.
uint32_t BaseOf(const DeltaEntry& old, DeltaManifest& manifest, std::map<std::string, uint32_t>& bases) {
  const auto [found, added] = bases.try_emplace(old.path, static_cast<uint32_t>(manifest.bases.size()));
  if (added) manifest.bases.push_back({.path = old.path, .hash = old.hash});
  return found->second;
}

}  // namespace

std::string WriteDelta(const std::string& oldBundle, const std::string& newBundle, const std::string& from,
                       const std::string& to, const std::string& output) {
  const FileDescriptor oldFolder(::open(oldBundle.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const FileDescriptor newFolder(::open(newBundle.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!oldFolder.Valid() || !newFolder.Valid()) return std::string("a bundle can't be opened: ") + std::strerror(errno);
  std::vector<DeltaEntry> oldEntries;
  DeltaManifest manifest{.from = from, .to = to};
  if (std::string defect = ListTree(oldFolder.Get(), oldEntries); defect != "") return "the old bundle: " + defect;
  if (std::string defect = ListTree(newFolder.Get(), manifest.entries); defect != "")
    return "the new bundle: " + defect;

  std::map<std::string, const DeltaEntry*> oldByPath;
  std::map<std::string, const DeltaEntry*> oldByHash;
  for (const DeltaEntry& old : oldEntries) {
    if (old.kind != EntryKind::File) continue;
    oldByPath[old.path] = &old;
    oldByHash.try_emplace(old.hash, &old);
  }
  std::map<std::string, uint32_t> bases;
  std::vector<std::string> frames;
  for (DeltaEntry& entry : manifest.entries) {
    entry.mode &= kAllowedModes;
    if (entry.kind != EntryKind::File) continue;
    const auto samePath = oldByPath.find(entry.path);
    const bool unchanged = samePath != oldByPath.end() && samePath->second->hash == entry.hash;
    if (const auto sameHash = oldByHash.find(entry.hash); unchanged || sameHash != oldByHash.end()) {
      entry.source = EntrySource::Copy;
      entry.base = BaseOf(unchanged ? *samePath->second : *sameHash->second, manifest, bases);
      continue;
    }
    std::string content;
    std::string reference;
    if (!ReadBeneath(newFolder.Get(), entry.path, content))
      return "the new bundle: \"" + entry.path + "\" can't be read";
    std::string frame = CompressFrame(content, "");
    if (samePath != oldByPath.end()) {
      if (!ReadBeneath(oldFolder.Get(), entry.path, reference))
        return "the old bundle: \"" + entry.path + "\" can't be read";
      std::string patch = CompressFrame(content, reference);
      if (patch != "" && patch.size() < frame.size()) {
        frame = std::move(patch);
        entry.source = EntrySource::Patch;
        entry.base = BaseOf(*samePath->second, manifest, bases);
      }
    }
    if (frame == "") return "zstd can't compress \"" + entry.path + "\"";
    entry.frameSize = frame.size();
    frames.push_back(std::move(frame));
  }
  // What the tool would refuse is not published.
  if (std::string defect = CheckManifest(manifest); defect != "") return "the new bundle can't be installed: " + defect;
  return WriteDeltaFile(output, manifest, frames);
}

}  // namespace velmaris

#pragma once
// The manifest of a delta between two versions of an application bundle:
// every entry of the new bundle, and the files of the old bundle that the
// delta builds from. Paths are relative to the bundle, with "/" between
// their components; the bundle itself is the first entry, of the empty path.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velmaris {

enum class EntryKind : uint8_t { Folder = 'd', File = 'f', Link = 'l' };

// Where the bytes of a file of the new bundle come from: a copy of an old
// file, a whole zstd frame in the delta, or a zstd frame in the delta that
// refers to an old file's bytes (a patch).
enum class EntrySource : uint8_t { Copy = 'c', Whole = 'w', Patch = 'p' };

struct DeltaEntry {
  std::string path{};
  EntryKind kind = EntryKind::File;
  uint32_t mode = 0;     // permission bits; 0 for a link
  std::string target{};  // a link's
  uint64_t size = 0;     // a file's bytes
  std::string hash{};    // a file's BLAKE2b-512
  EntrySource source = EntrySource::Whole;
  uint32_t base = 0;       // Copy, Patch: the index of the old file among DeltaManifest::bases
  uint64_t frameSize = 0;  // Whole, Patch: its frame's bytes in the delta

  bool operator==(const DeltaEntry&) const = default;
};

struct DeltaBase {
  std::string path{};
  std::string hash{};  // BLAKE2b-512
};

struct DeltaManifest {
  std::string from{}, to{};  // the two versions
  std::vector<DeltaBase> bases{};
  std::vector<DeltaEntry> entries{};
};

// The permission bits a bundle may carry: no setuid, setgid or sticky bit,
// and no write by the group or others.
constexpr uint32_t kAllowedModes = 0755;

// Manifest order: paths compared component by component, so that a folder's
// entries follow it before anything that sorts after it.
bool PathBefore(std::string_view a, std::string_view b);

// "" when every path is a plain relative path inside the bundle, in
// manifest order, each under a folder entry; every mode allowed (folders
// open to their owner, files readable by it); every link inside the bundle;
// an old file and a frame wherever the source needs one. Otherwise why not.
std::string CheckManifest(const DeltaManifest& manifest);

std::string EncodeManifest(const DeltaManifest& manifest);
// Reads and checks a manifest: "" or why it is none.
std::string DecodeManifest(std::string_view bytes, DeltaManifest& manifest);

}  // namespace velmaris

#pragma once
// A delta file: the 8 bytes "VMDELTA1", the manifest's length (8 bytes,
// little-endian), the manifest, then the frames of the files that carry one,
// in the manifest's order, each as long as its entry says and nothing after
// the last.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "delta/Manifest.h"

namespace velmaris {

// The delta's name on the update server: Velmaris_<from>_to_<to>.delta.
std::string DeltaFileName(const std::string& from, const std::string& to);

// Writes the delta, frames given in the manifest's order: "" or why not.
std::string WriteDeltaFile(const std::string& path, const DeltaManifest& manifest,
                           const std::vector<std::string>& frames);

// Reads a delta through a function that fills bytes (already of the length
// wanted) from an offset, and gives false when it can't: a file or memory.
class DeltaReader {
 public:
  using ReadAt = std::function<bool(uint64_t offset, std::string& bytes)>;

  // Reads and checks the manifest of a delta of that many bytes: "" or why
  // it is no delta.
  std::string Open(ReadAt readAt, uint64_t size);
  const DeltaManifest& Manifest() const { return mManifest; }
  // The frame of the entry at that index, which has one: "" or why not.
  std::string Frame(size_t entry, std::string& frame) const;

 private:
  ReadAt mReadAt;
  DeltaManifest mManifest;
  std::vector<uint64_t> mOffsets;  // of each entry's frame
};

// Reads from the open file.
DeltaReader::ReadAt ReadFromFile(int fd);

}  // namespace velmaris

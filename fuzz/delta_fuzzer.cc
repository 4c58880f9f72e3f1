// Reads arbitrary bytes as a delta file, as the tool reads one: its header,
// its manifest and the manifest's checks, then every frame of a file up to
// 1 MiB decoded as a file's content, against one fixed reference for a
// patch, into memory instead of the staging folder; and checks what holds
// for every input.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "FuzzCheck.h"
#include "delta/DeltaFile.h"
#include "delta/Patch.h"

namespace velmaris {
namespace {

// A larger file is not decoded, so that each run stays short.
constexpr uint64_t kSizeLimit = uint64_t{1} << 20;

// The old file of every patch: the lines "reference line 0" to "reference
// line 199", as the corpus's patches were made against.
const std::string& Reference() {
  static const std::string reference = [] {
    std::string lines;
    for (int i = 0; i < 200; ++i) lines += "reference line " + std::to_string(i) + "\n";
    return lines;
  }();
  return reference;
}

}  // namespace
}  // namespace velmaris

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace velmaris;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  DeltaReader reader;
  const auto readAt = [bytes](uint64_t offset, std::string& piece) {
    if (offset > bytes.size() || piece.size() > bytes.size() - offset) return false;
    piece.assign(bytes.substr(offset, piece.size()));
    return true;
  };
  if (reader.Open(readAt, size) != "") return 0;
  const DeltaManifest& manifest = reader.Manifest();
  DeltaManifest again;
  Check(DecodeManifest(EncodeManifest(manifest), again) == "" && again.entries == manifest.entries &&
            again.from == manifest.from && again.to == manifest.to,
        "a manifest read is written back as it was");
  for (size_t i = 0; i < manifest.entries.size(); ++i) {
    const DeltaEntry& entry = manifest.entries[i];
    if (entry.frameSize == 0 || entry.size > kSizeLimit) continue;
    std::string frame;
    Check(reader.Frame(i, frame) == "", "every frame of a delta read can be read");
    uint64_t handed = 0;
    const std::string defect = DecodeFrame(frame, entry.source == EntrySource::Patch ? Reference() : "", entry.size,
                                           [&handed](std::string_view piece) {
                                             handed += piece.size();
                                             return std::string();
                                           });
    Check(handed <= entry.size, "a frame hands out no more than its file's size");
    Check(defect != "" || handed == entry.size, "a frame decoded whole gives its file's size");
  }
  return 0;
}

#pragma once
// The bytes of a changed file in a delta: one zstd frame, either of the
// file's content alone or of its content against a reference, the old
// file's bytes (zstd's patch-from: the frame copies what it can from the
// reference, found by long-distance matching, and carries the rest).

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace velmaris {

// The frame of the content, against the reference when there is one (not
// ""); "" when zstd fails.
std::string CompressFrame(std::string_view content, std::string_view reference);

// Decodes the frame against the reference, handing the content to write in
// pieces, and stops as soon as it would pass size bytes. "" when the frame
// is one whole zstd frame of exactly size bytes and every write gave "";
// otherwise why not (a write's own reason included).
std::string DecodeFrame(std::string_view frame, std::string_view reference, uint64_t size,
                        const std::function<std::string(std::string_view piece)>& write);

}  // namespace velmaris

#include "base/ZipDirectory.h"

#include <algorithm>
#include <fstream>
#include <limits>

namespace velmaris {

namespace {

constexpr uint32_t kEndOfDirectory = 0x06054b50;
constexpr uint32_t kZip64Locator = 0x07064b50;
constexpr uint32_t kZip64EndOfDirectory = 0x06064b50;
constexpr uint32_t kDirectoryEntry = 0x02014b50;
constexpr uint16_t kZip64Extra = 0x0001;
// The end record, and a comment of at most 65535 bytes behind it.
constexpr int64_t kEndSearch = 22 + 65535;
// A directory larger than this is no release's: it is not read.
constexpr uint64_t kLargestDirectory = uint64_t{64} * 1024 * 1024;

uint64_t Little(const String& bytes, size_t at, size_t width) {
  uint64_t value = 0;
  for (size_t k = width; k > 0; --k) value = (value << 8) | static_cast<unsigned char>(bytes[at + k - 1]);
  return value;
}

String ReadAt(std::ifstream& file, uint64_t offset, uint64_t count) {
  String bytes(static_cast<size_t>(count), '\0');
  file.clear();
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(bytes.data(), static_cast<std::streamsize>(count));
  bytes.resize(static_cast<size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return bytes;
}

// The central directory's place and size, from the end record (and its
// 64-bit form where the archive needs one); false when there is none.
bool LocateDirectory(std::ifstream& file, uint64_t length, uint64_t& offset, uint64_t& size) {
  const uint64_t tail = std::min<uint64_t>(length, kEndSearch);
  const String end = ReadAt(file, length - tail, tail);
  if (end.size() < 22) return false;
  for (size_t at = end.size() - 22 + 1; at-- > 0;) {
    if (Little(end, at, 4) != kEndOfDirectory) continue;
    size = Little(end, at + 12, 4);
    offset = Little(end, at + 16, 4);
    if (offset != 0xFFFFFFFF && size != 0xFFFFFFFF) return true;
    const uint64_t here = length - tail + at;
    if (here < 20) return false;
    const String locator = ReadAt(file, here - 20, 20);
    if (locator.size() < 20 || Little(locator, 0, 4) != kZip64Locator) return false;
    const String record = ReadAt(file, Little(locator, 8, 8), 56);
    if (record.size() < 56 || Little(record, 0, 4) != kZip64EndOfDirectory) return false;
    size = Little(record, 40, 8);
    offset = Little(record, 48, 8);
    return true;
  }
  return false;
}

}  // namespace

int64_t ZipDeclaredSize(const String& archive, const String& name) {
  std::ifstream file(archive, std::ios::binary | std::ios::ate);
  if (!file) return -1;
  const auto length = static_cast<uint64_t>(std::max<std::streamoff>(file.tellg(), 0));
  uint64_t offset = 0;
  uint64_t size = 0;
  if (!LocateDirectory(file, length, offset, size) || size > kLargestDirectory || offset + size > length) return -1;
  const String directory = ReadAt(file, offset, size);
  int64_t total = -1;
  for (size_t at = 0; at + 46 <= directory.size() && Little(directory, at, 4) == kDirectoryEntry;) {
    uint64_t declared = Little(directory, at + 24, 4);
    const size_t nameLength = Little(directory, at + 28, 2);
    const size_t extraLength = Little(directory, at + 30, 2);
    const size_t commentLength = Little(directory, at + 32, 2);
    const size_t next = at + 46 + nameLength + extraLength + commentLength;
    if (next > directory.size()) return -1;
    // Where the 32-bit field can't hold it, the 64-bit size comes first in the extra field.
    for (size_t extra = at + 46 + nameLength;
         declared == 0xFFFFFFFF && extra + 4 <= at + 46 + nameLength + extraLength;) {
      const size_t blockLength = Little(directory, extra + 2, 2);
      if (Little(directory, extra, 2) == kZip64Extra && blockLength >= 8 && extra + 12 <= next) {
        declared = Little(directory, extra + 4, 8);
      }
      extra += 4 + blockLength;
    }
    if (directory.compare(at + 46, nameLength, name) == 0) {
      total = std::max<int64_t>(total, 0);
      constexpr int64_t kLargest = std::numeric_limits<int64_t>::max();
      if (declared > static_cast<uint64_t>(kLargest - total)) return kLargest;
      total += static_cast<int64_t>(declared);
    }
    at = next;
  }
  return total;
}

}  // namespace velmaris

#include "delta/DeltaFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "delta/BundleTree.h"

namespace velmaris {

namespace {

constexpr std::string_view kMagic = "VMDELTA1";
constexpr uint64_t kHeaderBytes = kMagic.size() + 8;

}  // namespace

std::string DeltaFileName(const std::string& from, const std::string& to) {
  return "Velmaris_" + from + "_to_" + to + ".delta";
}

std::string WriteDeltaFile(const std::string& path, const DeltaManifest& manifest,
                           const std::vector<std::string>& frames) {
  const std::string encoded = EncodeManifest(manifest);
  std::string header(kMagic);
  for (size_t i = 0; i < 8; ++i) header.push_back(static_cast<char>((encoded.size() >> (8 * i)) & 0xff));
  const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  bool written = file.Valid() && WriteAll(file.Get(), header) && WriteAll(file.Get(), encoded);
  for (const std::string& frame : frames) written = written && WriteAll(file.Get(), frame);
  if (!written) return "writing " + path + " failed: " + std::strerror(errno);
  return "";
}

std::string DeltaReader::Open(ReadAt readAt, uint64_t size) {
  mReadAt = std::move(readAt);
  std::string header(kHeaderBytes, '\0');
  if (size < kHeaderBytes || !mReadAt(0, header) || !header.starts_with(kMagic)) return "it is no delta";
  uint64_t manifestBytes = 0;
  for (size_t i = 0; i < 8; ++i) {
    manifestBytes |= uint64_t{static_cast<uint8_t>(header[kMagic.size() + i])} << (8 * i);
  }
  if (manifestBytes > size - kHeaderBytes) return "its manifest runs past its end";
  std::string encoded(manifestBytes, '\0');
  if (!mReadAt(kHeaderBytes, encoded)) return "its manifest can't be read";
  if (std::string defect = DecodeManifest(encoded, mManifest); defect != "")
    return "its manifest is refused: " + defect;
  // The frames fill the rest exactly.
  uint64_t offset = kHeaderBytes + manifestBytes;
  mOffsets.assign(mManifest.entries.size(), 0);
  for (size_t i = 0; i < mManifest.entries.size(); ++i) {
    const uint64_t frameBytes = mManifest.entries[i].frameSize;
    if (frameBytes > size - offset) return "its frames run past its end";
    mOffsets[i] = offset;
    offset += frameBytes;
  }
  if (offset != size) return "bytes follow its last frame";
  return "";
}

std::string DeltaReader::Frame(size_t entry, std::string& frame) const {
  frame.assign(mManifest.entries.at(entry).frameSize, '\0');
  if (!mReadAt(mOffsets.at(entry), frame))
    return "the frame of \"" + mManifest.entries[entry].path + "\" can't be read";
  return "";
}

DeltaReader::ReadAt ReadFromFile(int fd) {
  return [fd](uint64_t offset, std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
      const ssize_t count = ::pread(fd, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      done += static_cast<size_t>(count);
    }
    return true;
  };
}

}  // namespace velmaris

#include "base/BinaryStream.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/Exceptions.h"
#include "base/FolderItem.h"

namespace velmaris {

namespace {

// Downloads arrive in blocks of a few KiB from a slow network, up to a MiB
// from a fast one; one buffer of this size turns the small ones into few
// large writes. A block at least this large goes to the file directly.
constexpr size_t kFileBufferSize = size_t{256} * 1024;

// The caller reads errno first: building the message may change it.
[[noreturn]] void RaiseIOException(int error, const std::string& what) {
  throw IOException(what + ": " + std::strerror(error), error);
}

// What the buffer holds first, then the bytes with write(2); false on a failure, errno set.
bool WriteDirectly(std::FILE* file, const String& bytes) {
  if (std::fflush(file) != 0) return false;
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t count = ::write(fileno(file), bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    done += static_cast<size_t>(count);
  }
  return true;
}

}  // namespace

// "x" refuses a file that already stands there.
BinaryStream::BinaryStream(const FolderItem& file, bool overwrite) : BinaryStream(file, overwrite ? "wb" : "wbx") {}

BinaryStream::BinaryStream(const FolderItem& file, const char* mode) {
  mFile.reset(std::fopen(file.NativePath().c_str(), mode));
  if (!mFile) {
    const int error = errno;
    RaiseIOException(error, "Can't open " + file.NativePath() + " for writing");
  }
  mBuffer = std::make_unique<char[]>(kFileBufferSize);
  std::setvbuf(mFile.get(), mBuffer.get(), _IOFBF, kFileBufferSize);
}

BinaryStream::BinaryStream(Ref<MemoryBlock> block) : mBlock(std::move(block)) {}

BinaryStream::~BinaryStream() = default;

Ref<BinaryStream> BinaryStream::Create(const Ref<FolderItem>& item, bool overwrite) {
  return New<BinaryStream>(*item, overwrite);
}

Ref<BinaryStream> BinaryStream::Append(const Ref<FolderItem>& item) { return New<BinaryStream>(*item, "ab"); }

void BinaryStream::Flush() {
  if (mFile && std::fflush(mFile.get()) != 0) {
    const int error = errno;
    RaiseIOException(error, "Can't write the file");
  }
}

void BinaryStream::Close() {
  mBlock = nullptr;
  if (mFile && std::fclose(mFile.release()) != 0) {
    const int error = errno;
    RaiseIOException(error, "Can't write the file");
  }
}

void BinaryStream::Write(const String& bytes) {
  if (mFile) {
    // Through the buffer a large block would cost one more pass over its bytes.
    const bool direct = bytes.size() >= kFileBufferSize;
    if (direct ? !WriteDirectly(mFile.get(), bytes)
               : std::fwrite(bytes.data(), 1, bytes.size(), mFile.get()) != bytes.size()) {
      const int error = errno;
      RaiseIOException(error, "Can't write the file");
    }
    return;
  }
  if (!mBlock) throw IOException("The stream is closed");
  std::string& block = mBlock->mBytes;
  // Bytes at the position are overwritten and the rest appended; the
  // string's capacity doubles as it grows.
  const size_t overlap = std::min(bytes.size(), block.size() - std::min(mPosition, block.size()));
  block.replace(mPosition, overlap, bytes);
  mPosition += bytes.size();
}

}  // namespace velmaris

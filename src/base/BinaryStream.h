#pragma once
// A stream of raw bytes, written as they are with no conversion of encoding
// or line ends: into a file, buffered, or into a MemoryBlock that grows.

#include <cstdint>
#include <cstdio>
#include <memory>

#include "base/MemoryBlock.h"
#include "base/Ref.h"
#include "base/StringFunctions.h"

namespace velmaris {

class FolderItem;

class BinaryStream {
 public:
  // Opens the file for writing from its start. With overwrite an existing
  // file is replaced, without it the file must not exist yet. Raises IOException.
  BinaryStream(const FolderItem& file, bool overwrite);
  // Opens the file with that mode of fopen's ("ab" appends). Raises IOException.
  BinaryStream(const FolderItem& file, const char* mode);
  // Opens the file for writing at its end, keeping what it holds. Raises IOException.
  static Ref<BinaryStream> Append(const Ref<FolderItem>& item);
  // A stream over the block, from its start; writing past its end grows it.
  explicit BinaryStream(Ref<MemoryBlock> block);
  BinaryStream(const BinaryStream&) = delete;
  BinaryStream& operator=(const BinaryStream&) = delete;
  ~BinaryStream();

  // The named form of the file constructor; raises NilObjectException for a nil item.
  static Ref<BinaryStream> Create(const Ref<FolderItem>& item, bool overwrite);

  // Flushes and closes; the file then holds everything written. Raises
  // IOException when the last bytes can't be written. Closing twice does nothing.
  void Close();
  // Raises IOException when the bytes can't be written or the stream is closed.
  void Write(const String& bytes);
  // Writes out what the buffer holds, so that the file holds every byte
  // written so far. Raises IOException.
  void Flush();

 private:
  struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  // The buffer is declared first so that it outlives the file that writes from it.
  std::unique_ptr<char[]> mBuffer;
  std::unique_ptr<std::FILE, FileCloser> mFile;
  Ref<MemoryBlock> mBlock;
  size_t mPosition = 0;
};

}  // namespace velmaris

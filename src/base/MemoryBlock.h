#pragma once
// A block of raw bytes. A String converts to one holding its bytes; a
// BinaryStream over a block grows it as it writes.

#include <cstdint>
#include <string>

#include "base/StringFunctions.h"

namespace velmaris {

class MemoryBlock {
 public:
  // A block of that many zero bytes (none for a size below 1).
  explicit MemoryBlock(int64_t size);
  // The conversion from a String: a block that holds its bytes.
  explicit MemoryBlock(String bytes) : mBytes(std::move(bytes)) {}

  // The byte at index, from 0; raises OutOfBoundsException outside the block.
  uint8_t Byte(int64_t index) const;
  int64_t Size() const { return static_cast<int64_t>(mBytes.size()); }
  // length bytes from offset, as they are; raises OutOfBoundsException
  // when they don't all lie inside the block.
  String StringValue(int64_t offset, int64_t length) const;

 private:
  friend class BinaryStream;

  std::string mBytes;
};

}  // namespace velmaris

#include "base/MemoryBlock.h"

#include <algorithm>

#include "base/Exceptions.h"

namespace velmaris {

MemoryBlock::MemoryBlock(int64_t size) : mBytes(static_cast<size_t>(std::max<int64_t>(size, 0)), '\0') {}

uint8_t MemoryBlock::Byte(int64_t index) const {
  if (index < 0 || index >= Size()) throw OutOfBoundsException("MemoryBlock index out of bounds");
  return static_cast<uint8_t>(mBytes[static_cast<size_t>(index)]);
}

String MemoryBlock::StringValue(int64_t offset, int64_t length) const {
  if (offset < 0 || length < 0 || offset > Size() - length) {
    throw OutOfBoundsException("MemoryBlock range out of bounds");
  }
  return mBytes.substr(static_cast<size_t>(offset), static_cast<size_t>(length));
}

}  // namespace velmaris

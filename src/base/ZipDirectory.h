#pragma once
// What a zip archive declares of its entries, read from its central
// directory without unpacking anything.

#include <cstdint>

#include "base/StringFunctions.h"

namespace velmaris {

// The uncompressed bytes that the archive's central directory declares for
// the entries of that exact name, added up; -1 when the file is no zip
// archive that can be read, or holds no entry of that name.
int64_t ZipDeclaredSize(const String& archive, const String& name);

}  // namespace velmaris

#pragma once
// The digest and the encoding that the HTTP client's authentication needs.

#include <cstdint>

#include "base/StringFunctions.h"

namespace velmaris {

// The 16 raw bytes of the MD5 digest of the bytes.
String MD5(const String& bytes);
// The Base64 text of the bytes, broken into lines of that many characters by
// CR LF; a line length of 0 or below means one line.
String EncodeBase64(const String& bytes, int64_t lineLength);

}  // namespace velmaris

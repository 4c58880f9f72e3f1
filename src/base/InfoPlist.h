#pragma once
// What an application bundle says of itself in Contents/Info.plist: the
// string value of a key of its top-level dictionary, in the XML form that
// bundles ship.

#include "base/StringFunctions.h"

namespace velmaris {

// The string under key in bundle/Contents/Info.plist; "" when the file is
// missing, not an XML property list, or has no string under that key.
String InfoPlistValue(const String& bundle, const String& key);

}  // namespace velmaris

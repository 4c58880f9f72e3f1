#pragma once
// The making of a delta, on the publisher's side.

#include <string>

namespace velmaris {

// Writes at output the delta that builds the bundle newBundle, version to,
// from the bundle oldBundle, version from: every entry of the new bundle
// with its mode cleared of what a bundle may not carry; a file found
// unchanged in the old bundle (under any path) copied from it; another file
// carried whole or as a patch against the old file of its path, whichever
// frame is smaller. "" or why not.
std::string WriteDelta(const std::string& oldBundle, const std::string& newBundle, const std::string& from,
                       const std::string& to, const std::string& output);

}  // namespace velmaris

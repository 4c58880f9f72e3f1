#pragma once
// A bundle's tree on disk, read and written relative to an open folder and
// never through a link: a link inside a bundle is an entry of its own, and
// whatever it points to is never read or written on its account.

#include <fcntl.h>

#include <string>
#include <string_view>
#include <vector>

#include "delta/FileDescriptor.h"
#include "delta/Manifest.h"

namespace velmaris {

// Opens the path (relative, "/" between its components) beneath the open
// folder, following no link on the way or at its end; flags as open(2)'s.
// Invalid, with errno set, on failure.
FileDescriptor OpenBeneath(int folder, const std::string& path, int flags, mode_t mode = 0);

// The whole content of the file at the path beneath the open folder, read
// as OpenBeneath opens it; false when it can't be read.
bool ReadBeneath(int folder, const std::string& path, std::string& bytes);

// Writes all the bytes, going on after a partial write; false on failure,
// errno set.
bool WriteAll(int fd, std::string_view bytes);

// The BLAKE2b-512 of the rest of the open file, read in pieces; "" when it
// can't be read.
std::string HashFile(int fd);

// Every entry of the tree at the open folder, in manifest order, the folder
// itself first with the empty path: kind, mode, a link's target, a file's
// size and hash (the source fields left at their defaults). "" or why not,
// such as an entry that is neither a folder, a file nor a link.
std::string ListTree(int folder, std::vector<DeltaEntry>& entries);

}  // namespace velmaris

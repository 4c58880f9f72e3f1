#pragma once
// The application of a delta, on the tool's side.

#include <string>

namespace velmaris {

// Builds in the folder staging, which must not exist yet, the new bundle
// that the delta file at deltaPath describes, from the installed bundle, and
// checks the result against the manifest. In order: the manifest is read
// and checked (paths, kinds, modes, links), its versions must be from and
// to, every old file it relies on must have its hash in the installed
// bundle, and the staging folder's volume must have room for the new files;
// then the folders, links and files are made (unchanged files cloned where
// the file system can, patched files rebuilt, new files written, each cut
// off at its size), and every path, kind, mode, link target, size and hash
// of the staging folder must be the manifest's. Nothing is written outside
// the staging folder, and no link is followed there. "" when the staging
// folder holds exactly the new bundle; otherwise why not, the staging
// folder left for the caller to remove.
std::string ApplyDelta(const std::string& deltaPath, const std::string& installed, const std::string& staging,
                       const std::string& from, const std::string& to);

}  // namespace velmaris

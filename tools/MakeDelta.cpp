// velmaris_delta OLD.app NEW.app VERSION FOLDER
//
// Writes into FOLDER the delta that updates the bundle OLD.app, of the
// version its Contents/Info.plist names (CFBundleShortVersionString), to
// NEW.app, of version VERSION, under the name the tool asks the server for
// (Velmaris_<old>_to_<VERSION>.delta), and prints that name.
#include <algorithm>
#include <cstdio>
#include <string>

#include "base/InfoPlist.h"
#include "delta/DeltaFile.h"
#include "delta/DeltaWriter.h"

namespace {

// The versions go unquoted into the tool's file names and command lines.
bool PlainVersion(const std::string& version) {
  return !version.empty() && std::ranges::all_of(version, [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' || c == '_' ||
           c == '-';
  });
}

int Fail(const std::string& why) {
  std::fprintf(stderr, "velmaris_delta: %s\n", why.c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return Fail("usage: velmaris_delta OLD.app NEW.app VERSION FOLDER");
  const std::string oldBundle = argv[1];
  const std::string newBundle = argv[2];
  const std::string to = argv[3];
  const std::string folder = argv[4];
  const std::string from = velmaris::InfoPlistValue(oldBundle, "CFBundleShortVersionString");
  if (!PlainVersion(from)) {
    return Fail(oldBundle + "/Contents/Info.plist names no version of letters, digits, '.', '_' and '-'");
  }
  if (!PlainVersion(to)) return Fail("the version \"" + to + "\" may hold only letters, digits, '.', '_' and '-'");
  if (from == to) return Fail(oldBundle + " is already version " + to);
  const std::string name = velmaris::DeltaFileName(from, to);
  if (const std::string defect = velmaris::WriteDelta(oldBundle, newBundle, from, to, folder + "/" + name);
      defect != "") {
    return Fail(defect);
  }
  std::printf("%s\n", name.c_str());
  return 0;
}

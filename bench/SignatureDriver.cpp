// Checks the minisign signature FILE.minisig of one file with the public key
// of a .pub file, as the update job checks its archive. Exit status 0 when
// the check passes; otherwise the failed check on stderr and exit status 1.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/Minisign.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s KEY.pub FILE\n", argv[0]);
    return 2;
  }
  std::ifstream keyFile(argv[1]);
  const std::string key{std::istreambuf_iterator<char>(keyFile), std::istreambuf_iterator<char>()};
  const std::string path = argv[2];
  const std::string failure =
      velmaris::VerifyMinisignSignature(key, path, path + ".minisig", std::filesystem::path(path).filename().string());
  if (!failure.empty()) {
    std::fprintf(stderr, "signature: %s\n", failure.c_str());
    return 1;
  }
  return 0;
}

// Checks the minisign signature FILE.minisig of one file with the public key
// of a .pub file, as the update job checks its archive. Exit status 0 when
// the check passes; otherwise the failed check on stderr and exit status 1.
// With --as-downloaded the file is first fed to the digest in blocks, as the
// download feeds it while the bytes arrive, and the seconds that the check
// then takes are printed ("check: S").
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "base/Minisign.h"

int main(int argc, char** argv) {
  const bool asDownloaded = argc == 4 && std::string_view(argv[3]) == "--as-downloaded";
  if (argc != 3 && !asDownloaded) {
    std::fprintf(stderr, "usage: %s KEY.pub FILE [--as-downloaded]\n", argv[0]);
    return 2;
  }
  std::ifstream keyFile(argv[1]);
  const std::string key{std::istreambuf_iterator<char>(keyFile), std::istreambuf_iterator<char>()};
  const std::string path = argv[2];
  std::string digest;
  if (asDownloaded) {
    velmaris::Blake2b512 arriving;
    std::ifstream file(path, std::ios::binary);
    std::string block(size_t{1} << 20, '\0');
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0) {
      arriving.Update(std::string_view(block).substr(0, static_cast<size_t>(file.gcount())));
    }
    digest = arriving.Digest();
  }
  const auto start = std::chrono::steady_clock::now();
  const std::string failure = velmaris::VerifyMinisignSignature(
      key, path, path + ".minisig", std::filesystem::path(path).filename().string(), digest);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  if (!failure.empty()) {
    std::fprintf(stderr, "signature: %s\n", failure.c_str());
    return 1;
  }
  if (asDownloaded) std::printf("check: %.6f\n", seconds.count());
  return 0;
}

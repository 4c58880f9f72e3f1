// Downloads one URL into a file with the asynchronous Get(url, file), in the
// event loop and without a window, then prints one line:
// "<seconds from Get to DownloadComplete> <bytes in the file> <peak RSS in KiB>".
// With --digest the BLAKE2b-512 of a signed archive is taken as the bytes
// arrive, as the update job takes it, and the seconds run to its end.
// "--rehash FILE" prints the seconds that the digest of the file takes, as
// a resumed download takes it of what it already holds.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "base/BackgroundDigest.h"
#include "http/HTTPSocket.h"

namespace {

// VmHWM of /proc/self/status: the most memory the process has held resident.
long PeakResidentKiB() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
  }
  return -1;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  using namespace velmaris;
  if (argc == 3 && std::string(argv[1]) == "--rehash") {
    QElapsedTimer elapsed;
    elapsed.start();
    BackgroundDigest held;
    held.UpdateFromFile(argv[2], static_cast<int64_t>(std::filesystem::file_size(argv[2])));
    held.Digest();
    std::printf("%.6f\n", static_cast<double>(elapsed.nsecsElapsed()) / 1e9);
    return 0;
  }
  const bool digest = argc == 4 && std::string(argv[3]) == "--digest";
  if (argc != 3 && !digest) {
    std::fprintf(stderr, "usage: %s URL FILE [--digest] | %s --rehash FILE\n", argv[0], argv[0]);
    return 2;
  }
  HTTPSocket socket;
  std::unique_ptr<BackgroundDigest> arriving;
  if (digest) {
    arriving = std::make_unique<BackgroundDigest>();
    socket.ReceiveProgress = [&arriving](HTTPSocket&, int64_t, int64_t, const String& data) { arriving->Update(data); };
  }
  int64_t status = 0;
  socket.DownloadComplete = [&status](HTTPSocket&, const String&, int64_t httpStatus, const Ref<InternetHeaders>&,
                                      const Ref<FolderItem>&) {
    status = httpStatus;
    QCoreApplication::quit();
  };
  socket.Error = [](HTTPSocket&, int64_t code) {
    std::fprintf(stderr, "connection failed: %lld\n", static_cast<long long>(code));
    QCoreApplication::exit(1);
  };
  const Ref<FolderItem> file = New<FolderItem>(argv[2], FolderItem::PathModes::Shell);
  QElapsedTimer elapsed;
  elapsed.start();
  socket.Get(argv[1], file);
  if (QCoreApplication::exec() != 0) return 1;
  if (arriving) arriving->Digest();
  const double seconds = static_cast<double>(elapsed.nsecsElapsed()) / 1e9;
  if (status != 200) {
    std::fprintf(stderr, "status %lld\n", static_cast<long long>(status));
    return 1;
  }
  std::printf("%.6f %llu %ld\n", seconds, static_cast<unsigned long long>(file->Length()), PeakResidentKiB());
  return 0;
}

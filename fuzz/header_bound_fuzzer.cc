// Streams a generated header block into the real HTTPSocket over an
// in-memory socket: a status line, then the input's piece repeated until
// past the 1 MiB that the socket's buffer holds, then the server's close.
// A block that never ends within the bound is given up there: its bytes
// are the page, with no headers. Whatever the piece, the request ends in
// exactly one completion, whose body is the blocks that ReceiveProgress
// announced, and a page without headers is every byte delivered until then.
//
// Input: an option byte (bit 0: into a file; the next bits: deliveries of
// 1 MiB down to 64 KiB), then the piece. At the end it tells how many runs ended
// at the bound.

#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "FuzzCheck.h"
#include "support/InMemoryHTTPSocket.h"

namespace velmaris {
namespace {

const std::string kStatusLine = "HTTP/1.0 200 OK\r\n";

size_t boundReached = 0;

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

const std::string& TargetPath() {
  static const std::string path = "/tmp/header_bound_fuzzer_target_" + std::to_string(getpid());
  return path;
}

void Run(const uint8_t* data, size_t size) {
  if (size < 2) return;
  const bool toFile = (data[0] & 1U) != 0;
  const size_t block = static_cast<size_t>(TCPSocket::kReadBufferSize) >> ((data[0] >> 1U) % 5);
  const std::string piece(reinterpret_cast<const char*>(data + 1), size - 1);

  testing::InMemoryHTTPSocket socket;
  int completions = 0;
  std::string announced;
  std::string stream = kStatusLine;
  size_t delivered = 0;
  const auto complete = [&](const Ref<InternetHeaders>& headers, const std::string& body) {
    ++completions;
    Check(body == announced, "the body is the blocks announced");
    if (!headers.IsNil()) return;
    Check(stream.compare(0, delivered, announced) == 0, "a page without headers is every byte delivered");
    if (announced.size() >= static_cast<size_t>(HTTPSocket::kHeaderLimit)) ++boundReached;
  };
  socket.ReceiveProgress = [&announced](HTTPSocket&, int64_t, int64_t, const String& bytes) { announced += bytes; };
  socket.PageReceived = [&](HTTPSocket&, const String&, int64_t, const Ref<InternetHeaders>& headers,
                            const String& page) { complete(headers, page); };
  socket.DownloadComplete = [&](HTTPSocket&, const String&, int64_t, const Ref<InternetHeaders>& headers,
                                const Ref<FolderItem>&) { complete(headers, Contents(TargetPath())); };
  socket.Error = [&completions](HTTPSocket&, int64_t) { ++completions; };

  socket.Get("http://example.test/", toFile ? New<FolderItem>(TargetPath(), FolderItem::PathModes::Shell) : nullptr);
  socket.Accept();
  const size_t end = static_cast<size_t>(HTTPSocket::kHeaderLimit) + piece.size();
  stream.reserve(end + piece.size());
  while (stream.size() < end) stream += piece;
  for (size_t from = 0; from < stream.size() && socket.IsConnected(); from = delivered) {
    delivered = std::min(from + block, stream.size());
    socket.Deliver(stream.substr(from, delivered - from));
  }
  socket.End();
  Check(completions == 1, "one completion");
}

}  // namespace
}  // namespace velmaris

// libFuzzer declares the hook with these parameter types.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {  // NOLINT(readability-non-const-parameter)
  static QCoreApplication application(*argc, *argv);
  std::atexit([] {
    std::fprintf(stderr, "header_bound_fuzzer: %zu runs ended at the header bound\n", velmaris::boundReached);
  });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmaris::Run(data, size);
  return 0;
}

// Feeds arbitrary response bytes, cut into arbitrary deliveries, into the
// real HTTPSocket over an in-memory socket, and checks what holds for every
// response: a request ends in exactly one completion (none for a HEAD that
// got its headers), and a body that goes to a file is exactly the bytes
// announced by ReceiveProgress, with nothing of it kept in memory.
//
// Input: three option bytes (file target, HEAD, how many challenges to
// answer), then deliveries, each a length byte and that many bytes; a
// length of 0 is the server's close.

#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "support/InMemoryHTTPSocket.h"

namespace velmaris {
namespace {

void Check(bool holds, const char* invariant) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", invariant);
  std::abort();
}

class FuzzedSocket : public testing::InMemoryHTTPSocket {
 public:
  int64_t PageBufferSize() const { return _pageBuffer->Size(); }
};

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

const std::string& TargetPath() {
  static const std::string path = "/tmp/http_fuzzer_target_" + std::to_string(getpid());
  return path;
}

void Run(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const bool toFile = input.ConsumeBool();
  const bool head = input.ConsumeBool();
  int answers = input.ConsumeIntegralInRange(0, 3);

  FuzzedSocket socket;
  int completions = 0;
  std::string announced;
  socket.Connected = [&announced](HTTPSocket&) { announced.clear(); };
  socket.ReceiveProgress = [&announced](HTTPSocket&, int64_t received, int64_t, const String& block) {
    announced += block;
    Check(received == static_cast<int64_t>(announced.size()), "the running total counts every block");
  };
  socket.PageReceived = [&](HTTPSocket&, const String&, int64_t, const Ref<InternetHeaders>&, const String& page) {
    ++completions;
    Check(!toFile, "a page for a request into memory");
    Check(page == announced, "the page is the blocks announced");
  };
  socket.DownloadComplete = [&](HTTPSocket&, const String&, int64_t, const Ref<InternetHeaders>&,
                                const Ref<FolderItem>&) {
    ++completions;
    Check(toFile, "a download for a request into a file");
    Check(Contents(TargetPath()) == announced, "the file holds exactly the body");
  };
  socket.Error = [&completions](HTTPSocket&, int64_t) { ++completions; };
  const auto answer = [&answers, &input](HTTPSocket&, const String&, const Ref<InternetHeaders>&, String& name,
                                         String& password) {
    name = input.ConsumeRandomLengthString(8);
    password = input.ConsumeRandomLengthString(8);
    return answers-- > 0;
  };
  socket.AuthenticationRequired = answer;
  socket.ProxyAuthenticationRequired = answer;

  const Ref<FolderItem> file = toFile ? New<FolderItem>(TargetPath(), FolderItem::PathModes::Shell) : nullptr;
  socket.SendRequest(head ? "HEAD" : "GET", "http://example.test:8080/x?y", file);
  socket.Accept();
  while (input.remaining_bytes() > 0) {
    if (socket.connecting) socket.Accept();  // the retry after an accepted challenge
    const auto length = input.ConsumeIntegral<uint8_t>();
    if (length == 0) {
      socket.End();
    } else {
      socket.Deliver(input.ConsumeBytesAsString(length));
    }
    if (toFile) Check(socket.PageBufferSize() == 0, "a body into a file is not kept in memory");
  }
  if (socket.connecting) {
    socket.Refuse(TCPSocket::kErrorBase);
  } else {
    socket.End();
  }
  Check(completions <= 1, "at most one completion");
  Check(completions == 1 || head, "every request but a HEAD ends in a completion");
}

}  // namespace
}  // namespace velmaris

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  static QCoreApplication application(*argc, *argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmaris::Run(data, size);
  return 0;
}

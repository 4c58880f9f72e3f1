// Feeds arbitrary response bytes, cut into arbitrary deliveries, into the
// real HTTPSocket over an in-memory socket, and checks what holds for every
// response: a request ends in exactly one completion (none for a HEAD that
// got its headers), a body that goes to a file is exactly the bytes
// announced by ReceiveProgress, with nothing of it kept in memory, and a
// body without a length that ends with the connection is all the bytes
// behind the header block's empty line. Redirects followed and the
// proxy's tunnel of an https request keep all of it.
//
// Input: three option bytes (file target, redirects followed and https
// through a proxy's tunnel in its bits 0 to 2; HEAD; how many challenges to
// answer), then deliveries, each a length byte and that many bytes; a
// length of 0 is the server's close.

#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "FuzzCheck.h"
#include "support/InMemoryHTTPSocket.h"

namespace velmaris {
namespace {

class FuzzedSocket : public testing::InMemoryHTTPSocket {
 public:
  int64_t PageBufferSize() const { return _pageBuffer->Size(); }
};

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The input read from its front: option bytes, then deliveries.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : mData(data), mSize(size) {}
  bool More() const { return mAt < mSize; }
  uint8_t Byte() { return mAt < mSize ? mData[mAt++] : 0; }
  std::string Bytes(size_t count) {
    count = std::min(count, mSize - mAt);
    std::string bytes(reinterpret_cast<const char*>(mData + mAt), count);
    mAt += count;
    return bytes;
  }

 private:
  const uint8_t* mData;
  size_t mSize;
  size_t mAt = 0;
};

bool EndsInAnEmptyLine(const std::string& bytes) {
  const auto endsWith = [&bytes](const std::string& tail) {
    return bytes.size() >= tail.size() && bytes.compare(bytes.size() - tail.size(), tail.size(), tail) == 0;
  };
  return endsWith("\n\n") || endsWith("\r\r") || endsWith("\r\n\r\n");
}

const std::string& TargetPath() {
  static const std::string path = "/tmp/http_fuzzer_target_" + std::to_string(getpid());
  return path;
}

void Run(const uint8_t* data, size_t size) {
  Input input(data, size);
  const uint8_t options = input.Byte();
  const bool toFile = (options & 1) != 0;
  const bool head = (input.Byte() & 1) != 0;
  int answers = input.Byte() % 4;

  FuzzedSocket socket;
  socket.FollowRedirects = (options & 2) != 0;
  const bool tunnel = (options & 4) != 0;
  if (tunnel) socket.HTTPProxyAddress = "proxy.test";
  int completions = 0;
  std::string announced;
  // What the connection delivered, and whether its header block came without a length.
  std::string raw;
  bool lengthless = false;
  bool ending = false;
  const auto checkBody = [&] {
    if (!ending || !lengthless) return;
    Check(
        raw.size() >= announced.size() && raw.compare(raw.size() - announced.size(), announced.size(), announced) == 0,
        "the body is the end of what was delivered");
    Check(EndsInAnEmptyLine(raw.substr(0, raw.size() - announced.size())), "the body starts behind the empty line");
  };
  socket.Connected = [&](HTTPSocket&) {
    announced.clear();
    raw.clear();
    lengthless = false;
  };
  socket.HeadersReceived = [&lengthless](HTTPSocket&, const Ref<InternetHeaders>& headers, int64_t) {
    lengthless = !headers->_HasHeader("content-length");
  };
  socket.ReceiveProgress = [&announced](HTTPSocket&, int64_t received, int64_t, const String& block) {
    announced += block;
    Check(received == static_cast<int64_t>(announced.size()), "the running total counts every block");
  };
  socket.PageReceived = [&](HTTPSocket&, const String&, int64_t, const Ref<InternetHeaders>&, const String& page) {
    ++completions;
    Check(!toFile, "a page for a request into memory");
    Check(page == announced, "the page is the blocks announced");
    checkBody();
  };
  socket.DownloadComplete = [&](HTTPSocket&, const String&, int64_t, const Ref<InternetHeaders>&,
                                const Ref<FolderItem>&) {
    ++completions;
    Check(toFile, "a download for a request into a file");
    Check(Contents(TargetPath()) == announced, "the file holds exactly the body");
    checkBody();
  };
  socket.Error = [&completions](HTTPSocket&, int64_t) { ++completions; };
  const auto answer = [&answers](HTTPSocket&, const String&, const Ref<InternetHeaders>&, String& name,
                                 String& password) {
    name = "user";
    password = "secret";
    return answers-- > 0;
  };
  socket.AuthenticationRequired = answer;
  socket.ProxyAuthenticationRequired = answer;

  const Ref<FolderItem> file = toFile ? New<FolderItem>(TargetPath(), FolderItem::PathModes::Shell) : nullptr;
  socket.SendRequest(head ? "HEAD" : "GET", tunnel ? "https://example.test:8443/x?y" : "http://example.test:8080/x?y",
                     file);
  socket.Accept();
  while (input.More()) {
    if (socket.connecting) socket.Accept();  // a retry, a redirect, TLS on the tunnel
    const uint8_t length = input.Byte();
    if (length == 0) {
      ending = true;
      socket.End();
      ending = false;
    } else {
      const std::string bytes = input.Bytes(length);
      if (socket.IsConnected()) raw += bytes;
      socket.Deliver(bytes);
    }
    if (toFile) Check(socket.PageBufferSize() == 0, "a body into a file is not kept in memory");
  }
  if (socket.connecting) {
    socket.Refuse(TCPSocket::kErrorBase);
  } else {
    ending = true;
    socket.End();
  }
  Check(completions <= 1, "at most one completion");
  Check(completions == 1 || head, "every request but a HEAD ends in a completion");
}

}  // namespace
}  // namespace velmaris

// libFuzzer declares the hook with these parameter types.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {  // NOLINT(readability-non-const-parameter)
  static QCoreApplication application(*argc, *argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmaris::Run(data, size);
  return 0;
}

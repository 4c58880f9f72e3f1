// Against a server we did not write, started on loopback by the tests:
// Python's http.server, on IPv4 and IPv6.
#include <QTcpServer>
#include <QTimer>

#include "HTTPEvents.h"
#include "support/Peer.h"

namespace velmaris::testing {
namespace {

// The same download over IPv4 and to an IPv6 literal in brackets, by the
// event loop and by the blocking form; the server as a proxy, named by the
// bracketed literal too, answers the absolute form with a 404.
TEST(EndToEndTest, DownloadFromPythonsHttpServer) {
  QTemporaryDir served;
  std::mt19937 random(7);
  std::string archive(6 * 1024 * 1024 + 123, '\0');
  for (char& byte : archive) byte = static_cast<char>(random());
  WriteFile(served.filePath("update.zip").toStdString(), archive);
  const std::string target = served.filePath("target").toStdString();
  for (const QString address : {"127.0.0.1", "::1"}) {
    if (address == "::1" && !QTcpServer().listen(QHostAddress::LocalHostIPv6)) {
      GTEST_SKIP() << "this machine has no IPv6 loopback: the download from [::1] is not tried";
    }
    SCOPED_TRACE(address.toStdString());
    const uint16_t port = TestServer::RefusingPort();
    Peer python("python3",
                {"-m", "http.server", QString::number(port), "--bind", address, "--directory", served.path()});
    ASSERT_TRUE(python.Listens(address, port));
    const std::string host = address.contains(':') ? "[" + address.toStdString() + "]" : address.toStdString();
    const std::string url = "http://" + host + ":" + std::to_string(port) + "/update.zip";

    HTTPSocket socket;
    HTTPEvents events(socket);
    socket.Get(url, Item(target));
    ASSERT_TRUE(events.Await());
    EXPECT_EQ(events.log.back(), "DownloadComplete 200 " + url);
    EXPECT_TRUE(ReadFile(target) == archive) << "the file of the event loop";

    EXPECT_TRUE(socket.Get(url, Item(target + "2"), 0));
    EXPECT_TRUE(ReadFile(target + "2") == archive) << "the file of the blocking form";

    socket.HTTPProxyAddress = host;
    socket.HTTPProxyPort = port;
    socket.Get(url, 5);
    EXPECT_EQ(socket.HTTPStatusCode(), 404) << "through the proxy";
  }
}

// A new request started in the middle of a download: the first ends without
// an event, its file keeps what had come, and nothing of it reaches the
// second, whether that one gets its page or stops at a file that can't be
// written.
TEST(EndToEndTest, ANewRequestInTheMiddleOfADownload) {
  QTemporaryDir served;
  std::mt19937 random(11);
  std::string large(4 * 1024 * 1024 + 7, '\0');
  for (char& byte : large) byte = static_cast<char>(random());
  WriteFile(served.filePath("large").toStdString(), large);
  WriteFile(served.filePath("small").toStdString(), "hello");
  const std::string file = served.filePath("download").toStdString();
  const uint16_t port = TestServer::RefusingPort();
  Peer python("python3",
              {"-m", "http.server", QString::number(port), "--bind", "127.0.0.1", "--directory", served.path()});
  ASSERT_TRUE(python.Listens("127.0.0.1", port));
  const auto url = [port](const std::string& path) { return "http://127.0.0.1:" + std::to_string(port) + path; };
  HTTPSocket socket;
  for (const Ref<FolderItem>& target : {Ref<FolderItem>(), Item(served.path().toStdString())}) {
    const bool page = target.IsNil();
    SCOPED_TRACE(page ? "a page" : "a file that can't be written");
    HTTPEvents restarted(socket);
    const auto record = socket.ReceiveProgress;
    bool started = false;
    socket.ReceiveProgress = [&](HTTPSocket& sender, int64_t received, int64_t total, const String& data) {
      record(sender, received, total, data);
      if (started || received == 0) return;
      started = true;
      QTimer::singleShot(0, [&] { socket.Get(url("/small"), target); });
    };
    socket.Get(url("/large"), Item(file));
    ASSERT_TRUE(restarted.Await());
    WaitUntil([] { return false; }, 300);
    std::vector<std::string> expected = {"Connected", "HeadersReceived 200", "ReceiveProgress"};
    if (page) expected.insert(expected.end(), {"Connected", "HeadersReceived 200", "ReceiveProgress"});
    expected.push_back(page ? "PageReceived 200 " + url("/small") : "Error 1");
    EXPECT_EQ(restarted.log, expected);
    EXPECT_TRUE(restarted.content == (page ? "hello" : "")) << restarted.content.size() << " bytes";
    const std::string part = ReadFile(file);
    EXPECT_TRUE(part.size() < large.size() && large.starts_with(part)) << part.size() << " bytes";
  }
}

}  // namespace
}  // namespace velmaris::testing

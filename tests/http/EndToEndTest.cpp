// Against a server we did not write, started on loopback by the tests:
// Python's http.server, on IPv4 and IPv6.
#include <QTcpServer>
#include <QTimer>

#include "HTTPEvents.h"
#include "support/Peer.h"

namespace velmaris::testing {
namespace {

// A folder of a random archive of 6 MB and a small page, served by Python.
class EndToEndTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::mt19937 random(7);
    mArchive.resize(6 * 1024 * 1024 + 123);
    for (char& byte : mArchive) byte = static_cast<char>(random());
    WriteFile(mServed.filePath("update.zip").toStdString(), mArchive);
    WriteFile(mServed.filePath("small").toStdString(), "hello");
  }
  // Starts the server on that address; its host, bracketed for IPv6, stands in mHost.
  bool Serve(const QString& address) {
    mPort = TestServer::RefusingPort();
    mHost = address.contains(':') ? "[" + address.toStdString() + "]" : address.toStdString();
    mPython = std::make_unique<Peer>("python3", QStringList{"-m", "http.server", QString::number(mPort), "--bind",
                                                            address, "--directory", mServed.path()});
    return mPython->Listens(address, mPort);
  }
  std::string Url(const std::string& path) const { return "http://" + mHost + ":" + std::to_string(mPort) + path; }

  QTemporaryDir mServed;
  std::string mArchive, mHost;
  uint16_t mPort = 0;
  std::unique_ptr<Peer> mPython;
};

// The same download over IPv4 and to an IPv6 literal in brackets, by the
// event loop and by the blocking form; the server as a proxy, named by the
// bracketed literal too, answers the absolute form with a 404.
TEST_F(EndToEndTest, DownloadFromPythonsHttpServer) {
  const std::string target = mServed.filePath("target").toStdString();
  for (const QString address : {"127.0.0.1", "::1"}) {
    if (address == "::1" && !QTcpServer().listen(QHostAddress::LocalHostIPv6)) {
      GTEST_SKIP() << "this machine has no IPv6 loopback: the download from [::1] is not tried";
    }
    SCOPED_TRACE(address.toStdString());
    ASSERT_TRUE(Serve(address));
    const std::string url = Url("/update.zip");
    HTTPSocket socket;
    HTTPEvents events(socket);
    socket.Get(url, Item(target));
    ASSERT_TRUE(events.Await());
    EXPECT_EQ(events.log.back(), "DownloadComplete 200 " + url);
    EXPECT_TRUE(ReadFile(target) == mArchive) << "the file of the event loop";

    EXPECT_TRUE(socket.Get(url, Item(target + "2"), 0));
    EXPECT_TRUE(ReadFile(target + "2") == mArchive) << "the file of the blocking form";

    socket.HTTPProxyAddress = mHost;
    socket.HTTPProxyPort = mPort;
    socket.Get(url, 5);
    EXPECT_EQ(socket.HTTPStatusCode(), 404) << "through the proxy";
  }
}

// A new request started in the middle of a download: the first ends without
// an event, its file keeps what had come, and nothing of it reaches the
// second, whether that one gets its page or stops at a file that can't be
// written.
TEST_F(EndToEndTest, ANewRequestInTheMiddleOfADownload) {
  ASSERT_TRUE(Serve("127.0.0.1"));
  const std::string file = mServed.filePath("download").toStdString();
  HTTPSocket socket;
  for (const Ref<FolderItem>& target : {Ref<FolderItem>(), Item(mServed.path().toStdString())}) {
    const bool page = target.IsNil();
    SCOPED_TRACE(page ? "a page" : "a file that can't be written");
    HTTPEvents restarted(socket);
    bool started = false;
    restarted.onProgress = [&](HTTPSocket&, int64_t received, int64_t, const String&) {
      if (started || received == 0) return;
      started = true;
      QTimer::singleShot(0, [&] { socket.Get(Url("/small"), target); });
    };
    socket.Get(Url("/update.zip"), Item(file));
    ASSERT_TRUE(restarted.Await());
    WaitUntil([] { return false; }, 300);
    std::vector<std::string> expected = {"Connected", "HeadersReceived 200", "ReceiveProgress"};
    if (page) expected.insert(expected.end(), {"Connected", "HeadersReceived 200", "ReceiveProgress"});
    expected.push_back(page ? "PageReceived 200 " + Url("/small") : "Error 1");
    EXPECT_EQ(restarted.log, expected);
    EXPECT_TRUE(restarted.content == (page ? "hello" : "")) << restarted.content.size() << " bytes";
    const std::string part = ReadFile(file);
    EXPECT_TRUE(part.size() < mArchive.size() && mArchive.starts_with(part)) << part.size() << " bytes";
  }
}

}  // namespace
}  // namespace velmaris::testing

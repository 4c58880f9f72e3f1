// Against servers we did not write, started on loopback by the tests:
// Python's http.server, on IPv4 and IPv6, and lighttpd with mod_auth.
#include <QStandardPaths>
#include <QTcpServer>
#include <QTimer>

#include "HTTPEvents.h"
#include "support/Peer.h"

namespace velmaris::testing {
namespace {

// A folder of a random archive of 6 MB and a small page, served by Python (or lighttpd).
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
    mServer = std::make_unique<Peer>("python3", QStringList{"-m", "http.server", QString::number(mPort), "--bind",
                                                            address, "--directory", mServed.path()});
    return mServer->Listens(address, mPort);
  }
  std::string Url(const std::string& path) const { return "http://" + mHost + ":" + std::to_string(mPort) + path; }
  // lighttpd instead, with /basic/page and /digest/page behind mod_auth.
  void ServeWithAuthentication() {
    const QString program =
        QStandardPaths::findExecutable("lighttpd", qEnvironmentVariable("PATH").split(':') << "/usr/sbin");
    if (program.isEmpty()) GTEST_SKIP() << "lighttpd is not installed (scripts/setup installs it)";
    const std::string root = mServed.path().toStdString();
    for (const std::string scheme : {"basic", "digest"}) {
      std::filesystem::create_directories(root + "/" + scheme);
      WriteFile(root + "/" + scheme + "/page", scheme + " page");
    }
    // htdigest: name:realm:MD5(name:realm:password), which serves Basic too.
    WriteFile(root + "/users", "Mufasa:testrealm:64ea9a816b13385a113f52505d5159df\n");
    mPort = TestServer::RefusingPort();
    mHost = "127.0.0.1";
    const std::string realm = R"("realm" => "testrealm", "require" => "valid-user")";
    WriteFile(root + "/lighttpd.conf", "server.document-root = \"" + root +
                                           "\"\nserver.bind = \"127.0.0.1\"\nserver.port = " + std::to_string(mPort) +
                                           "\nserver.modules = (\"mod_auth\", \"mod_authn_file\")\n"
                                           "auth.backend = \"htdigest\"\nauth.backend.htdigest.userfile = \"" +
                                           root +
                                           "/users\"\nauth.require = (\"/basic/\" => (\"method\" => \"basic\", " +
                                           realm + "), \"/digest/\" => (\"method\" => \"digest\", " + realm + "))\n");
    mServer = std::make_unique<Peer>(program, QStringList{"-D", "-f", mServed.filePath("lighttpd.conf")});
    ASSERT_TRUE(mServer->Listens("127.0.0.1", mPort)) << mServer->Why();
  }

  QTemporaryDir mServed;
  std::string mArchive, mHost;
  uint16_t mPort = 0;
  std::unique_ptr<Peer> mServer;
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

// The right password gets the page, a wrong one the 401 again, which the
// owner then refuses. lighttpd takes a digest only for the uri that the
// request line carries.
TEST_F(EndToEndTest, BasicAndDigestWithLighttpd) {
  ServeWithAuthentication();
  for (const std::string scheme : {"basic", "digest"}) {
    for (const std::string password : {"Circle Of Life", "wrong"}) {
      SCOPED_TRACE(scheme + ", " + password);
      const std::string url = Url("/" + scheme + "/page?a=1");
      HTTPSocket socket;
      HTTPEvents events(socket);
      int answers = 1;
      events.answer = [&](String& name, String& secret) {
        name = "Mufasa";
        secret = password;
        return answers-- > 0;
      };
      socket.Get(url);
      ASSERT_TRUE(events.Await());
      const std::string status = password == "wrong" ? "401" : "200";
      std::vector<std::string> expected = {"Connected", "AuthenticationRequired testrealm", "Connected"};
      if (status == "401") expected.push_back("AuthenticationRequired testrealm");
      expected.insert(expected.end(),
                      {"HeadersReceived " + status, "ReceiveProgress", "PageReceived " + status + " " + url});
      EXPECT_EQ(events.log, expected);
      if (status == "200") {
        EXPECT_EQ(events.content, scheme + " page");
      }
    }
  }
}

}  // namespace
}  // namespace velmaris::testing

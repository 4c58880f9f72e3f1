// Against servers we did not write, started on loopback by the tests:
// Python's http.server, on IPv4 and IPv6, and lighttpd with mod_auth.
#include <QStandardPaths>
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

// lighttpd on a free loopback port, with a configuration of the test's own:
// /small, /large, and /basic/page and /digest/page behind mod_auth.
class LighttpdTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const QString program =
        QStandardPaths::findExecutable("lighttpd", qEnvironmentVariable("PATH").split(':') << "/usr/sbin");
    if (program.isEmpty()) GTEST_SKIP() << "lighttpd is not installed (scripts/setup installs it)";
    const std::string root = mFolder.path().toStdString();
    std::filesystem::create_directories(root + "/www/basic");
    std::filesystem::create_directories(root + "/www/digest");
    std::mt19937 random(11);
    mLarge.resize(4 * 1024 * 1024 + 7);
    for (char& byte : mLarge) byte = static_cast<char>(random());
    WriteFile(root + "/www/large", mLarge);
    WriteFile(root + "/www/small", "hello");
    WriteFile(root + "/www/basic/page", "basic page");
    WriteFile(root + "/www/digest/page", "digest page");
    // htdigest: name:realm:MD5(name:realm:password), which serves Basic too.
    WriteFile(root + "/users", "Mufasa:testrealm:64ea9a816b13385a113f52505d5159df\n");
    mPort = TestServer::RefusingPort();
    const std::string realm = R"("realm" => "testrealm", "require" => "valid-user")";
    WriteFile(root + "/lighttpd.conf",
              "server.document-root = \"" + root + "/www\"\nserver.bind = \"127.0.0.1\"\nserver.port = " +
                  std::to_string(mPort) + "\nserver.errorlog = \"" + root +
                  "/error.log\"\nserver.modules = (\"mod_auth\", \"mod_authn_file\")\n"
                  "auth.backend = \"htdigest\"\nauth.backend.htdigest.userfile = \"" +
                  root + "/users\"\nauth.require = (\"/basic/\" => (\"method\" => \"basic\", " + realm +
                  "), \"/digest/\" => (\"method\" => \"digest\", " + realm + "))\n");
    mServer = std::make_unique<Peer>(program, QStringList{"-D", "-f", mFolder.filePath("lighttpd.conf")});
    ASSERT_TRUE(mServer->Listens("127.0.0.1", mPort)) << ReadFile(root + "/error.log");
  }
  std::string Url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(mPort) + path; }

  QTemporaryDir mFolder;
  std::string mLarge;
  uint16_t mPort = 0;
  std::unique_ptr<Peer> mServer;
};

// The right password gets the page, a wrong one the 401 again, which the
// owner then refuses. lighttpd takes a digest only for the uri that the
// request line carries.
TEST_F(LighttpdTest, BasicAndDigest) {
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

// A download, and a new request started in the middle of one: the first
// ends without an event, its file keeps what had come, and nothing of it
// reaches the second, whether that one gets its page or stops at a file
// that can't be written.
TEST_F(LighttpdTest, DownloadAndANewRequestInTheMiddleOfOne) {
  const std::string file = mFolder.filePath("download").toStdString();
  HTTPSocket socket;
  HTTPEvents events(socket);
  socket.Get(Url("/large"), Item(file));
  ASSERT_TRUE(events.Await());
  EXPECT_EQ(events.log.back(), "DownloadComplete 200 " + Url("/large"));
  EXPECT_TRUE(ReadFile(file) == mLarge);

  for (const Ref<FolderItem>& target : {Ref<FolderItem>(), Item(mFolder.path().toStdString())}) {
    const bool page = target.IsNil();
    SCOPED_TRACE(page ? "a page" : "a file that can't be written");
    HTTPEvents restarted(socket);
    const auto record = socket.ReceiveProgress;
    bool started = false;
    socket.ReceiveProgress = [&](HTTPSocket& sender, int64_t received, int64_t total, const String& data) {
      record(sender, received, total, data);
      if (started || received == 0) return;
      started = true;
      QTimer::singleShot(0, [&] { socket.Get(Url("/small"), target); });
    };
    socket.Get(Url("/large"), Item(file));
    ASSERT_TRUE(restarted.Await());
    WaitUntil([] { return false; }, 300);
    std::vector<std::string> expected = {"Connected", "HeadersReceived 200", "ReceiveProgress"};
    if (page) expected.insert(expected.end(), {"Connected", "HeadersReceived 200", "ReceiveProgress"});
    expected.push_back(page ? "PageReceived 200 " + Url("/small") : "Error 1");
    EXPECT_EQ(restarted.log, expected);
    EXPECT_TRUE(restarted.content == (page ? "hello" : "")) << restarted.content.size() << " bytes";
    const std::string part = ReadFile(file);
    EXPECT_TRUE(part.size() < mLarge.size() && mLarge.starts_with(part)) << part.size() << " bytes";
  }
}

}  // namespace
}  // namespace velmaris::testing

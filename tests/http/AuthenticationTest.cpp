// Challenges answered on a new connection, the answer sent once.
#include "HTTPEvents.h"

namespace velmaris::testing {
namespace {

// The client nonce of RFC 2617's worked example.
class FixedNonceSocket : public HTTPSocket {
 public:
  String _CreateNonce() override { return "0a4f113b"; }
};

// Each accepted challenge costs one new connection, into the same file, and
// its answer goes out with that retry only; a refusal, an unknown scheme or a
// missing challenge ends in the 401 page.
TEST(AuthenticationTest, OneRetryPerAcceptedChallenge) {
  struct Row {
    const char* name;
    std::string challenge;
    int answers;                    // how many times the owner answers true
    std::vector<std::string> sent;  // the Authorization of each connection, the next request's last
  };
  const Row rows[] = {
      {.name = "accepted once",
       .challenge = "WWW-Authenticate: Basic realm=\"r\"\r\n",
       .answers = 1,
       .sent = {"", "Basic YTpi", ""}},
      {.name = "accepted twice",
       .challenge = "WWW-Authenticate: Basic realm=\"r\"\r\n",
       .answers = 2,
       .sent = {"", "Basic YTpi", "Basic YTpi", ""}},
      {.name = "unknown scheme", .challenge = "WWW-Authenticate: Negotiate abc\r\n", .answers = 5, .sent = {"", ""}},
      {.name = "no challenge", .challenge = "", .answers = 5, .sent = {"", ""}},
  };
  QTemporaryDir folder;
  const std::string path = folder.filePath("page").toStdString();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    TestServer server;
    server.Serve({Answer("HTTP/1.0 401 No\r\n" + row.challenge + "Content-Length: 6\r\n\r\ndenied")});
    HTTPSocket socket;
    HTTPEvents events(socket);
    int answers = row.answers;
    events.answer = [&answers](String& name, String& password) {
      name = "a";
      password = "b";
      return answers-- > 0;
    };
    socket.Get(server.Url("/"), Item(path));
    ASSERT_TRUE(events.Await());
    EXPECT_EQ(std::ranges::count(events.log, "HeadersReceived 401"), 1) << "none for an accepted challenge";
    EXPECT_EQ(events.log.back(), "DownloadComplete 401 " + server.Url("/"));
    EXPECT_EQ(ReadFile(path), "denied");
    socket.Get(server.Url("/"));
    ASSERT_TRUE(events.Await(2));
    std::vector<std::string> sent;
    for (const std::string& request : server.Received()) {
      const size_t at = request.find("\r\nAuthorization: ");
      sent.push_back(at == std::string::npos ? "" : request.substr(at + 17, request.find('\r', at + 2) - at - 17));
    }
    EXPECT_EQ(sent, row.sent);
  }
}

// Through the server as proxy, a URL of the path alone is the digest's uri,
// so that the first answer is RFC 2617's worked example to the byte. Then the
// proxy's own header with a nonce of its own, the count of each nonce, opaque
// absent, a quoted value that escapes its quotes, and a challenge without a
// nonce taking up the last one.
TEST(AuthenticationTest, DigestOnTheWire) {
  struct Row {
    std::string challenge;
    std::string header = "Authorization";  // of the retry
    std::string nonce = "dcd98b7102dd2f0e8b11d0f600bfb0c093";
    std::string nc;
    std::string response;
    std::string opaque = {};
  };
  const std::string kNonce = "dcd98b7102dd2f0e8b11d0f600bfb0c093";
  const Row rows[] = {
      {.challenge = "401 No\r\nWWW-Authenticate: Digest realm=\"testrealm@host.com\", qop=\"auth,auth-int\", nonce=\"" +
                    kNonce + "\", opaque=\"5ccc069c403ebaf9f0171e9517f40e41\"",
       .nc = "00000001",
       .response = "6629fae49393a05397450978507c4ef1",
       .opaque = "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\""},
      {.challenge = "407 No\r\nProxy-Authenticate: Digest realm=\"testrealm@host.com\", nonce=\"N2\"",
       .header = "Proxy-Authorization",
       .nonce = "N2",
       .nc = "00000001",
       .response = "4ccf74c915c946848edba762fe5dc763"},
      {.challenge = "401 No\r\nWWW-Authenticate: Digest qop=\"auth\",nonce=\"" + kNonce +
                    "\",realm=\"testrealm@host.com\",domain=\"x\\\", nonce=\\\"bad\"",
       .nc = "00000002",
       .response = "15b6bb427e3fecd23a43cb702ce447d5"},
      {.challenge = "401 No\r\nWWW-Authenticate: Digest realm=\"testrealm@host.com\"",
       .nc = "00000003",
       .response = "6221f5f4c31ac4a801213d66f36f654a"},
  };
  TestServer server;
  std::vector<TestServer::Script> scripts;
  for (const Row& row : rows) {
    scripts.insert(scripts.end(),
                   {Answer("HTTP/1.0 " + row.challenge + "\r\n\r\n"), Answer("HTTP/1.0 200 OK\r\n\r\n")});
  }
  server.Serve(scripts);
  FixedNonceSocket socket;
  socket.HTTPProxyAddress = "127.0.0.1";
  socket.HTTPProxyPort = server.Port();
  HTTPEvents events(socket);
  events.answer = [](String& name, String& password) {
    name = "Mufasa";
    password = "Circle Of Life";
    return true;
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Row& row = rows[i];
    socket.Get("/dir/index.html");
    ASSERT_TRUE(events.Await(static_cast<int>(i) + 1));
    EXPECT_EQ(server.Received().at(2 * i).find("Authorization:"), std::string::npos) << "the last answer, again";
    const std::string retry = server.Received().at(2 * i + 1);
    EXPECT_NE(retry.find("\r\n" + row.header + ": Digest username=\"Mufasa\", realm=\"testrealm@host.com\", nonce=\"" +
                         row.nonce + "\", uri=\"/dir/index.html\", qop=auth, nc=" + row.nc +
                         ", cnonce=\"0a4f113b\", response=\"" + row.response + "\", " + row.opaque + "\r\n"),
              std::string::npos)
        << retry;
    EXPECT_EQ(retry.find("Authorization:"), retry.rfind("Authorization:")) << "one header of the two";
  }
}

TEST(AuthenticationTest, ClientNoncesAre25LettersAndDigitsThatDiffer) {
  const std::string nonce = HTTPSocket()._CreateNonce();
  EXPECT_EQ(nonce.size(), 25U);
  EXPECT_EQ(nonce.find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"),
            std::string::npos);
  EXPECT_NE(nonce, HTTPSocket()._CreateNonce());
}

}  // namespace
}  // namespace velmaris::testing

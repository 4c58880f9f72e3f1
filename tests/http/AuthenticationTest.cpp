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
// missing challenge ends in the 401 page. Through the server as proxy, a URL
// of the path alone is the digest's uri, so that the first digest is RFC
// 2617's worked example to the byte. Then the proxy's own header with a nonce
// of its own, the count of each nonce, opaque absent, values with blanks
// around them, a quoted value that escapes its quotes, and a challenge
// without a nonce taking up the last one. Last, straight to the server, whose
// URL is absolute, the uri is the path and query of the request line.
TEST(AuthenticationTest, OneRetryPerAcceptedChallenge) {
  struct Row {
    const char* name;
    std::vector<std::string> heads;  // of each connection's response, the last again for every further one
    std::vector<std::string> sent;   // the authorization of each connection, the next request's last
    int answers = 5;                 // how many times the owner answers true
    std::pair<std::string, std::string> login = {"Mufasa", "Circle Of Life"};
    bool direct = false;  // to the server itself, its URL's path with a query
  };
  const std::string kNonce = "dcd98b7102dd2f0e8b11d0f600bfb0c093";
  const std::string kDigest = "401 No\r\nWWW-Authenticate: Digest ";
  const auto digest = [](const std::string& header, const std::string& nonce, const std::string& nc,
                         const std::string& response, const std::string& uri = "/dir/index.html") {
    return header + ": Digest username=\"Mufasa\", realm=\"testrealm@host.com\", nonce=\"" + nonce + "\", uri=\"" +
           uri + "\", qop=auth, nc=" + nc + ", cnonce=\"0a4f113b\", response=\"" + response + "\", ";
  };
  const std::vector<std::string> basic = {"401 No\r\nWWW-Authenticate: Basic realm=\"r\""};
  const Row rows[] = {
      {"accepted once", basic, {"", "Authorization: Basic YTpi", ""}, 1, {"a", "b"}},
      {"accepted twice", basic, {"", "Authorization: Basic YTpi", "Authorization: Basic YTpi", ""}, 2, {"a", "b"}},
      {"unknown scheme", {"401 No\r\nWWW-Authenticate: Negotiate abc"}, {"", ""}},
      {"no challenge", {"401 No"}, {"", ""}},
      {"worked example",
       {kDigest + "realm=\"testrealm@host.com\", qop=\"auth,auth-int\", nonce=\"" + kNonce +
            "\", opaque=\"5ccc069c403ebaf9f0171e9517f40e41\"",
        "200 OK"},
       {"",
        digest("Authorization", kNonce, "00000001", "6629fae49393a05397450978507c4ef1") +
            "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\"",
        ""}},
      {"proxy",
       {"407 No\r\nProxy-Authenticate: Digest realm=\"testrealm@host.com\", nonce=\"N2\"", "200 OK"},
       {"", digest("Proxy-Authorization", "N2", "00000001", "4ccf74c915c946848edba762fe5dc763"), ""}},
      {"any order, escapes",
       {kDigest + "qop=\"auth\",algorithm = MD5 ,nonce=\"" + kNonce +
            "\",realm= \"testrealm@host.com\",domain=\"x\\\", nonce=\\\"bad\"",
        "200 OK"},
       {"", digest("Authorization", kNonce, "00000002", "15b6bb427e3fecd23a43cb702ce447d5"), ""}},
      {"no nonce",
       {kDigest + "realm=\"testrealm@host.com\"", "200 OK"},
       {"", digest("Authorization", kNonce, "00000003", "6221f5f4c31ac4a801213d66f36f654a"), ""}},
      {.name = "direct: the uri is the request line's, not the URL",
       .heads = {kDigest + "realm=\"testrealm@host.com\", nonce=\"N3\"", "200 OK"},
       .sent = {"",
                digest("Authorization", "N3", "00000001", "fc85178893a05d693769a63290a903a4", "/dir/index.html?a=1"),
                ""},
       .direct = true},
  };
  QTemporaryDir folder;
  const std::string path = folder.filePath("page").toStdString();
  FixedNonceSocket socket;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    TestServer server;
    std::vector<TestServer::Script> scripts;
    for (const std::string& head : row.heads) scripts.push_back(Answer("HTTP/1.0 " + head + "\r\n\r\npage"));
    server.Serve(scripts);
    socket.HTTPProxyAddress = row.direct ? "" : "127.0.0.1";
    socket.HTTPProxyPort = server.Port();
    const std::string url = row.direct ? server.Url("/dir/index.html?a=1") : "/dir/index.html";
    HTTPEvents events(socket);
    int answers = row.answers;
    events.answer = [&](String& name, String& password) {
      std::tie(name, password) = row.login;
      return answers-- > 0;
    };
    socket.Get(url, Item(path));
    ASSERT_TRUE(events.Await());
    EXPECT_EQ(std::ranges::count_if(events.log, [](auto& e) { return e.starts_with("HeadersReceived"); }), 1)
        << "none for an accepted challenge";
    EXPECT_EQ(events.log.back(), "DownloadComplete " + row.heads.back().substr(0, 3) + " " + url);
    EXPECT_EQ(ReadFile(path), "page");
    socket.Get(url);
    ASSERT_TRUE(events.Await(2));
    std::vector<std::string> sent;
    for (const std::string& request : server.Received()) {
      const size_t at = request.find("Authorization: ");
      const size_t start = request.rfind('\n', at) + 1;
      sent.push_back(at == std::string::npos ? "" : request.substr(start, request.find('\r', at) - start));
      EXPECT_EQ(at, request.rfind("Authorization: ")) << "one header of the two";
    }
    EXPECT_EQ(sent, row.sent);
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

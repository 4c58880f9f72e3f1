// Challenges answered on a new connection.
#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <fstream>

#include "HTTPEvents.h"
#include "support/TestServer.h"

namespace velmaris {
namespace {

using testing::HTTPEvents;
using testing::TestServer;
using testing::WaitUntil;

// The client nonce of RFC 2617's worked example.
class FixedNonceSocket : public HTTPSocket {
 public:
  String _CreateNonce() override { return "0a4f113b"; }
};

TestServer::Script Answer(const std::string& response) {
  return {TestServer::ReadRequest(), TestServer::Send(response), TestServer::Close()};
}

// The value of the header in a request; "" when it is absent.
std::string HeaderOf(const std::string& request, const std::string& name) {
  const size_t at = request.find("\r\n" + name + ": ");
  if (at == std::string::npos) return "";
  const size_t from = at + name.size() + 4;
  return request.substr(from, request.find("\r\n", from) - from);
}

std::string Md5Hex(const std::string& text) {
  return QCryptographicHash::hash(QByteArray::fromStdString(text), QCryptographicHash::Md5).toHex().toStdString();
}

const std::string kOK = "HTTP/1.0 200 OK\r\n\r\nwelcome";

// Basic, from the 401 to the page; the answer goes out with the retry only.
TEST(AuthenticationTest, BasicAnswerGoesOutWithTheRetryOnly) {
  QTemporaryDir folder;
  const std::string path = folder.filePath("page").toStdString();
  TestServer server;
  const std::string challenge = "HTTP/1.0 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"r\"\r\n\r\nchallenged";
  server.Serve({Answer(challenge), Answer(kOK), Answer(kOK)});
  HTTPSocket socket;
  HTTPEvents events;
  events.Attach(socket);
  events.answer = [](std::string& name, std::string& password) {
    name = "a";
    password = "b";
    return true;
  };
  socket.Get(server.Url("/private"), New<FolderItem>(path, FolderItem::PathModes::Shell));
  ASSERT_TRUE(WaitUntil([&] { return events.completions > 0; }));
  const std::vector<std::string> expected{"Connected",       "AuthenticationRequired r",
                                          "Connected",       "HeadersReceived 200",
                                          "ReceiveProgress", "DownloadComplete 200 " + server.Url("/private")};
  EXPECT_EQ(events.log, expected);
  std::ifstream file(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "welcome") << "the challenge's body is gone";
  EXPECT_EQ(socket.GetRequestHeaders()->Value("Authorization"), "");

  socket.Get(server.Url("/private"));
  ASSERT_TRUE(WaitUntil([&] { return events.completions > 1; }));
  const std::vector<std::string> received = server.Received();
  ASSERT_EQ(received.size(), 3U);
  EXPECT_EQ(HeaderOf(received[0], "Authorization"), "");
  EXPECT_EQ(HeaderOf(received[1], "Authorization"), "Basic YTpi");
  EXPECT_EQ(HeaderOf(received[2], "Authorization"), "") << "each request pays for its own challenge";
}

TEST(AuthenticationTest, DigestReproducesTheWorkedExampleOfRFC2617) {
  FixedNonceSocket socket;
  Dictionary params;
  params.SetValue("realm", "testrealm@host.com");
  params.SetValue("nonce", "dcd98b7102dd2f0e8b11d0f600bfb0c093");
  params.SetValue("uri", "/dir/index.html");
  params.SetValue("method", "GET");
  const std::string common =
      "Digest username=\"Mufasa\", realm=\"testrealm@host.com\", nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\", "
      "uri=\"/dir/index.html\", qop=auth, nc=0000000";
  EXPECT_EQ(socket._CreateAuthenticationData("Digest", "Mufasa", "Circle Of Life", params),
            common + "1, cnonce=\"0a4f113b\", response=\"6629fae49393a05397450978507c4ef1\", ");
  params.SetValue("opaque", "5ccc069c403ebaf9f0171e9517f40e41");
  EXPECT_EQ(socket._CreateAuthenticationData("digest", "Mufasa", "Circle Of Life", params),
            common + "2, cnonce=\"0a4f113b\", response=\"" +
                Md5Hex(Md5Hex("Mufasa:testrealm@host.com:Circle Of Life") +
                       ":dcd98b7102dd2f0e8b11d0f600bfb0c093:00000002:0a4f113b:auth:" + Md5Hex("GET:/dir/index.html")) +
                "\", opaque=\"5ccc069c403ebaf9f0171e9517f40e41\"");
  EXPECT_EQ(socket._CreateAuthenticationData("Negotiate", "Mufasa", "Circle Of Life", params), "");
}

// Over the wire: the count of each nonce, a challenge without a nonce taking
// up the last one, opaque present and absent, the proxy's own header.
TEST(AuthenticationTest, DigestOnTheWire) {
  struct Row {
    std::string challenge;
    std::string header;  // of the retry
    std::string nonce;
    std::string nc;
    std::string tail;
  };
  const Row rows[] = {
      {.challenge = "401 Unauthorized\r\nWWW-Authenticate: Digest realm=\"r\", nonce=\"N1\", opaque=\"O\"",
       .header = "Authorization",
       .nonce = "N1",
       .nc = "00000001",
       .tail = ", opaque=\"O\""},
      {.challenge = "401 Unauthorized\r\nWWW-Authenticate: Digest qop=\"auth\",nonce=\"N1\",realm=\"r\"",
       .header = "Authorization",
       .nonce = "N1",
       .nc = "00000002",
       .tail = ", "},
      {.challenge = "401 Unauthorized\r\nWWW-Authenticate: Digest realm=\"r\"",
       .header = "Authorization",
       .nonce = "N1",
       .nc = "00000003",
       .tail = ", "},
      {.challenge = "407 Proxy Authentication Required\r\nProxy-Authenticate: Digest realm=\"r\", nonce=\"N2\"",
       .header = "Proxy-Authorization",
       .nonce = "N2",
       .nc = "00000001",
       .tail = ", "},
  };
  TestServer server;
  std::vector<TestServer::Script> scripts;
  for (const Row& row : rows) {
    scripts.push_back(Answer("HTTP/1.0 " + row.challenge + "\r\n\r\n"));
    scripts.push_back(Answer(kOK));
  }
  server.Serve(scripts);
  FixedNonceSocket socket;
  HTTPEvents events;
  events.Attach(socket);
  events.answer = [](std::string& name, std::string& password) {
    name = "Mufasa";
    password = "Circle Of Life";
    return true;
  };
  const std::string url = server.Url("/dir/index.html");
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Row& row = rows[i];
    socket.Get(url);
    ASSERT_TRUE(WaitUntil([&] { return events.completions == static_cast<int>(i) + 1; }));
    const std::string response = Md5Hex(Md5Hex("Mufasa:r:Circle Of Life") + ":" + row.nonce + ":" + row.nc +
                                        ":0a4f113b:auth:" + Md5Hex("GET:" + url));
    const std::string retry = server.Received().at(2 * i + 1);
    EXPECT_EQ(HeaderOf(retry, row.header), "Digest username=\"Mufasa\", realm=\"r\", nonce=\"" + row.nonce +
                                               "\", uri=\"" + url + "\", qop=auth, nc=" + row.nc +
                                               ", cnonce=\"0a4f113b\", response=\"" + response + "\"" + row.tail)
        << "row " << i;
    EXPECT_EQ(HeaderOf(retry, row.header == "Authorization" ? "Proxy-Authorization" : "Authorization"), "");
  }
}

// Each accepted challenge costs one new connection; a refusal, an unknown
// scheme or a missing challenge ends in the 401 page.
TEST(AuthenticationTest, OneRetryPerAcceptedChallenge) {
  struct Row {
    const char* name;
    std::string challenge;
    int answers;  // how many times the owner answers true
    int connections;
  };
  const Row rows[] = {
      {.name = "accepted once", .challenge = "WWW-Authenticate: Basic realm=\"r\"\r\n", .answers = 1, .connections = 2},
      {.name = "accepted twice",
       .challenge = "WWW-Authenticate: Basic realm=\"r\"\r\n",
       .answers = 2,
       .connections = 3},
      {.name = "unknown scheme",
       .challenge = "WWW-Authenticate: Negotiate realm=\"r\"\r\n",
       .answers = 5,
       .connections = 1},
      {.name = "no challenge", .challenge = "", .answers = 5, .connections = 1},
  };
  for (const Row& row : rows) {
    TestServer server;
    server.Serve({Answer("HTTP/1.0 401 Unauthorized\r\n" + row.challenge + "Content-Length: 6\r\n\r\ndenied")});
    HTTPSocket socket;
    HTTPEvents events;
    events.Attach(socket);
    int answers = row.answers;
    events.answer = [&answers](std::string& name, std::string&) {
      name = "a";
      return answers-- > 0;
    };
    socket.Get(server.Url("/"));
    ASSERT_TRUE(WaitUntil([&] { return events.completions > 0; })) << row.name;
    EXPECT_EQ(server.Connections(), row.connections) << row.name;
    EXPECT_EQ(events.log.back(), "PageReceived 401 " + server.Url("/")) << row.name;
    EXPECT_EQ(events.content, "denied") << row.name;
  }
}

TEST(AuthenticationTest, ChallengeParameters) {
  struct Row {
    std::string text;
    std::vector<std::pair<std::string, std::string>> expected;
  };
  const Row rows[] = {
      {.text = "realm=\"a, b\", nonce=\"x\\\"y\", opaque=o",
       .expected = {{"realm", "a, b"}, {"nonce", "x\"y"}, {"opaque", "o"}}},
      {.text = " nonce = \"n\" ,realm=r ,, stale=FALSE",
       .expected = {{"nonce", "n"}, {"realm", "r"}, {"stale", "FALSE"}}},
      {.text = "realm=a, REALM=\"b\"", .expected = {{"realm", "b"}}},
      {.text = "realm=\"unterminated", .expected = {{"realm", "unterminated"}}},
      {.text = "", .expected = {}},
      {.text = "token68==, =x, flag", .expected = {{"token68", "="}}},
  };
  HTTPSocket socket;
  for (const Row& row : rows) {
    const Dictionary params = socket._ParseAuthenticationParams(row.text);
    EXPECT_EQ(params.Count(), static_cast<int64_t>(row.expected.size())) << row.text;
    for (const auto& [key, value] : row.expected) {
      EXPECT_EQ(params.Lookup(key, "(absent)").StringValue(), value) << row.text << ": " << key;
    }
  }
}

TEST(AuthenticationTest, ClientNoncesAre25LettersAndDigitsThatDiffer) {
  HTTPSocket socket;
  const std::string first = socket._CreateNonce();
  const std::string second = socket._CreateNonce();
  for (const std::string& nonce : {first, second}) {
    EXPECT_EQ(nonce.size(), 25U);
    EXPECT_EQ(nonce.find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"),
              std::string::npos)
        << nonce;
  }
  EXPECT_NE(first, second);
}

}  // namespace
}  // namespace velmaris

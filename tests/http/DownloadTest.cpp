// Downloads into a file.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <fstream>
#include <sstream>

#include "HTTPEvents.h"
#include "support/TestServer.h"

namespace velmaris {
namespace {

using testing::HTTPEvents;
using testing::TestServer;
using testing::WaitUntil;

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

void WriteFile(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

class DownloadTest : public ::testing::Test {
 protected:
  QTemporaryDir folder;
  std::string Path(const std::string& name) const {
    return folder.filePath(QString::fromStdString(name)).toStdString();
  }
  Ref<FolderItem> Item(const std::string& name) const {
    return New<FolderItem>(Path(name), FolderItem::PathModes::Shell);
  }
};

// The body lands in the file, whatever the status, and nowhere else.
TEST_F(DownloadTest, TheBodyGoesIntoTheFile) {
  std::string body(300 * 1024, '\0');
  for (size_t i = 0; i < body.size(); ++i) body[i] = static_cast<char>(i * 131 >> 3);
  std::mt19937 random(std::random_device{}());
  for (const std::string status : {"200 OK", "404 Not Found"}) {
    TestServer server;
    const std::string head = "HTTP/1.0 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    TestServer::Script script{TestServer::ReadRequest()};
    for (TestServer::Step& step : TestServer::SendPieces(testing::RandomPieces(head + body.substr(0, 2000), random))) {
      script.push_back(std::move(step));
    }
    script.push_back(TestServer::Send(body.substr(2000)));
    server.Serve({script});
    WriteFile(Path("target"), std::string(400 * 1024, 'x'));
    const Ref<FolderItem> target = Item("target");
    HTTPSocket socket;
    HTTPEvents events;
    events.Attach(socket);
    socket.Get(server.Url("/file"), target);
    ASSERT_TRUE(WaitUntil([&] { return events.completions > 0; })) << status;
    const std::vector<std::string> expected{"Connected", "HeadersReceived " + status.substr(0, 3), "ReceiveProgress",
                                            "DownloadComplete " + status.substr(0, 3) + " " + server.Url("/file")};
    EXPECT_EQ(events.log, expected);
    EXPECT_TRUE(events.file == target);
    EXPECT_TRUE(Contents(Path("target")) == body) << status;
    EXPECT_EQ(events.progress.back(), std::to_string(body.size()) + "/" + std::to_string(body.size()));
  }
}

// The file is emptied when the request starts, before anything is known of
// the connection, and stays empty when the connection then fails.
TEST_F(DownloadTest, TheFileIsEmptiedFirstAlsoWhenTheConnectionFails) {
  WriteFile(Path("target"), "old content");
  HTTPSocket socket;
  HTTPEvents events;
  events.Attach(socket);
  socket.Get("http://127.0.0.1:" + std::to_string(TestServer::RefusingPort()) + "/", Item("target"));
  EXPECT_TRUE(events.log.empty());
  EXPECT_EQ(Contents(Path("target")), "");
  ASSERT_TRUE(WaitUntil([&] { return events.completions > 0; }));
  EXPECT_EQ(events.log, std::vector<std::string>{"Error " + std::to_string(TCPSocket::kErrorBase)});
  EXPECT_TRUE(Item("target")->Exists());
  EXPECT_EQ(Contents(Path("target")), "");
}

// A target that can't be written stops the request before it connects.
TEST_F(DownloadTest, AnUnusableTargetIsError1WithoutAConnection) {
  ASSERT_TRUE(QDir(folder.path()).mkdir("folder"));
  TestServer server;
  for (const std::string name : {"folder", "missing/file"}) {
    HTTPSocket socket;
    HTTPEvents events;
    events.Attach(socket);
    socket.Get(server.Url("/"), Item(name));
    EXPECT_EQ(events.log, std::vector<std::string>{"Error 1"}) << name;
    EXPECT_EQ(socket.ErrorCode(), 1) << name;
  }
  WaitUntil([] { return false; }, 100);
  EXPECT_EQ(server.Connections(), 0);
}

}  // namespace
}  // namespace velmaris

// Against a server we did not write: Python's http.server on loopback.
#include <gtest/gtest.h>

#include <QProcess>
#include <QTemporaryDir>
#include <fstream>

#include "HTTPEvents.h"
#include "support/TestServer.h"

namespace velmaris {
namespace {

using testing::HTTPEvents;
using testing::TestServer;
using testing::WaitUntil;

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(EndToEndTest, DownloadFromPythonsHttpServer) {
  QTemporaryDir served;
  QTemporaryDir downloads;
  std::mt19937 random(7);
  std::string archive(6 * 1024 * 1024 + 123, '\0');
  for (char& byte : archive) byte = static_cast<char>(random());
  std::ofstream(served.filePath("Velmaris_2.1.0.dmg.zip").toStdString(), std::ios::binary) << archive;

  const uint16_t port = TestServer::RefusingPort();
  QProcess server;
  server.setStandardErrorFile(QProcess::nullDevice());
  server.start("python3",
               {"-m", "http.server", QString::number(port), "--bind", "127.0.0.1", "--directory", served.path()});
  ASSERT_TRUE(server.waitForStarted());
  const std::string url = "http://127.0.0.1:" + std::to_string(port) + "/Velmaris_2.1.0.dmg.zip";

  // Until it listens, the probe is refused.
  HTTPSocket socket;
  HTTPEvents events;
  events.Attach(socket);
  const std::string target = downloads.filePath("Velmaris_2.1.0.dmg.zip").toStdString();
  ASSERT_TRUE(WaitUntil(
      [&] {
        const int before = events.completions;
        socket.Get(url, New<FolderItem>(target, FolderItem::PathModes::Shell));
        WaitUntil([&] { return events.completions > before; });
        return events.log.back().rfind("DownloadComplete", 0) == 0;
      },
      20000));
  EXPECT_EQ(events.log.back(), "DownloadComplete 200 " + url);
  EXPECT_EQ(events.headers->Value("Content-Length"), std::to_string(archive.size()));
  EXPECT_EQ(events.progress.back(), std::to_string(archive.size()) + "/" + std::to_string(archive.size()));
  EXPECT_TRUE(Contents(target) == archive) << "the file in the event loop";

  const std::string blocking = downloads.filePath("blocking.zip").toStdString();
  EXPECT_TRUE(socket.Get(url, New<FolderItem>(blocking, FolderItem::PathModes::Shell), 0));
  EXPECT_EQ(socket.HTTPStatusCode(), 200);
  EXPECT_TRUE(Contents(blocking) == archive) << "the file of the blocking form";

  server.terminate();
  server.waitForFinished();
}

}  // namespace
}  // namespace velmaris

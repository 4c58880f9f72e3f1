// Against a server we did not write: Python's http.server on loopback.
#include <QProcess>

#include "HTTPEvents.h"

namespace velmaris::testing {
namespace {

TEST(EndToEndTest, DownloadFromPythonsHttpServer) {
  QTemporaryDir served;
  std::mt19937 random(7);
  std::string archive(6 * 1024 * 1024 + 123, '\0');
  for (char& byte : archive) byte = static_cast<char>(random());
  WriteFile(served.filePath("update.zip").toStdString(), archive);
  const uint16_t port = TestServer::RefusingPort();
  QProcess server;
  server.setStandardErrorFile(QProcess::nullDevice());
  server.start("python3",
               {"-m", "http.server", QString::number(port), "--bind", "127.0.0.1", "--directory", served.path()});
  ASSERT_TRUE(server.waitForStarted());
  const std::string url = "http://127.0.0.1:" + std::to_string(port) + "/update.zip";
  const std::string target = served.filePath("target").toStdString();

  HTTPSocket socket;
  HTTPEvents events(socket);
  // Until the server listens, the request is refused.
  ASSERT_TRUE(WaitUntil(
      [&] {
        socket.Get(url, Item(target));
        events.Await(events.completions + 1);
        return events.log.back().starts_with("DownloadComplete");
      },
      20000));
  EXPECT_EQ(events.log.back(), "DownloadComplete 200 " + url);
  EXPECT_EQ(events.progress.back(), std::to_string(archive.size()) + "/" + std::to_string(archive.size()));
  EXPECT_TRUE(ReadFile(target) == archive) << "the file of the event loop";

  EXPECT_TRUE(socket.Get(url, Item(target + "2"), 0));
  EXPECT_EQ(socket.HTTPStatusCode(), 200);
  EXPECT_TRUE(ReadFile(target + "2") == archive) << "the file of the blocking form";
  server.terminate();
  server.waitForFinished();
}

}  // namespace
}  // namespace velmaris::testing

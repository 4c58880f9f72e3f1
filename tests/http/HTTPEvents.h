#pragma once
// What the HTTP tests share: a recorder of an HTTPSocket's events in order,
// which checks on the way that every ReceiveProgress carries the running
// total, and the server's plainest script.

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <algorithm>
#include <random>

#include "http/HTTPSocket.h"
#include "support/Files.h"
#include "support/TestServer.h"

namespace velmaris::testing {

// Reads the request, sends the response whole, closes.
inline TestServer::Script Answer(const std::string& response) {
  return {TestServer::ReadRequest(), TestServer::Send(response), TestServer::Close()};
}

inline Ref<FolderItem> Item(const std::string& path) { return New<FolderItem>(path, FolderItem::PathModes::Shell); }

struct HTTPEvents {
  // One entry per event, a run of ReceiveProgress as one.
  std::vector<std::string> log;
  // PageReceived, DownloadComplete and Error.
  int completions = 0;
  // The arguments of the last events that carry them.
  std::string content;
  Ref<InternetHeaders> headers;
  // "received/total" of each ReceiveProgress of the last connection, and their blocks joined.
  std::vector<std::string> progress;
  std::string progressData;
  // The owner's answer to a challenge; none refuses it.
  std::function<bool(String& name, String& password)> answer;
  // What the test does at each ReceiveProgress, once it is recorded.
  std::function<void(HTTPSocket& sender, int64_t received, int64_t total, const String& data)> onProgress;

  explicit HTTPEvents(HTTPSocket& socket) {
    socket.Connected = [this](HTTPSocket&) {
      log.emplace_back("Connected");
      progress.clear();
      progressData.clear();
    };
    socket.Error = [this](HTTPSocket&, int64_t code) { Complete("Error " + std::to_string(code), headers); };
    socket.HeadersReceived = [this](HTTPSocket&, const Ref<InternetHeaders>& received, int64_t status) {
      log.push_back("HeadersReceived " + std::to_string(status));
      headers = received;
    };
    socket.ReceiveProgress = [this](HTTPSocket& sender, int64_t received, int64_t total, const String& data) {
      if (log.empty() || log.back() != "ReceiveProgress") log.emplace_back("ReceiveProgress");
      progressData += data;
      // A resumed download counts from where the file stood.
      const int64_t from = sender.Resumed() ? sender.ResumeFrom : 0;
      EXPECT_EQ(received, from + static_cast<int64_t>(progressData.size())) << "the running total";
      progress.push_back(std::to_string(received) + "/" + std::to_string(total));
      if (onProgress) onProgress(sender, received, total, data);
    };
    socket.PageReceived = [this](HTTPSocket&, const String& url, int64_t status, const Ref<InternetHeaders>& received,
                                 const String& page) {
      content = page;
      Complete("PageReceived " + std::to_string(status) + " " + url, received);
    };
    socket.DownloadComplete = [this](HTTPSocket&, const String& url, int64_t status,
                                     const Ref<InternetHeaders>& received, const Ref<FolderItem>&) {
      Complete("DownloadComplete " + std::to_string(status) + " " + url, received);
    };
    const auto challenge = [this](const std::string& event) {
      return
          [this, event](HTTPSocket&, const String& realm, const Ref<InternetHeaders>&, String& name, String& password) {
            log.push_back(event + " " + realm);
            return answer && answer(name, password);
          };
    };
    socket.AuthenticationRequired = challenge("AuthenticationRequired");
    socket.ProxyAuthenticationRequired = challenge("ProxyAuthenticationRequired");
  }

  // Runs the event loop until there have been this many completions, and a
  // little longer, so that an event too many would show.
  bool Await(int count = 1) {
    const bool reached = WaitUntil([&] { return completions >= count; });
    WaitUntil([] { return false; }, 50);
    return reached;
  }

 private:
  void Complete(const std::string& entry, const Ref<InternetHeaders>& received) {
    log.push_back(entry);
    headers = received;
    ++completions;
  }
};

}  // namespace velmaris::testing

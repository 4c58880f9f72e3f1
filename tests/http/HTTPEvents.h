#pragma once
// Records the events of an HTTPSocket in order, as short texts, and checks
// what every ReceiveProgress must satisfy on the way: the running total grows
// by exactly the block it carries, and the total stays the same.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "http/HTTPSocket.h"

namespace velmaris::testing {

struct HTTPEvents {
  std::vector<std::string> log;
  // The completion's arguments.
  std::string content;
  Ref<InternetHeaders> headers;
  Ref<FolderItem> file;
  int completions = 0;
  // The blocks of ReceiveProgress on the last connection, joined.
  std::string progressData;
  std::vector<std::string> progress;  // "received/total" of each
  // The answer to the authentication events: name and password, or none.
  std::function<bool(std::string& name, std::string& password)> answer;

  void Attach(HTTPSocket& socket) {
    // Each connection counts from 0 again.
    socket.Connected = [this](HTTPSocket&) {
      log.emplace_back("Connected");
      progressData.clear();
      progress.clear();
    };
    socket.Error = [this](HTTPSocket&, int64_t code) {
      log.push_back("Error " + std::to_string(code));
      ++completions;
    };
    socket.HeadersReceived = [this](HTTPSocket&, const Ref<InternetHeaders>& received, int64_t status) {
      log.push_back("HeadersReceived " + std::to_string(status));
      headers = received;
    };
    socket.ReceiveProgress = [this](HTTPSocket&, int64_t received, int64_t total, const String& data) {
      if (log.empty() || log.back() != "ReceiveProgress") log.emplace_back("ReceiveProgress");
      EXPECT_EQ(received, static_cast<int64_t>(progressData.size() + data.size())) << "running total";
      progressData += data;
      progress.push_back(std::to_string(received) + "/" + std::to_string(total));
    };
    socket.PageReceived = [this](HTTPSocket&, const String& url, int64_t status, const Ref<InternetHeaders>& received,
                                 const String& page) {
      log.push_back("PageReceived " + std::to_string(status) + " " + url);
      content = page;
      headers = received;
      ++completions;
    };
    socket.DownloadComplete = [this](HTTPSocket&, const String& url, int64_t status,
                                     const Ref<InternetHeaders>& received, const Ref<FolderItem>& target) {
      log.push_back("DownloadComplete " + std::to_string(status) + " " + url);
      headers = received;
      file = target;
      ++completions;
    };
    socket.AuthenticationRequired = [this](HTTPSocket&, const String& realm, const Ref<InternetHeaders>&, String& name,
                                           String& password) {
      log.push_back("AuthenticationRequired " + realm);
      return answer && answer(name, password);
    };
    socket.ProxyAuthenticationRequired = [this](HTTPSocket&, const String& realm, const Ref<InternetHeaders>&,
                                                String& name, String& password) {
      log.push_back("ProxyAuthenticationRequired " + realm);
      return answer && answer(name, password);
    };
  }
};

}  // namespace velmaris::testing

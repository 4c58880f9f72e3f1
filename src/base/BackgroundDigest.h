#pragma once
// The BLAKE2b-512 of a download, taken on a thread of its own: hashing
// (about 1.2 s a GiB here) runs beside the reads of the download instead of
// between them, which costs the thread that reads only a copy of each block.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "base/Minisign.h"

namespace velmaris {

class BackgroundDigest {
 public:
  BackgroundDigest();
  // Waits for the thread, which drops what is still pending.
  ~BackgroundDigest();
  BackgroundDigest(const BackgroundDigest&) = delete;
  BackgroundDigest& operator=(const BackgroundDigest&) = delete;

  // Feeds the bytes, after all fed before. Waits while more than
  // kMostPending bytes wait to be hashed, so that memory stays flat when
  // the network outruns the hash.
  void Update(std::string bytes);
  // Feeds the first count bytes of the file at path, read on the thread:
  // what a resumed download already holds. A file shorter than that makes
  // the digest that of no whole download, so a check of it fails.
  void UpdateFromFile(const std::string& path, int64_t count);
  // The 64 bytes of the digest of all that was fed, once it is all hashed.
  std::string Digest();

  static constexpr size_t kMostPending = size_t{8} * 1024 * 1024;

 private:
  struct Job {
    std::string bytes;
    std::string path;  // not empty: the first count bytes of this file
    int64_t count = 0;
  };

  void Run();

  Blake2b512 mDigest;
  std::mutex mMutex;
  std::condition_variable mChanged;
  std::deque<Job> mJobs;
  size_t mPending = 0;
  bool mBusy = false;
  bool mEnding = false;
  std::thread mThread;
};

}  // namespace velmaris

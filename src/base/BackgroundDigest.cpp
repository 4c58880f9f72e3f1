#include "base/BackgroundDigest.h"

#include <algorithm>
#include <fstream>

namespace velmaris {

BackgroundDigest::BackgroundDigest() : mThread([this] { Run(); }) {}

BackgroundDigest::~BackgroundDigest() {
  {
    const std::lock_guard lock(mMutex);
    mEnding = true;
  }
  mChanged.notify_all();
  mThread.join();
}

void BackgroundDigest::Update(std::string bytes) {
  std::unique_lock lock(mMutex);
  mChanged.wait(lock, [this] { return mPending <= kMostPending; });
  mPending += bytes.size();
  mJobs.push_back({std::move(bytes), {}, 0});
  mChanged.notify_all();
}

void BackgroundDigest::UpdateFromFile(const std::string& path, int64_t count) {
  const std::lock_guard lock(mMutex);
  mJobs.push_back({{}, path, count});
  mChanged.notify_all();
}

std::string BackgroundDigest::Digest() {
  std::unique_lock lock(mMutex);
  mChanged.wait(lock, [this] { return mJobs.empty() && !mBusy; });
  return mDigest.Digest();
}

void BackgroundDigest::Run() {
  std::unique_lock lock(mMutex);
  while (true) {
    mChanged.wait(lock, [this] { return mEnding || !mJobs.empty(); });
    if (mEnding) return;
    Job job = std::move(mJobs.front());
    mJobs.pop_front();
    mBusy = true;
    lock.unlock();
    if (job.path.empty()) {
      mDigest.Update(job.bytes);
    } else {
      std::ifstream file(job.path, std::ios::binary);
      std::string block(size_t{1} << 20, '\0');
      for (int64_t left = job.count; left > 0 && file;) {
        file.read(block.data(), static_cast<std::streamsize>(std::min<int64_t>(left, std::ssize(block))));
        mDigest.Update(std::string_view(block).substr(0, static_cast<size_t>(file.gcount())));
        left -= file.gcount();
      }
    }
    lock.lock();
    mBusy = false;
    mPending -= job.bytes.size();
    mChanged.notify_all();
  }
}

}  // namespace velmaris

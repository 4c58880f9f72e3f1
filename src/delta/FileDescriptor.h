#pragma once
// The sole owner of an open file descriptor, closed at the end of its life.

#include <unistd.h>

#include <utility>

namespace velmaris {

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd = -1) : mFd(fd) {}
  ~FileDescriptor() {
    if (mFd >= 0) ::close(mFd);
  }
  FileDescriptor(FileDescriptor&& other) noexcept : mFd(std::exchange(other.mFd, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(mFd, other.mFd);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int Get() const { return mFd; }
  bool Valid() const { return mFd >= 0; }

 private:
  int mFd;
};

}  // namespace velmaris

#include "base/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QByteArray>
#include <QDir>
#include <QStandardPaths>
#include <cerrno>

namespace velmaris {

namespace {

// A folder of this user's that no one else can write into, and no link.
bool FolderOfTheUser(const QByteArray& path) {
  struct stat status {};
  return path.startsWith('/') && lstat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode) &&
         status.st_uid == getuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Where only the user writes: the session's runtime folder, else a folder
// of the tool's own in the user's cache folder, made for the user alone. A
// shared folder such as /tmp would let another user hold the lock, or plant
// a link in its place. Empty when there is no such place.
QByteArray LockFolder() {
  QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
  if (FolderOfTheUser(runtime)) return runtime;
  const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
  if (!QDir::isAbsolutePath(cache) || !QDir().mkpath(cache)) return {};
  const QByteArray own = QFile::encodeName(cache + QStringLiteral("/VelmarisMAJ"));
  mkdir(own.constData(), 0700);
  return FolderOfTheUser(own) ? own : QByteArray();
}

}  // namespace

InstanceLock::InstanceLock(const std::string& name) {
  const QByteArray folder = LockFolder();
  // Not inherited by the commands the run starts: an application that they
  // open would otherwise hold the lock after this run has ended.
  if (!folder.isEmpty()) {
    const QByteArray path = folder + "/VelmarisMAJ-" + QByteArray::fromStdString(name) + ".lock";
    mDescriptor = open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  }
  if (mDescriptor < 0) {
    mHeld = true;
    return;
  }
  int result = 0;
  do {
    result = flock(mDescriptor, LOCK_EX | LOCK_NB);
  } while (result != 0 && errno == EINTR);
  mHeld = result == 0 || errno != EWOULDBLOCK;
}

InstanceLock::~InstanceLock() {
  if (mDescriptor >= 0) close(mDescriptor);
}

}  // namespace velmaris

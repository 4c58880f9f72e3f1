#include "base/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <QDir>
#include <cerrno>

namespace velmaris {

namespace {

// One file per user and name in the temporary folder, named by a digest so
// that any name makes a file name.
QString LockPath(const std::string& name) {
  const QByteArray digest =
      QCryptographicHash::hash(QByteArray::fromStdString(name), QCryptographicHash::Sha256).toHex().left(24);
  return QDir::tempPath() + QStringLiteral("/VelmarisMAJ-%1-%2.lock").arg(getuid()).arg(QString::fromLatin1(digest));
}

}  // namespace

InstanceLock::InstanceLock(const std::string& name) {
  // Not inherited by the commands the run starts: an application that they
  // open would otherwise hold the lock after this run has ended.
  mDescriptor = open(QFile::encodeName(LockPath(name)).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
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

#include "base/SQLiteFile.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <fstream>
#include <memory>

namespace velmaris {

namespace {

constexpr char kHeader[] = "SQLite format 3";  // and its NUL: 16 bytes

struct Close {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
using Database = std::unique_ptr<sqlite3, Close>;

// A path as an SQLite URI: the characters that a URI gives a meaning of its own are escaped.
String URIPath(const String& path) {
  String uri = "file:";
  for (const char c : path) {
    if (c == '%' || c == '?' || c == '#') {
      constexpr const char* kDigits = "0123456789ABCDEF";
      uri += '%';
      uri += kDigits[static_cast<unsigned char>(c) >> 4];
      uri += kDigits[static_cast<unsigned char>(c) & 15];
    } else {
      uri += c;
    }
  }
  return uri;
}

}  // namespace

String SQLiteDatabaseDefect(const String& path) {
  String header(sizeof kHeader, '\0');
  std::ifstream file(path, std::ios::binary);
  if (!file.read(header.data(), static_cast<std::streamsize>(header.size())) ||
      header != String(kHeader, sizeof kHeader)) {
    return "it does not begin as an SQLite database does";
  }
  // Immutable: SQLite neither locks the file nor looks for side files, so
  // the check leaves nothing beside it.
  sqlite3* opened = nullptr;
  const int status = sqlite3_open_v2((URIPath(path) + "?immutable=1").c_str(), &opened,
                                     SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
  const Database database(opened);
  if (status != SQLITE_OK) return String("SQLite can't open it: ") + sqlite3_errstr(status);
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database.get(), "PRAGMA quick_check", -1, &statement, nullptr) != SQLITE_OK) {
    return String("SQLite can't read it: ") + sqlite3_errmsg(database.get());
  }
  String verdict;
  const int step = sqlite3_step(statement);
  if (step == SQLITE_ROW) {
    const unsigned char* text = sqlite3_column_text(statement, 0);
    verdict = text != nullptr ? reinterpret_cast<const char*>(text) : "";
  } else {
    verdict = sqlite3_errmsg(database.get());
  }
  sqlite3_finalize(statement);
  return verdict == "ok" ? "" : "SQLite's check finds: " + verdict;
}

namespace {

// Whether another process holds a lock on that byte of the file, asked of
// the system without taking one, so that nothing is written.
bool ByteLocked(const String& path, off_t offset) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (descriptor < 0) return false;
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = offset;
  lock.l_len = 1;
  const bool locked = fcntl(descriptor, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  close(descriptor);
  return locked;
}

}  // namespace

// SQLite's own locks, read where its Unix file layer puts them: a writer
// holds the reserved byte of the database in rollback mode, and the write
// byte of the shared-memory file in WAL mode. Opening the database through
// SQLite instead would roll a hot journal back or write the shared-memory
// file, changing the live files before they are kept.
bool SQLiteWriteInProgress(const String& path) {
  constexpr off_t kPendingByte = 0x40000000;
  constexpr off_t kReservedByte = kPendingByte + 1;
  constexpr off_t kWALWriteByte = 120;
  return ByteLocked(path, kPendingByte) || ByteLocked(path, kReservedByte) || ByteLocked(path + "-shm", kWALWriteByte);
}

}  // namespace velmaris

#pragma once
// What the database job asks of SQLite's files, through libsqlite3.

#include "base/StringFunctions.h"

namespace velmaris {

// Why the file is not a whole SQLite database, or "" when it is: its header
// first, then SQLite's own quick check, on the file alone, which is not
// changed.
String SQLiteDatabaseDefect(const String& path);

// True while another process holds a write transaction on the database at
// that path; false when there is none, or no database. Nothing is written.
bool SQLiteWriteInProgress(const String& path);

}  // namespace velmaris

#pragma once
// The update log: one line per step of every run, appended to a file of the
// user's, so that a failure can be explained after the window is gone. The
// tool is started by the application, and its stderr goes nowhere.

#include "base/StringFunctions.h"

namespace velmaris {

// From now on LogStep writes to the user's log file: ~/Library/Logs on
// macOS, elsewhere $XDG_STATE_HOME/Velmaris (~/.local/state/Velmaris). The
// start-up calls it; a process that doesn't writes no log.
void OpenUpdateLog();

// Appends "<local time, ISO 8601> [<process id>] <step>" as one line,
// written whole in one append, so that two runs never mix within a line.
// Past 1 MiB the log first moves to "<log>.1", replacing the one there. A
// log that can't be written is left aside: nothing fails or waits for it.
void LogStep(const String& step);

// The log's path; "" while no log is open.
String UpdateLogPath();

}  // namespace velmaris

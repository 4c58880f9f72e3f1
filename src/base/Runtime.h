#pragma once
// The run's end and the exception road at the event loop's boundary.

#include <cstdint>
#include <functional>

#include "base/Exceptions.h"

namespace velmaris {

// Ends the run with that exit code: records the code, asks the event loop to
// exit and raises EndException, so that no step behind it runs.
[[noreturn]] void Quit(int64_t code);

// True from the first Quit (or unhandled exception) on.
bool RunIsEnding();
// The code given to Quit; 0 when none was given.
int64_t RunExitCode();
// Back to a run that is not ending (tests run many "runs" in one process).
void ResetRunState();

// Runs the application's event loop once: the events that are pending, no waiting.
void DoEvents();

// Every call from the event loop into the logic goes through here:
// EndException and ThreadEndException end silently, any other exception is
// reported by UnhandledException, and nothing escapes into the event loop.
void _CallFunctionWithExceptionHandling(const std::function<void()>& function);

// False on Qt's offscreen and minimal platforms, where nothing is shown:
// there dialogs and the window's status become stderr lines.
bool HasDisplay();

// Reports an exception that no code handled (stderr, and a dialog where
// there is a display), then ends the run.
void UnhandledException(const RuntimeException& error);

}  // namespace velmaris

#pragma once
// The signals by which the system or a terminal ends a program: SIGTERM (a
// logout, a shutdown, kill), SIGINT (Ctrl+C) and SIGHUP (the terminal gone).

#include <functional>

namespace velmaris {

// From now on these signals no longer end the process at once: each one
// runs the action from the event loop, under the exception road, as a menu
// item would. Needs the application's event loop to exist.
void CatchEndSignals(std::function<void()> action);

}  // namespace velmaris

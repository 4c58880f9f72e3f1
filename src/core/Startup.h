#pragma once
// Start-up and end of the process, in the order the runtime runs them:
// main: RuntimeInit, RuntimePerformInitializers, _Main, RuntimePerformFinalizers, RuntimeExit.
// _Main: _RuntimeSetExceptionHelper, _EarlyStartup, _RunFrameworkInitialization(_LateStartup), _RuntimeRun.

namespace velmaris {

// The process entry; the result is the exit status, 0 on every road.
int main(int argc, char** argv);

void _Main();
void _EarlyStartup();
void _InitFileTypes();
void _NewAppInstance();
void _ApplicationAddMenuHandlers();
void _LateStartup();
void _MakeDefaultView();

}  // namespace velmaris

// Ctrl-C, SIGTERM and SIGHUP: the handler only records the signal; reading,
// compositing and writing look at it between rows and stop with the exit code
// a shell expects (128 + the signal). A second signal ends the process at
// once, after removing the temporary output file.
#pragma once

#include <string>

namespace vxtool {

void InstallInterruptHandler();
bool Interrupted();
// 130 for SIGINT, 143 for SIGTERM, 129 for SIGHUP.
int InterruptExitCode();
// Throws a ToolError "interrupted while STAGE" once a signal has come.
void ThrowIfInterrupted(const std::string& stage);

// The temporary file a second signal removes before exiting; null for none.
void SetTemporaryFile(const char* path);

// A test hook: with VX_TOOL_PAUSE_AT=STAGE in the environment, the first
// call for that stage says "vx: paused while STAGE" on standard error and
// waits (at most ten seconds) for a signal, so a test can interrupt exactly
// that stage.
void PauseForTest(const char* stage);

}  // namespace vxtool

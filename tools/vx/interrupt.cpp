#include "Interrupt.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "ToolError.h"

namespace vxtool {
namespace {

std::atomic<int> g_signal{0};
// Written before a temporary file exists and cleared after it is renamed or
// removed; the handler only reads it.
char g_temporary[4096];
std::atomic<bool> g_has_temporary{false};

void OnSignal(int signal) {
  int expected = 0;
  if (g_signal.compare_exchange_strong(expected, signal)) return;
  // A second signal: the user won't wait for the next row.
  if (g_has_temporary.load()) unlink(g_temporary);
  _exit(128 + expected);
}

}  // namespace

void InstallInterruptHandler() {
  struct sigaction action {};
  action.sa_handler = OnSignal;
  sigemptyset(&action.sa_mask);
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

bool Interrupted() { return g_signal.load(std::memory_order_relaxed) != 0; }

int InterruptExitCode() {
  const int signal = g_signal.load();
  return signal ? 128 + signal : kInterruptedExit;
}

void ThrowIfInterrupted(const std::string& stage) {
  if (Interrupted()) throw ToolError("interrupted while " + stage, InterruptExitCode());
}

void SetTemporaryFile(const char* path) {
  g_has_temporary = false;
  if (!path || std::strlen(path) >= sizeof g_temporary) return;
  std::strcpy(g_temporary, path);
  g_has_temporary = true;
}

void PauseForTest(const char* stage) {
  static const char* wanted = std::getenv("VX_TOOL_PAUSE_AT");
  static bool paused = false;
  if (!wanted || paused || std::strcmp(wanted, stage) != 0) return;
  paused = true;
  const std::string line = std::string("vx: paused while ") + stage + "\n";
  if (write(STDERR_FILENO, line.data(), line.size()) < 0) return;
  for (int i = 0; i < 10000 && !Interrupted(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace vxtool

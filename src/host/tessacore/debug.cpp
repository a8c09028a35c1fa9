// Trace channels and assertions.
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <map>
#include <mutex>
#include <string>

#include "vxhost/KU.h"
#include "vxhost/tessacore.h"

namespace tessacore::debug {

namespace {

struct Channels {
  std::mutex lock;
  std::map<std::string, int> levels;
  TraceSink sink = nullptr;
  void* refcon = nullptr;
  bool break_on_assert = false;
};
Channels& TheChannels() {
  static auto* channels = new Channels;  // outlives the static destructors of clients
  return *channels;
}
std::atomic<uint32_t> g_change_count{0};

}  // namespace

bool TraceEnabled(const char* channel, int level) {
  if (!channel) return false;
  Channels& c = TheChannels();
  std::lock_guard<std::mutex> guard(c.lock);
  auto it = c.levels.find(channel);
  return it != c.levels.end() && it->second >= level;
}

uint32_t TraceChangeCount() { return g_change_count.load(); }

void SetTraceLevel(const char* channel, int level) {
  if (!channel) return;
  Channels& c = TheChannels();
  {
    std::lock_guard<std::mutex> guard(c.lock);
    if (level > 0)
      c.levels[channel] = level;
    else
      c.levels.erase(channel);
  }
  ++g_change_count;
}

void SetTraceSink(TraceSink sink, void* refcon) {
  Channels& c = TheChannels();
  std::lock_guard<std::mutex> guard(c.lock);
  c.sink = sink;
  c.refcon = refcon;
}

void Trace(const std::string& line) {
  Channels& c = TheChannels();
  TraceSink sink;
  void* refcon;
  {
    std::lock_guard<std::mutex> guard(c.lock);
    sink = c.sink;
    refcon = c.refcon;
  }
  if (sink)
    sink(line, refcon);
  else
    std::fprintf(stderr, "%s\n", line.c_str());
}

uint64_t CurrentThreadId() { return static_cast<uint64_t>(::syscall(SYS_gettid)); }

bool IsDebuggerAttached() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("TracerPid:", 0) == 0) return std::stol(line.substr(10)) != 0;
  return false;
}

void SetBreakOnAssert(bool allowed) {
  Channels& c = TheChannels();
  std::lock_guard<std::mutex> guard(c.lock);
  c.break_on_assert = allowed;
}

bool BreakAfterAssertDialog(const char* message, const char* function, const char* file, int line,
                            const char* expression) {
  std::string text = std::string("Assertion failed: ") + (message ? message : "") + " (" +
                     (expression ? expression : "") + ") in " + (function ? function : "?") + ", " +
                     (file ? file : "?");
  KU_ReportFailedVerification(0, line, 0, text.c_str());
  bool allowed;
  {
    Channels& c = TheChannels();
    std::lock_guard<std::mutex> guard(c.lock);
    allowed = c.break_on_assert;
  }
  return allowed && IsDebuggerAttached();
}

}  // namespace tessacore::debug

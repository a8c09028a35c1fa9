// The tool as a child process the test controls: extra environment, a
// signal sent once the child says a given line, the time from that signal
// to its exit, and its peak memory through vx_peak_rss.
#pragma once

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace vxtest {

struct ChildResult {
  int exit_code = -1;  // 128 + signal when the child was killed
  std::string out;     // standard output and error together
  double seconds_after_signal = -1;
};

// Runs `program` with `arguments`; when `wait_for` is not empty, sends
// `signal` once that text appears in the output (or gives up after 20 s).
inline ChildResult RunChild(const std::string& program, const std::vector<std::string>& arguments,
                            const std::vector<std::string>& environment = {}, const std::string& wait_for = "",
                            int signal = 0) {
  ChildResult result;
  // Everything the child needs is made before fork: the test has threads.
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (char** e = environ; *e; ++e) envp.push_back(*e);
  for (const std::string& e : environment) envp.push_back(const_cast<char*>(e.c_str()));
  envp.push_back(nullptr);
  int pipe_fds[2];
  if (pipe(pipe_fds) != 0) return result;
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(pipe_fds[1], STDOUT_FILENO);
    dup2(pipe_fds[1], STDERR_FILENO);
    close(pipe_fds[0]);
    close(pipe_fds[1]);
    execve(program.c_str(), argv.data(), envp.data());
    _exit(127);
  }
  close(pipe_fds[1]);
  if (pid < 0) {
    close(pipe_fds[0]);
    return result;
  }
  bool signalled = wait_for.empty();
  std::chrono::steady_clock::time_point sent;
  const auto start = std::chrono::steady_clock::now();
  char buffer[4096];
  for (;;) {
    pollfd p{pipe_fds[0], POLLIN, 0};
    if (poll(&p, 1, 100) > 0) {
      const ssize_t n = read(pipe_fds[0], buffer, sizeof buffer);
      if (n <= 0) break;
      result.out.append(buffer, static_cast<size_t>(n));
    }
    if (!signalled && (result.out.find(wait_for) != std::string::npos ||
                       std::chrono::steady_clock::now() - start > std::chrono::seconds(20))) {
      sent = std::chrono::steady_clock::now();
      kill(pid, signal);
      signalled = true;
    }
  }
  close(pipe_fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  if (!wait_for.empty())
    result.seconds_after_signal = std::chrono::duration<double>(std::chrono::steady_clock::now() - sent).count();
  result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

struct PeakResult {
  int exit_code = -1;
  long peak_kib = -1;
  std::string out;
};

// The tool's exit code and peak resident size, measured by a small process
// of its own.
inline PeakResult RunToolForPeak(const std::vector<std::string>& arguments) {
  std::vector<std::string> all{VX_TOOL_PATH};
  all.insert(all.end(), arguments.begin(), arguments.end());
  ChildResult r = RunChild(VX_PEAK_RSS_PATH, all);
  PeakResult peak;
  peak.out = r.out;
  const size_t at = r.out.rfind("exit ");
  if (at != std::string::npos) std::sscanf(r.out.c_str() + at, "exit %d peak %ld", &peak.exit_code, &peak.peak_kib);
  peak.out.resize(at == std::string::npos ? peak.out.size() : at);
  return peak;
}

inline std::string TestData(const std::string& relative) {
  const char* dir = std::getenv("VX_TEST_DATA");
  return std::string(dir ? dir : VX_TEST_DATA_DIR) + "/" + relative;
}

}  // namespace vxtest

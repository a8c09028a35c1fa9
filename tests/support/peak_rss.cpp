// vx_peak_rss COMMAND [ARGS...]: runs the command and prints its exit status
// and its peak resident size in KiB ("exit 1 peak 13900"). A small process
// of its own, because a child's peak includes what it inherited at fork.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const pid_t pid = fork();
  if (pid < 0) return 2;
  if (pid == 0) {
    execv(argv[1], argv + 1);
    _exit(127);
  }
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return 2;
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  std::printf("exit %d peak %ld\n", WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
              usage.ru_maxrss);
  return 0;
}

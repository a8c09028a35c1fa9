// Failures of the tool: one clear line for the user, and the exit code.
#pragma once

#include <stdexcept>
#include <string>

namespace vxtool {

class ToolError : public std::runtime_error {
 public:
  explicit ToolError(const std::string& message, int exit_code = 1)
      : std::runtime_error(message), exit_code_(exit_code) {}
  int exit_code() const { return exit_code_; }

 private:
  int exit_code_;
};

// Exit code of a run stopped by Ctrl-C, as shells report a SIGINT.
constexpr int kInterruptedExit = 130;

// Throws a ToolError naming what failed when a package call returns non-zero.
void Check(int32_t err, const std::string& what);

}  // namespace vxtool

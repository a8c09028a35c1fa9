// Running the vx tool from tests: a scratch folder, the command's exit code
// and its standard output and error.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace vxtest {

struct ToolResult {
  int exit_code;
  std::string out;  // standard output and error together
};

inline ToolResult RunTool(const std::string& arguments) {
  const std::string command = std::string(VX_TOOL_PATH) + " " + arguments + " 2>&1";
  ToolResult result{-1, {}};
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return result;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) result.out.append(buffer, n);
  const int status = pclose(pipe);
  result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

// A fresh folder under the system's temporary folder, removed at the end.
class ScratchDir {
 public:
  ScratchDir() {
    path_ = std::filesystem::temp_directory_path() / ("vx-test-" + std::to_string(::getpid()) + "-" +
                                                       std::to_string(counter_++));
    std::filesystem::create_directories(path_);
  }
  ~ScratchDir() { std::filesystem::remove_all(path_); }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  static inline int counter_ = 0;
};

}  // namespace vxtest

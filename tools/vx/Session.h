// The tool as a host: version checks, start-up, the worker pool installed as
// the generic iterator, the module scan (VX_MODULE_PATH), and shut-down.
#pragma once

#include <string>

namespace vxtool {

class Session {
 public:
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
};

// The text of the newest report the package made since the last call, or "".
std::string TakeLastReport();

}  // namespace vxtool

// What both drivers share: the package started once, and a limit on image
// bytes small enough that no input can make a run slow.
#pragma once

#include <cstdint>

#include "Image.h"
#include "Session.h"
#include "ToolError.h"

namespace vxfuzz {

inline void Start() {
  static vxtool::Session session;
  vxtool::SetImageByteLimit(uint64_t(64) << 20);
}

}  // namespace vxfuzz

// The worker count the host reports to its libraries.
#include <atomic>

#include "vxhost/KU.h"

namespace {
std::atomic<int32_t> g_threads{1};
}

KU_Err KU_GetNumThreads(int32_t* count) {
  if (!count) return 3;
  *count = g_threads.load();
  return 0;
}

void KU_SetNumThreads(int32_t count) { g_threads.store(count < 1 ? 1 : count); }

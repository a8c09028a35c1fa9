// The allocation-failure switch for the length of a scope: allocations from
// the n-th on fail until the scope ends, whatever the test does meanwhile.
#pragma once

#include "vxhost/KU.h"

namespace vxtest {

struct FailAllocationsScope {
  explicit FailAllocationsScope(long n) { KU_FailAllocationsAfter(n); }
  ~FailAllocationsScope() { KU_FailAllocationsAfter(-1); }
  FailAllocationsScope(const FailAllocationsScope&) = delete;
  FailAllocationsScope& operator=(const FailAllocationsScope&) = delete;
};

}  // namespace vxtest

// A stand-in host for the thread runner: a basic suite whose "VX Iterate8
// Suite" runs the once-per-processor iterate for a chosen number of threads,
// either serially on the calling thread (thread 0 first, so results don't
// depend on timing) or on the host's real worker pool.
#pragma once

#include <cstring>

#include "vx/Suites.h"
#include "vx/opticalflow/MultiProcess.h"
#include "vxhost/ADDN.h"
#include "vxhost/Workers.h"

namespace flowtest {

enum class Runner { Serial, Pool, NoGeneric, Missing };

class ScopedHost {
 public:
  ScopedHost(Runner runner, int threads) {
    current() = this;
    runner_ = runner;
    threads_ = threads;
    suite_.iterate_generic = runner == Runner::Serial ? &Serial
                             : runner == Runner::Pool ? reinterpret_cast<VX_IterateGenericProc>(&HOST_IterateGeneric)
                                                      : nullptr;
    if (runner == Runner::Pool) HOST_StartWorkers(threads);
    basic_ = ADDN_HBBasicSuite{&Acquire, &Release, nullptr, nullptr};
    FnMultiProcessor::setBasicSuite(&basic_);
  }
  ~ScopedHost() {
    FnMultiProcessor::setBasicSuite(nullptr);
    if (runner_ == Runner::Pool) HOST_StopWorkers();
    current() = nullptr;
  }
  ScopedHost(const ScopedHost&) = delete;
  ScopedHost& operator=(const ScopedHost&) = delete;

  int acquired = 0, released = 0;

 private:
  static ScopedHost*& current() {
    static ScopedHost* host = nullptr;
    return host;
  }
  static VX_Err Serial(int32_t iterations, void* refcon, VX_IterateGenericFunc func) {
    const int32_t n = current()->threads_;
    if (iterations != -1) return 3;
    for (int32_t t = 0; t < n; ++t)
      if (VX_Err r = func(refcon, t, t, n)) return r;
    return 0;
  }
  static KU_Err Acquire(const char* name, int32_t version, const void** suite) {
    *suite = nullptr;
    ScopedHost* h = current();
    if (h->runner_ == Runner::Missing || std::strcmp(name, VX_kIterate8Suite) != 0 || version != 1)
      return ADDN_kErrNoSuchSuite;
    ++h->acquired;
    *suite = &h->suite_;
    return 0;
  }
  static KU_Err Release(const char*, int32_t) {
    ++current()->released;
    return 0;
  }

  Runner runner_;
  int threads_;
  VX_Iterate8Suite1 suite_{};
  ADDN_HBBasicSuite basic_{};
};

}  // namespace flowtest

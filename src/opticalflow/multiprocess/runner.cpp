// The thread runner: borrows the host's processors through the generic
// iterate of the "VX Iterate8 Suite", and the interrupt test.
#include <algorithm>
#include <atomic>
#include <new>
#include <sstream>

#include "vx/Suites.h"
#include "vx/opticalflow/MultiProcess.h"
#include "vxhost/ADDN.h"
#include "vxhost/tessacore.h"

namespace {

constexpr const char* kSourcePath = "opticalflow/src/multiprocess";

std::atomic<int32_t> g_threadCount{-1};
std::atomic<int32_t> g_runDepth{0};
std::atomic<int32_t> g_outOfMemory{0};
std::atomic<bool> g_assertOff{false};
std::atomic<const ADDN_HBBasicSuite*> g_basicSuite{nullptr};

void Assertion(const char* message, const char* function, int line, const char* expression) {
  std::ostringstream text;
  text << message;
  if (tessacore::debug::BreakAfterAssertDialog(text.str().c_str(), function, kSourcePath, line, expression) &&
      tessacore::debug::IsDebuggerAttached())
    __builtin_trap();
}

// The suite for the length of one use; a missing one is reported and thrown.
class IterateSuite {
 public:
  IterateSuite() : basic_(FnMultiProcessor::basicSuite()) {
    const void* table = nullptr;
    if (basic_ && basic_->AcquireSuite(VX_kIterate8Suite, 1, &table) == 0) acquired_ = true;
    suite_ = static_cast<const VX_Iterate8Suite1*>(table);
    if (!suite_) {
      release();
      Assertion("Missing suite in Zephon-related code.", "MissingSuiteError<struct VX_Iterate8Suite1>::operator ()",
                141, "false");
      throw FnMissingSuiteError;
    }
  }
  ~IterateSuite() { release(); }
  IterateSuite(const IterateSuite&) = delete;
  IterateSuite& operator=(const IterateSuite&) = delete;
  VX_IterateGenericProc generic() const { return suite_->iterate_generic; }

 private:
  void release() {
    if (acquired_) basic_->ReleaseSuite(VX_kIterate8Suite, 1);
    acquired_ = false;
  }
  const ADDN_HBBasicSuite* basic_;
  const VX_Iterate8Suite1* suite_ = nullptr;
  bool acquired_ = false;
};

VX_Err StoreTotal(void* refcon, int32_t threadIndex, int32_t, int32_t iterations) {
  if (threadIndex == 0) *static_cast<int32_t*>(refcon) = iterations;
  return 0;
}

// Runs one thread's share of a job. Out of memory in a worker is caught here
// and turned into 516 for the whole run.
VX_Err RunThread(void* refcon, int32_t threadIndex, int32_t, int32_t) {
  const auto* job = static_cast<const FnJob*>(refcon);
  try {
    job->function(job->args, job->argumentCount, threadIndex);
  } catch (const std::bad_alloc&) {
    g_outOfMemory.store(1);
    if (!g_assertOff.load()) Assertion("Out of memory in Zephon optical flow library.", "RunThread", __LINE__, "false");
  }
  return g_outOfMemory.load() ? 516 : 0;
}

}  // namespace

FnBand FnThreadBand(int32_t first, int32_t end, int32_t threads, int32_t index) {
  const int32_t n = end - first;
  if (n <= 0 || threads < 1 || index < 0 || index >= threads) return {first, first};
  const int32_t k = (n + threads - 1) / threads;
  const int64_t b = int64_t(index) * k;
  if (b >= n) return {end, end};
  const int32_t e = (index == threads - 1) ? n : static_cast<int32_t>(std::min<int64_t>(b + k, n));
  return {first + static_cast<int32_t>(b), first + e};
}

void FnMultiProcessor::setBasicSuite(const ADDN_HBBasicSuite* suite) {
  if (g_basicSuite.exchange(suite) != suite) g_threadCount.store(-1);
}

const ADDN_HBBasicSuite* FnMultiProcessor::basicSuite() {
  const ADDN_HBBasicSuite* s = g_basicSuite.load();
  return s ? s : ADDN_GetHBBasicSuite();
}

int32_t FnMultiProcessor::getThreadCount() {
  int32_t count = g_threadCount.load();
  if (count != -1) return count;
  count = 1;
  {
    IterateSuite suite;
    if (VX_IterateGenericProc generic = suite.generic()) {
      int32_t total = 1;
      if (generic(-1, &total, StoreTotal) == 0 && total > 0) count = total;
    }
  }
  g_threadCount.store(count);
  return count;
}

bool FnMultiProcessor::runOnAllThreads(FnThreadFunction function, int32_t argumentCount, const uint64_t* args) {
  FnJob job;
  job.function = function;
  job.argumentCount = argumentCount < 0 ? 0 : (argumentCount > 6 ? 6 : argumentCount);
  for (int32_t i = 0; i < job.argumentCount; ++i) job.args[i] = args[i];
  getThreadCount();
  g_runDepth.store(1);
  g_outOfMemory.store(0);
  VX_Err result = 0;
  {
    IterateSuite suite;
    if (VX_IterateGenericProc generic = suite.generic())
      result = generic(-1, &job, RunThread);
    else
      result = RunThread(&job, 0, 0, 1);
  }
  g_runDepth.store(0);
  return result == 0;
}

int32_t FnMultiProcessor::testInterrupt(FnInterruptRecord* record, int32_t threadIndex) {
  if (!record) return 0;
  std::atomic_ref<int32_t> error(record->error);
  if (threadIndex != 0) return error.load(std::memory_order_relaxed);
  if (std::atomic_ref<int32_t>(record->aborted).load(std::memory_order_relaxed)) return error.load();
  if (!record->abortFunction) return error.load(std::memory_order_relaxed);
  return callAbortFunction(record);
}

int32_t FnMultiProcessor::callAbortFunction(FnInterruptRecord* record) {
  if (!record || !record->abortFunction) return 0;
  FnGlobalLockGuard guard;
  const int32_t result = record->abortFunction(record->refcon);
  std::atomic_ref<int32_t>(record->error).store(result, std::memory_order_relaxed);
  if (result) std::atomic_ref<int32_t>(record->aborted).store(1, std::memory_order_relaxed);
  return result;
}

void FnMultiProcessor::setAssertOff(bool off) { g_assertOff.store(off); }
bool FnMultiProcessor::outOfMemory() { return g_outOfMemory.load() != 0; }
int32_t FnMultiProcessor::runDepth() { return g_runDepth.load(); }

bool FnInteruptable::interrupted(int32_t threadIndex) const {
  return FnMultiProcessor::testInterrupt(interrupt, threadIndex) != 0;
}

void FnInteruptable::abortWith(int32_t error) const {
  if (!interrupt) return;
  std::atomic_ref<int32_t>(interrupt->error).store(error, std::memory_order_relaxed);
  std::atomic_ref<int32_t>(interrupt->aborted).store(1, std::memory_order_relaxed);
}

namespace {

void RunPassRows(const uint64_t* args, int32_t, int32_t threadIndex) {
  reinterpret_cast<FnMultiProcessor*>(args[0])->processRows(threadIndex);
}

}  // namespace

void FnMultiProcessor::runPasses() {
  for (pass = 0; pass < passes; ++pass) {
    if (interrupted(0)) continue;
    prePass();
    if (interrupted(0)) continue;
    if (threaded()) {
      procFlags |= kRunning;
      const bool ran = runOnAllThreads(RunPassRows, this);
      procFlags &= ~kRunning;
      if (!ran) abortWith(4);
    } else {
      processRows(0);
    }
    postPass();
  }
}

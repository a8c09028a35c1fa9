// Threads and interruption of the optical-flow nodes. The package makes no
// threads: rows are shared among the host's processors through the generic
// iterate of the "VX Iterate8 Suite", once per processor, one barrier a run.
// Every node of one call shares one interrupt record, which the host's abort
// function fills (asked by thread 0 only) and failures mark.
#pragma once

#include <cstdint>
#include <type_traits>

struct ADDN_HBBasicSuite;

typedef int32_t (*FnAbortFunction)(uint64_t refcon);

struct FnInterruptRecord {
  uint64_t refcon = 0;                      // handed to the function
  FnAbortFunction abortFunction = nullptr;  // null: nobody asks
  int32_t aborted = 0;                      // nonzero: the run is to stop
  int32_t error = 0;                        // the code to return
};

// A job's function gets the job's arguments and the index of the thread.
typedef void (*FnThreadFunction)(const uint64_t* args, int32_t argumentCount, int32_t threadIndex);

struct FnJob {
  int32_t argumentCount = 0;  // at most 6
  FnThreadFunction function = nullptr;
  uint64_t args[6] = {};
};

// Rows [begin, end) of one thread.
struct FnBand {
  int32_t begin, end;
};
// n rows from `first` on, t threads: k = ceil(n / t); thread i takes
// [i*k, min((i+1)*k, n)), the last one everything up to n.
FnBand FnThreadBand(int32_t first, int32_t end, int32_t threads, int32_t index);

// The lock of texture allocation and of the host's abort function: recursive,
// made once, an owner and a count, waiters sleep.
class FnGlobalLock {
 public:
  static FnGlobalLock& instance();
  void lock();
  void unlock();
  int32_t depthForThisThread() const;  // 0 when another thread (or nobody) holds it

 private:
  FnGlobalLock();
  struct State;
  State* state_;
};

class FnGlobalLockGuard {
 public:
  FnGlobalLockGuard() { FnGlobalLock::instance().lock(); }
  ~FnGlobalLockGuard() { FnGlobalLock::instance().unlock(); }
  FnGlobalLockGuard(const FnGlobalLockGuard&) = delete;
  FnGlobalLockGuard& operator=(const FnGlobalLockGuard&) = delete;
};

class FnInteruptable {
 public:
  FnInteruptable() = default;
  FnInteruptable(const FnInteruptable&) = default;
  FnInteruptable& operator=(const FnInteruptable&) = default;
  virtual ~FnInteruptable() = default;

  FnInterruptRecord* interrupt = nullptr;  // null: not interruptible

  bool interrupted(int32_t threadIndex) const;
  // Marks the shared record: aborted, with this error (4: out of memory).
  void abortWith(int32_t error) const;
};

class FnMultiProcessor : public FnInteruptable {
 public:
  enum : uint32_t { kThreaded = 1, kRunning = 2 };

  virtual ~FnMultiProcessor() = default;
  virtual void initialise() {}
  virtual void processRows(int32_t threadIndex) {}
  virtual void terminate() {}
  virtual void prePass() {}
  virtual void postPass() {}
  virtual void runPasses();
  virtual void process() {
    initialise();
    runPasses();
    terminate();
  }

  bool threaded() const { return (procFlags & kThreaded) != 0; }
  void setThreaded(bool on) { procFlags = on ? (procFlags | kThreaded) : (procFlags & ~kThreaded); }
  bool running() const { return (procFlags & kRunning) != 0; }
  // This thread's share of rows [first, end): all of them unless running.
  FnBand band(int32_t first, int32_t end, int32_t threadIndex) const {
    return FnThreadBand(first, end, running() ? getThreadCount() : 1, running() ? threadIndex : 0);
  }

  int32_t passes = 1;
  int32_t pass = 0;
  uint32_t procFlags = kThreaded;

  // ---- The runner, shared by every node.

  // The host's basic suite through which the iterate suite is acquired. By
  // default the host's own; setting another one asks the thread count anew.
  static void setBasicSuite(const ADDN_HBBasicSuite* suite);
  static const ADDN_HBBasicSuite* basicSuite();
  // Processors the iterate suite runs on, asked once (1 when the suite has
  // no generic iterate). A missing suite raises the assertion and throws 13.
  static int32_t getThreadCount();
  // Runs `function` once on every processor with the thread's index and
  // joins. False when a worker ran out of memory (its iterate reported 516).
  static bool runOnAllThreads(FnThreadFunction function, int32_t argumentCount, const uint64_t* args);
  template <class... Args>
  static bool runOnAllThreads(FnThreadFunction function, Args... args) {
    static_assert(sizeof...(Args) <= 6, "a job takes at most 6 arguments");
    const uint64_t packed[sizeof...(Args) + 1] = {ToWord(args)..., 0};
    return runOnAllThreads(function, int32_t(sizeof...(Args)), packed);
  }
  // The error of the record; thread 0 asks the host's function (under the
  // global lock) unless the record is aborted already, the others only look.
  static int32_t testInterrupt(FnInterruptRecord* record, int32_t threadIndex);
  // Calls the host's function directly, under the lock, storing its answer.
  static int32_t callAbortFunction(FnInterruptRecord* record);
  // A debugger-side switch: silences the out-of-memory assertion of workers.
  static void setAssertOff(bool off);
  static bool outOfMemory();
  static int32_t runDepth();

 private:
  template <class T>
  static uint64_t ToWord(T v) {
    if constexpr (std::is_pointer_v<T>)
      return reinterpret_cast<uint64_t>(v);
    else
      return static_cast<uint64_t>(v);
  }
};

// Error code thrown (as a long) when the iterate suite can't be had.
constexpr long FnMissingSuiteError = 13;

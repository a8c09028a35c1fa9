// The global recursive lock of the optical-flow code: texture allocation and
// the host's abort function are entered by one thread at a time.
#include <atomic>
#include <condition_variable>
#include <mutex>

#include <boost/thread/once.hpp>

#include "vx/opticalflow/MultiProcess.h"

struct FnGlobalLock::State {
  std::atomic<uintptr_t> owner{0};  // the owning thread's tag, 0 when free
  std::atomic<int32_t> count{0};    // recursion depth of the owner
  std::mutex eventLock;             // the event waiters sleep on
  std::condition_variable event;
};

namespace {

// A per-thread tag: the address of a thread-local byte is unique among live
// threads and never 0.
uintptr_t ThisThread() {
  thread_local char tag;
  return reinterpret_cast<uintptr_t>(&tag);
}

boost::once_flag g_once = BOOST_ONCE_INIT;
FnGlobalLock* g_lock = nullptr;  // lives as long as the process

}  // namespace

FnGlobalLock::FnGlobalLock() : state_(new State) {}

FnGlobalLock& FnGlobalLock::instance() {
  boost::call_once(g_once, [] { g_lock = new FnGlobalLock(); });
  return *g_lock;
}

void FnGlobalLock::lock() {
  const uintptr_t me = ThisThread();
  if (state_->owner.load(std::memory_order_acquire) == me) {
    state_->count.fetch_add(1, std::memory_order_relaxed);
    return;
  }
  for (;;) {
    uintptr_t expected = 0;
    if (state_->owner.compare_exchange_strong(expected, me, std::memory_order_acquire)) {
      state_->count.store(1, std::memory_order_relaxed);
      return;
    }
    std::unique_lock<std::mutex> wait(state_->eventLock);
    state_->event.wait(wait, [&] { return state_->owner.load(std::memory_order_acquire) == 0; });
  }
}

void FnGlobalLock::unlock() {
  if (state_->count.fetch_sub(1, std::memory_order_relaxed) != 1) return;
  {
    // Under the event's mutex so a waiter can't miss the release between its
    // test and its sleep.
    std::lock_guard<std::mutex> release(state_->eventLock);
    state_->owner.store(0, std::memory_order_release);
  }
  state_->event.notify_one();
}

int32_t FnGlobalLock::depthForThisThread() const {
  return state_->owner.load(std::memory_order_acquire) == ThisThread() ? state_->count.load() : 0;
}

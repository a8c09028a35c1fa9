// The host's worker pool on oneTBB, and the generic-iteration contract on it.
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include "vxhost/KU.h"
#include "vxhost/Workers.h"

namespace {

struct Pool {
  explicit Pool(int n) : workers(n), arena(n) {}
  int workers;
  tbb::task_arena arena;
};

std::mutex g_lock;
std::shared_ptr<Pool> g_pool;

std::shared_ptr<Pool> CurrentPool() {
  std::lock_guard<std::mutex> guard(g_lock);
  return g_pool;
}

int32_t Serial(int32_t iterations, void* refcon, HOST_IterateGenericFunc func) {
  if (iterations == -1) return func(refcon, 0, 0, 1);
  int32_t result = 0;
  for (int32_t i = 0; i < iterations && result == 0; ++i) result = func(refcon, 0, i, iterations);
  return result;
}

// Keeps the first non-zero result; later calls see it and do nothing.
struct FirstError {
  std::atomic<int32_t> code{0};
  bool Failed() const { return code.load(std::memory_order_relaxed) != 0; }
  void Offer(int32_t r) {
    int32_t expected = 0;
    if (r) code.compare_exchange_strong(expected, r);
  }
};

}  // namespace

int32_t HOST_StartWorkers(int n) {
  if (n <= 0) n = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  std::lock_guard<std::mutex> guard(g_lock);
  if (!g_pool || g_pool->workers != n) g_pool = std::make_shared<Pool>(n);
  KU_SetNumThreads(n);
  return 0;
}

void HOST_StopWorkers() {
  std::lock_guard<std::mutex> guard(g_lock);
  g_pool.reset();
  KU_SetNumThreads(1);
}

int32_t HOST_WorkerCount() {
  std::lock_guard<std::mutex> guard(g_lock);
  return g_pool ? g_pool->workers : 0;
}

int32_t HOST_IterateGeneric(int32_t iterations, void* refcon, HOST_IterateGenericFunc func) {
  if (!func) return 3;
  if (iterations < 1 && iterations != -1) return 0;
  std::shared_ptr<Pool> pool = CurrentPool();
  if (!pool) return Serial(iterations, refcon, func);

  FirstError first;
  if (iterations == -1) {
    // Once per worker: the worker's number is both thread index and i.
    const int32_t n = pool->workers;
    pool->arena.execute([&] {
      tbb::parallel_for(
          tbb::blocked_range<int32_t>(0, n, 1),
          [&](const tbb::blocked_range<int32_t>& r) {
            for (int32_t t = r.begin(); t != r.end() && !first.Failed(); ++t) first.Offer(func(refcon, t, t, n));
          },
          tbb::simple_partitioner());
    });
  } else {
    pool->arena.execute([&] {
      tbb::parallel_for(tbb::blocked_range<int32_t>(0, iterations), [&](const tbb::blocked_range<int32_t>& r) {
        // The arena slot is unique among the calls running at one time.
        const int32_t thread = tbb::this_task_arena::current_thread_index();
        for (int32_t i = r.begin(); i != r.end() && !first.Failed(); ++i)
          first.Offer(func(refcon, thread, i, iterations));
      });
    });
  }
  return first.code.load();
}

// The worker pool keeps the generic-iteration contract.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "vxhost/Host.h"

namespace {

struct Log {
  std::mutex lock;
  std::vector<int32_t> indices, threads, totals;
  std::atomic<int> running{0};
  std::atomic<int> most_running{0};
  std::vector<std::atomic<int>> busy = std::vector<std::atomic<int>>(64);
  std::atomic<bool> thread_reused_while_running{false};
};

int32_t Record(void* refcon, int32_t thread, int32_t i, int32_t iterations) {
  auto* log = static_cast<Log*>(refcon);
  if (log->busy[thread].fetch_add(1) != 0) log->thread_reused_while_running = true;
  const int now = ++log->running;
  int seen = log->most_running.load();
  while (now > seen && !log->most_running.compare_exchange_weak(seen, now)) {
  }
  std::this_thread::sleep_for(std::chrono::microseconds(200));
  {
    std::lock_guard<std::mutex> guard(log->lock);
    log->indices.push_back(i);
    log->threads.push_back(thread);
    log->totals.push_back(iterations);
  }
  --log->running;
  log->busy[thread].fetch_sub(1);
  return 0;
}

class Workers : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(HOST_StartWorkers(4), 0); }
  void TearDown() override { HOST_StopWorkers(); }
};

TEST_F(Workers, OncePerWorkerGivesEachWorkerItsNumber) {
  int32_t n = 0;
  KU_GetNumThreads(&n);
  EXPECT_EQ(n, 4);
  Log log;
  ASSERT_EQ(HOST_IterateGeneric(-1, &log, Record), 0);
  EXPECT_EQ(std::set<int32_t>(log.indices.begin(), log.indices.end()), (std::set<int32_t>{0, 1, 2, 3}));
  for (size_t k = 0; k < log.indices.size(); ++k) {
    EXPECT_EQ(log.threads[k], log.indices[k]);
    EXPECT_EQ(log.totals[k], 4);
  }
}

TEST_F(Workers, CountedModeCallsEveryIndexOnceWithUniqueRunningThreadIndices) {
  Log log;
  ASSERT_EQ(HOST_IterateGeneric(200, &log, Record), 0);
  std::vector<int32_t> sorted = log.indices;
  std::sort(sorted.begin(), sorted.end());
  ASSERT_EQ(sorted.size(), 200u);
  for (int32_t i = 0; i < 200; ++i) EXPECT_EQ(sorted[i], i);
  for (int32_t t : log.threads) {
    EXPECT_GE(t, 0);
    EXPECT_LT(t, 4);
  }
  EXPECT_FALSE(log.thread_reused_while_running) << "two running calls shared a thread index";
  EXPECT_LE(log.most_running.load(), 4);
}

int32_t FailAt(void* refcon, int32_t, int32_t i, int32_t) {
  ++*static_cast<std::atomic<int>*>(refcon);
  return i == 10 ? 42 : 0;
}

TEST_F(Workers, FirstFailureStopsAndIsReturned) {
  std::atomic<int> calls{0};
  EXPECT_EQ(HOST_IterateGeneric(100000, &calls, FailAt), 42);
  EXPECT_LT(calls.load(), 100000);
  EXPECT_EQ(HOST_IterateGeneric(0, &calls, FailAt), 0);
  EXPECT_EQ(HOST_IterateGeneric(-2, &calls, FailAt), 0);
  EXPECT_EQ(HOST_IterateGeneric(5, &calls, nullptr), 3);
}

TEST(WorkersStopped, RunsSeriallyWithoutAPool) {
  HOST_StopWorkers();
  Log log;
  ASSERT_EQ(HOST_IterateGeneric(-1, &log, Record), 0);
  EXPECT_EQ(log.indices, std::vector<int32_t>{0});
  EXPECT_EQ(log.totals, std::vector<int32_t>{1});
}

}  // namespace

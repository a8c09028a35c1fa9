// The thread runner, bands, interruption and the global lock.
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <thread>
#include <vector>

#include "opticalflow/FlowTestHost.h"
#include "vx/OpticalFlow.h"
#include "vxhost/KU.h"

namespace {

using flowtest::Runner;
using flowtest::ScopedHost;

bool ReportsMention(const std::string& text) {
  for (const KU_ReportRecord& r : KU_TakeReports())
    if (r.text.find(text) != std::string::npos) return true;
  return false;
}

// Writes 1 + its thread index into every pixel of its band.
class BandPainter : public Generator<FnIntTexture> {
 public:
  void initialise(FnIntTexture*) override { ++initialised; }
  void processRows(FnIntTexture* t, int32_t threadIndex) override {
    forEachRow(threadIndex, [&](int32_t y) {
      for (int32_t x = x0; x < x1; ++x) t->rawRow(y)[x] = threadIndex + 1;
    });
  }
  void terminate(FnIntTexture*) override { ++terminated; }
  int initialised = 0, terminated = 0;
};

std::vector<int> RowOwners(const FnIntTexture& t) {
  std::vector<int> owners;
  for (int32_t y = 0; y < t.height(); ++y) owners.push_back(t.rawRow(y)[0]);
  return owners;
}

TEST(FlowBands, CoverEveryRowOnceWithTheLastTakingTheRest) {
  EXPECT_EQ(FnThreadBand(0, 10, 1, 0).end, 10);
  for (int32_t threads = 1; threads <= 7; ++threads) {
    for (int32_t rows : {0, 1, 5, 10, 13}) {
      int32_t next = 3;
      const int32_t k = (rows + threads - 1) / threads;
      for (int32_t i = 0; i < threads; ++i) {
        const FnBand b = FnThreadBand(3, 3 + rows, threads, i);
        if (b.begin == b.end) continue;
        EXPECT_EQ(b.begin, next) << threads << " " << rows << " " << i;
        EXPECT_LE(b.end - b.begin, k);
        next = b.end;
      }
      EXPECT_EQ(next, 3 + rows) << threads << " " << rows;
    }
  }
  EXPECT_EQ(FnThreadBand(0, 10, 3, 3).begin, FnThreadBand(0, 10, 3, 3).end);  // no such thread
}

TEST(FlowThreads, OneProcessorWithThePackagesOwnSuite) {
  EXPECT_EQ(FnMultiProcessor::getThreadCount(), 1);
  FnIntTexture t(3, 10);
  BandPainter p;
  p.process(&t);
  EXPECT_EQ(RowOwners(t), std::vector<int>(10, 1));
}

TEST(FlowThreads, NodesShareRowsInBands) {
  ScopedHost host(Runner::Serial, 3);
  EXPECT_EQ(FnMultiProcessor::getThreadCount(), 3);
  FnIntTexture t(4, 10);
  BandPainter p;
  p.process(&t);
  EXPECT_EQ(RowOwners(t), (std::vector<int>{1, 1, 1, 1, 2, 2, 2, 2, 3, 3}));
  EXPECT_EQ(p.initialised, 1);
  EXPECT_EQ(p.terminated, 1);

  BandPainter calling;
  calling.flags |= Imager::kCallingThreadOnly;
  calling.process(&t);
  EXPECT_EQ(RowOwners(t), std::vector<int>(10, 1));
  EXPECT_EQ(host.acquired, host.released);
}

TEST(FlowThreads, TheHostsWorkerPoolGivesTheSameBands) {
  ScopedHost host(Runner::Pool, 2);
  EXPECT_EQ(FnMultiProcessor::getThreadCount(), 2);
  FnIntTexture t(64, 9);
  BandPainter p;
  for (int run = 0; run < 20; ++run) {
    p.process(&t);
    ASSERT_EQ(RowOwners(t), (std::vector<int>{1, 1, 1, 1, 1, 2, 2, 2, 2}));
  }
}

TEST(FlowThreads, ASuiteWithoutGenericIterateRunsOnTheCallingThread) {
  ScopedHost host(Runner::NoGeneric, 4);
  EXPECT_EQ(FnMultiProcessor::getThreadCount(), 1);
  FnIntTexture t(2, 5);
  BandPainter p;
  p.process(&t);
  EXPECT_EQ(RowOwners(t), std::vector<int>(5, 1));
}

TEST(FlowThreads, AMissingSuiteAssertsAndThrows13) {
  ScopedHost host(Runner::Missing, 2);
  KU_TakeReports();
  EXPECT_THROW(
      {
        try {
          FnMultiProcessor::getThreadCount();
        } catch (long code) {
          EXPECT_EQ(code, 13);
          throw;
        }
      },
      long);
  EXPECT_TRUE(ReportsMention("Missing suite in Zephon-related code."));
  FnIntTexture t(2, 2);
  BandPainter p;
  EXPECT_THROW(p.process(&t), long);
}

struct AbortCounter {
  int calls = 0;
  int32_t answer = 0;
  static int32_t Ask(uint64_t refcon) {
    auto* c = reinterpret_cast<AbortCounter*>(refcon);
    ++c->calls;
    return c->answer;
  }
};

// Thread 0 asks once before the pass and once a row of its own band; the
// other threads never call the host.
TEST(FlowInterrupt, OnlyThreadZeroCallsTheAbortFunction) {
  for (Runner runner : {Runner::Serial, Runner::Pool}) {
    ScopedHost host(runner, 3);
    AbortCounter counter;
    FnInterruptRecord record{reinterpret_cast<uint64_t>(&counter), &AbortCounter::Ask, 0, 0};
    FnIntTexture t(8, 10);
    BandPainter p;
    p.interrupt = &record;
    p.process(&t);
    EXPECT_EQ(counter.calls, 1 + 4);
    EXPECT_EQ(RowOwners(t), (std::vector<int>{1, 1, 1, 1, 2, 2, 2, 2, 3, 3}));
  }
}

TEST(FlowInterrupt, ANonzeroAnswerStopsBeforeTheFirstPass) {
  AbortCounter counter;
  counter.answer = 517;
  FnInterruptRecord record{reinterpret_cast<uint64_t>(&counter), &AbortCounter::Ask, 0, 0};
  FnIntTexture t(3, 3);
  ColouredFrameGenerator<int, int, 1>(0).process(&t);
  BandPainter p;
  p.interrupt = &record;
  p.process(&t);
  EXPECT_EQ(RowOwners(t), std::vector<int>(3, 0));
  EXPECT_EQ(p.initialised, 1);
  EXPECT_EQ(p.terminated, 1);  // terminate runs after an interruption too
  EXPECT_EQ(record.aborted, 1);
  EXPECT_EQ(record.error, 517);
  // An aborted record answers without asking again, on every thread.
  EXPECT_EQ(FnMultiProcessor::testInterrupt(&record, 0), 517);
  EXPECT_EQ(FnMultiProcessor::testInterrupt(&record, 2), 517);
  EXPECT_EQ(counter.calls, 1);
  EXPECT_EQ(FnMultiProcessor::testInterrupt(nullptr, 0), 0);
}

// A multi-processor that counts its steps and records the band of each row.
class Steps : public FnMultiProcessor {
 public:
  void prePass() override { ++pre; }
  void postPass() override { ++post; }
  void processRows(int32_t threadIndex) override {
    const FnBand b = band(0, 7, threadIndex);
    for (int32_t y = b.begin; y < b.end; ++y) owner[size_t(y)] = threadIndex;
    if (threadIndex == throwOn) throw std::bad_alloc();
  }
  int pre = 0, post = 0, throwOn = -1;
  std::vector<int> owner = std::vector<int>(7, -1);
};

TEST(FlowMultiProcessor, PassesBandsAndTheUnthreadedForm) {
  ScopedHost host(Runner::Serial, 2);
  Steps s;
  s.passes = 3;
  s.process();
  EXPECT_EQ(s.pre, 3);
  EXPECT_EQ(s.post, 3);
  EXPECT_EQ(s.owner, (std::vector<int>{0, 0, 0, 0, 1, 1, 1}));
  EXPECT_FALSE(s.running());

  Steps single;
  single.setThreaded(false);
  single.process();
  EXPECT_EQ(single.owner, std::vector<int>(7, 0));

  AbortCounter counter;
  counter.answer = 3;
  FnInterruptRecord record{reinterpret_cast<uint64_t>(&counter), &AbortCounter::Ask, 0, 0};
  Steps stopped;
  stopped.interrupt = &record;
  stopped.passes = 2;
  stopped.process();
  EXPECT_EQ(stopped.pre, 0);
  EXPECT_EQ(stopped.owner, std::vector<int>(7, -1));
}

TEST(FlowMultiProcessor, OutOfMemoryInAWorkerAbortsWithFour) {
  ScopedHost host(Runner::Serial, 2);
  KU_TakeReports();
  FnInterruptRecord record;
  Steps s;
  s.interrupt = &record;
  s.throwOn = 1;
  s.passes = 2;
  s.process();
  EXPECT_EQ(record.aborted, 1);
  EXPECT_EQ(record.error, 4);
  EXPECT_EQ(s.pre, 1);  // the second pass sees the record and is skipped
  EXPECT_TRUE(FnMultiProcessor::outOfMemory());
  EXPECT_TRUE(ReportsMention("Out of memory in Zephon optical flow library."));

  FnMultiProcessor::setAssertOff(true);
  FnInterruptRecord quiet;
  Steps t;
  t.interrupt = &quiet;
  t.throwOn = 0;
  t.process();
  FnMultiProcessor::setAssertOff(false);
  EXPECT_EQ(quiet.error, 4);
  EXPECT_FALSE(ReportsMention("Out of memory"));
  EXPECT_EQ(t.owner, (std::vector<int>{0, 0, 0, 0, -1, -1, -1}));  // the run stopped at the failure
}

TEST(FlowLock, IsRecursiveAndExclusive) {
  FnGlobalLock& lock = FnGlobalLock::instance();
  EXPECT_EQ(&lock, &FnGlobalLock::instance());
  {
    FnGlobalLockGuard outer;
    FnGlobalLockGuard inner;
    EXPECT_EQ(lock.depthForThisThread(), 2);
  }
  EXPECT_EQ(lock.depthForThisThread(), 0);
  long counter = 0;
  auto work = [&] {
    for (int i = 0; i < 20000; ++i) {
      FnGlobalLockGuard g;
      FnGlobalLockGuard again;
      ++counter;
    }
  };
  std::thread a(work), b(work);
  a.join();
  b.join();
  EXPECT_EQ(counter, 40000);
}

}  // namespace

// The utility library: reporting and quiet mode, memory with the failure
// switch, the purge loop, localised strings, the CPU record.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "vxhost/Host.h"

namespace {

TEST(Reports, JournalKeepsKindSiteAndTextAndQuietModeIsPerThread) {
  KU_TakeReports();
  KUp_ReportErrString(0x250001, 8, "visible");
  ASSERT_EQ(KU_StartQuietErrorsOnCurrentThread(), 0);
  KUp_ReportErrString(0x250002, 8, "hidden");
  std::thread other([] { KU_ReportFailedVerification(0x2503E7, 42, 0, "from another thread"); });
  other.join();
  ASSERT_EQ(KU_EndQuietErrorsOnCurrentThread(), 0);
  std::snprintf(KUp_GetThreadLoggingBuffer(), KU_kLoggingBufferSize, "buffered %d", 7);
  KUp_ReportError(0x250003, 16);

  const auto reports = KU_TakeReports();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[0].kind, KU_ReportKind::Text);
  EXPECT_EQ(reports[0].site, 0x250001);
  EXPECT_EQ(reports[0].text, "visible");
  EXPECT_EQ(reports[1].kind, KU_ReportKind::Verification);
  EXPECT_EQ(reports[1].line, 42);
  EXPECT_EQ(reports[2].kind, KU_ReportKind::Error);
  EXPECT_EQ(reports[2].severity, 16);
  EXPECT_EQ(reports[2].text, "buffered 7");
  EXPECT_TRUE(KU_TakeReports().empty());
  EXPECT_EQ(KU_EndQuietErrorsOnCurrentThread(), 3) << "unbalanced end";
}

TEST(Reports, ExceptionsTranslateToCodes) {
  struct Coded : KU_CodedException {
    const char* what() const noexcept override { return "coded"; }
    KU_Err Code() const noexcept override { return 0x67656E20; }
  };
  EXPECT_EQ(KU_TranslateAndReportException(std::bad_alloc()), 4);
  EXPECT_EQ(KU_TranslateAndReportException(Coded()), 0x67656E20);
  EXPECT_EQ(KU_TranslateAndReportException(std::runtime_error("x")), 3);
  const auto reports = KU_TakeReports();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[1].kind, KU_ReportKind::Exception);
  EXPECT_EQ(reports[1].text, "coded");
}

TEST(Memory, FailureSwitchCountsEveryAllocatorAndStaysFailedUntilOff) {
  KU_FailAllocationsAfter(2);
  void* a = KU_AllocatePtr(0, "a", 16);
  KU_Handle h = KU_AllocateHandleClear(0, "h", 8);
  ASSERT_NE(a, nullptr);
  ASSERT_NE(h, nullptr);
  void* frame = reinterpret_cast<void*>(1);
  EXPECT_EQ(RB_AllocateFrameQuiet(64, 0, &frame), 4);
  EXPECT_EQ(frame, nullptr);
  EXPECT_EQ(KU_AllocatePtr(0, "c", 16), nullptr);
  KU_FailAllocationsAfter(-1);
  void* c = KU_AllocatePtr(0, "c", 16);
  EXPECT_NE(c, nullptr);
  EXPECT_EQ(KU_GetHandleSize(h), 8u);
  EXPECT_EQ(static_cast<char*>(*h)[7], 0);
  ASSERT_EQ(KU_ResizeHandle(0, h, "h", 100), 0);
  EXPECT_EQ(KU_GetHandleSize(h), 100u);
  KU_FreePtr(a);
  KU_FreePtr(c);
  KU_FreeHandle(h);
  KU_FreeHandle(nullptr);
  KU_TakeReports();
}

TEST(Memory, AccountAddsAndSubtracts) {
  const long long before = KU_AccountedBytes();
  KU_AccountAllocationEx(1000, 1);
  KU_AccountAllocationEx(400, 0);
  EXPECT_EQ(KU_AccountedBytes() - before, 600);
  KU_AccountAllocationEx(600, 0);
}

struct Cache {
  int frees_left;
  size_t freed_total = 0;
};

size_t FreeSome(void* refcon, size_t) {
  auto* cache = static_cast<Cache*>(refcon);
  if (cache->frees_left == 0) return 0;
  --cache->frees_left;
  cache->freed_total += 100;
  return 100;
}

struct Attempt {
  int tries = 0;
  int succeed_on;
};

KU_Err TryAllocate(void* context, bool* succeeded) {
  auto* attempt = static_cast<Attempt*>(context);
  *succeeded = ++attempt->tries >= attempt->succeed_on;
  return 0;
}

TEST(Memory, PurgeLoopRetriesWhileTheHostCanFreeMemory) {
  Cache cache{2};
  KU_AddPurgeCallback(FreeSome, &cache);
  Attempt works_on_third{0, 3};
  EXPECT_EQ(KU_PurgeLoop(50, TryAllocate, &works_on_third, 0), 0);
  EXPECT_EQ(works_on_third.tries, 3);
  Attempt never{0, 1000};
  EXPECT_EQ(KU_PurgeLoop(50, TryAllocate, &never, 0), 4) << "nothing left to free";
  EXPECT_EQ(never.tries, 1);
  KU_RemovePurgeCallback(FreeSome, &cache);
  EXPECT_EQ(cache.freed_total, 200u);
}

TEST(Memory, TrackedObjectsGiveNullWhenAllocationFails) {
  struct Tracked : KU_MemTrackedObject {
    int value = 5;
  };
  KU_FailAllocationsAfter(0);
  Tracked* t = new Tracked;
  KU_FailAllocationsAfter(-1);
  EXPECT_EQ(t, nullptr);
  t = new Tracked;
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(t->value, 5);
  delete t;
}

TEST(Strings, TableLookupsStripKeysAndPutInEscapes) {
  const char* entries[] = {"$$$/T/0=first", "$$$/T/1=can#{rsquo}t do", "plain"};
  KU_ZRef table = KU_NewZStringTable(entries, 3);
  ASSERT_NE(table, nullptr);
  EXPECT_STREQ(KU_ZLookupLStrCache(table, 0, 0, 0), "first");
  EXPECT_STREQ(KU_ZLookupLStrCache(table, 1, 0, 0), "can\xE2\x80\x99t do");
  EXPECT_STREQ(KU_ZLookupLStrCache(table, 2, 0, 0), "plain");
  EXPECT_EQ(KU_ZLookupLStrCache(table, 3, 0, 0), nullptr);
  EXPECT_EQ(KU_ZLookupLStrCache(table, -1, 0, 0), nullptr);
  KU_DisposeZStringTable(table);
}

TEST(Strings, SubStringPutsValuesInAndRefusesWhatDoesNotFit) {
  char buffer[64];
  const char* values[] = {"0", "30001"};
  ASSERT_EQ(KU_SubString(buffer, sizeof buffer, "$$$/K=invalid image buffer size (^L1x^L2).", values, 2), 0);
  EXPECT_STREQ(buffer, "invalid image buffer size (0x30001).");
  ASSERT_EQ(KU_SubString(buffer, sizeof buffer, "^L2 before ^L1, ^L3 missing", values, 2), 0);
  EXPECT_STREQ(buffer, "30001 before 0,  missing");
  char tiny[8];
  EXPECT_EQ(KU_SubString(tiny, sizeof tiny, "much too long ^L1", values, 2), 3);
  EXPECT_EQ(KU_SubString(nullptr, 10, "x", values, 2), 3);
}

TEST(CPU, OverridesOnlyTurnOffWhatTheProcessorHas) {
  int32_t* fields = *KU_G_CPU_DataP;
  const int32_t sse2 = fields[KU_CPU_SSE2], ssse3 = fields[KU_CPU_SSSE3], avx2 = fields[KU_CPU_AVX2];
  const int32_t avx512 = fields[KU_CPU_AVX512];
  EXPECT_TRUE(!avx512 || avx2) << "AVX-512 builds on AVX2";
  EXPECT_EQ(sse2, __builtin_cpu_supports("sse2") ? 1 : 0);
  KU_SetCPUFeatures(0, 0, 0);
  EXPECT_EQ(fields[KU_CPU_SSE2], 0);
  EXPECT_EQ(fields[KU_CPU_SSSE3], 0);
  EXPECT_EQ(fields[KU_CPU_AVX2], 0);
  KU_SetCPUFeatures(0, 1, 1);
  EXPECT_EQ(fields[KU_CPU_SSSE3], 0) << "no vector set without SSE2";
  EXPECT_EQ(fields[KU_CPU_AVX2], 0);
  KU_SetCPUFeatures(1, 1, 0, 1);
  EXPECT_EQ(fields[KU_CPU_AVX512], 0) << "AVX-512 builds on AVX2";
  KU_SetCPUFeatures(1, 1, 1, 0);
  EXPECT_EQ(fields[KU_CPU_AVX2], avx2);
  EXPECT_EQ(fields[KU_CPU_AVX512], 0);
  KU_SetCPUFeatures(1, 1, 1);
  EXPECT_EQ(fields[KU_CPU_SSE2], sse2);
  EXPECT_EQ(fields[KU_CPU_SSSE3], ssse3);
  EXPECT_EQ(fields[KU_CPU_AVX2], avx2);
  EXPECT_EQ(fields[KU_CPU_AVX512], avx512);
  KU_ResetCPUFeatures();
}

TEST(Versions, SiblingChecksFailWhenTheHostCarriesAnotherVersion) {
  EXPECT_EQ(GEO_CheckVersions(1, GEO_kVersion), 0);
  ASSERT_EQ(HOST_SetSiblingVersion("GEO", 17), 0);
  EXPECT_EQ(GEO_CheckVersions(1, GEO_kVersion), 7);
  HOST_ResetSiblingVersions();
  EXPECT_EQ(GEO_CheckVersions(1, GEO_kVersion), 0);
  EXPECT_EQ(HOST_SetSiblingVersion("NOPE", 1), 3);
  KU_TakeReports();
}

}  // namespace

// Bitmaps and frames, lists, the broker and the small libraries.
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "vxhost/Host.h"

namespace {

TEST(Frames, EightByteAlignedAndSometimesNotSixteen) {
  std::set<uintptr_t> phases;
  for (int i = 0; i < 4; ++i) {
    void* frame = nullptr;
    ASSERT_EQ(RB_AllocateFrameQuiet(100, 1, &frame), 0);
    const auto address = reinterpret_cast<uintptr_t>(frame);
    EXPECT_EQ(address % 8, 0u);
    phases.insert(address % 16);
    EXPECT_EQ(static_cast<uint8_t*>(frame)[99], 0) << "zeroed on request";
    RB_FreeFrame(frame, 100);
  }
  EXPECT_EQ(phases.size(), 2u) << "both phases occur, so callers must align themselves";
}

TEST(Frames, FreeingWithTheWrongSizeIsReported) {
  void* frame = nullptr;
  ASSERT_EQ(RB_AllocateFrameQuiet(64, 0, &frame), 0);
  KU_TakeReports();
  RB_FreeFrame(frame, 65);
  const auto reports = KU_TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].kind, KU_ReportKind::Verification);
}

TEST(Bitmaps, PixelsAppearWhileLockedAndBaseAddressAlways) {
  const GEO_Rect bounds{0, 0, 3, 5};
  RB_WorldH world = nullptr;
  ASSERT_EQ(RB_NewWorld(0, 8, &bounds, 64, 0, 0, &world), 0);
  EXPECT_EQ((*world)->width, 5);
  EXPECT_EQ((*world)->height, 3);
  EXPECT_EQ((*world)->row_stride % 16, 0);
  EXPECT_EQ((*world)->pixels, nullptr);
  EXPECT_NE(RBp_GetPixBaseAddr(world), nullptr);
  ASSERT_EQ(RB_LoadLockPixels(world, 1), 0);
  EXPECT_EQ((*world)->pixels, RBp_GetPixBaseAddr(world));
  EXPECT_EQ(RB_GetChannelOrder(world), RB_ChannelOrder_ARGB);
  RB_UnlockPixels(world);
  EXPECT_EQ((*world)->pixels, nullptr);
  EXPECT_EQ(RB_DisposeWorld(world), 0);
  const GEO_Rect bad{0, 0, 3, 5};
  EXPECT_EQ(RB_NewWorld(0, 8, &bad, 24, 0, 0, &world), 3);
}

TEST(Lists, InsertGetDeleteAndLockedListsDoNotGrow) {
  SEQ_List list = nullptr;
  ASSERT_EQ(SEQ_New(2, 16, 1, 1, &list), 0);
  struct Record {
    int64_t a, b;
  };
  for (int64_t i = 0; i < 5; ++i) {
    const Record rec{i, -i};
    ASSERT_EQ(SEQ_Insert(list, SEQ_kAppend, &rec), 0);
  }
  const Record front{100, 100};
  ASSERT_EQ(SEQ_Insert(list, 0, &front), 0);
  EXPECT_EQ(SEQ_Count(list), 6);
  Record r{};
  ASSERT_EQ(SEQ_Get(list, 3, &r), 0);
  EXPECT_EQ(r.a, 2);
  EXPECT_EQ(SEQ_Get(list, 6, &r), 3);
  void* address = nullptr;
  ASSERT_EQ(SEQ_GetAddress(list, &address), 0);
  EXPECT_EQ(static_cast<Record*>(address)[0].a, 100);
  EXPECT_EQ(SEQ_Insert(list, SEQ_kAppend, &front), 3) << "locked";
  SEQ_Unlock(list);
  ASSERT_EQ(SEQ_Delete(list, 0), 0);
  EXPECT_EQ(SEQ_Count(list), 5);
  EXPECT_EQ(SEQ_Dispose(list, 0), 0);
}

TEST(Broker, TablesByNameAndGenerationOnChange) {
  KLB_AddressProc proc = nullptr;
  ASSERT_EQ(TNT_GetKLBAddressProc(&proc), 0);
  for (int32_t i = 0; i < KLB_kCoreInterfaceCount; ++i) EXPECT_NE(proc(KLB_kCoreInterfaceNames[i]), nullptr);
  EXPECT_EQ(proc("NoSuchInterface"), nullptr);
  const uint32_t generation = KLB_Generation();
  int table = 0;
  KLB_RegisterInterface("TestInterface", &table);
  EXPECT_EQ(proc("TestInterface"), &table);
  KLB_UnregisterInterface("TestInterface");
  EXPECT_EQ(KLB_Generation(), generation + 2);
}

TEST(SmallLibraries, NoiseTableIsFixedAndPrimeSized) {
  const uint32_t* base = nullptr;
  int32_t count = 0;
  ASSERT_EQ(RNG_GetPrimeSizedTable(&base, &count), 0);
  ASSERT_GT(count, 2);
  for (int32_t d = 2; d * d <= count; ++d) EXPECT_NE(count % d, 0);
  std::set<uint32_t> distinct(base, base + count);
  EXPECT_GT(distinct.size(), static_cast<size_t>(count) * 99 / 100);
  const uint32_t* again = nullptr;
  RNG_GetPrimeSizedTable(&again, &count);
  EXPECT_EQ(again, base);
}

TEST(SmallLibraries, ExtensionMapIgnoresCaseAndLogKeepsEntries) {
  ASSERT_EQ(FIO_AddExtensionMap(".TST", 0x54535421, 0xFFFFFFFF), 0);
  EXPECT_EQ(FIO_TypeForFileName("/a/b/module.tst"), 0x54535421u);
  EXPECT_EQ(FIO_TypeForFileName("noextension"), 0u);
  EXPECT_EQ(FIO_AddExtensionMap("TST", 1, 1), 3);
  TLOG_TakeEntries();
  TLOG_Log(10, "VX", "Birth", "VX Birth");
  const auto entries = TLOG_TakeEntries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].event, "Birth");
}

}  // namespace

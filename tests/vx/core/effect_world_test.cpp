// Effect worlds: geometry of fresh worlds, the records, disposal rules and
// typed access.
#include "support/TestWorlds.h"

namespace {

using vxtest::EffectWorld;
using vxtest::HasReport;
using vxtest::TakeReports;

TEST(EffectWorlds, FreshWorldGeometryAlignmentAndGutter) {
  for (int32_t depth : {8, 16, 32}) {
    for (int32_t width : {1, 3, 4, 17, 64, 1001}) {
      EffectWorld w(width, 7, depth);
      const int32_t ps = depth / 2;
      EXPECT_EQ(w->row_stride, (width * ps + 15) & ~15);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(w->data) % 16, 0u) << "rows start 16-byte aligned";
      EXPECT_EQ(w->width, width);
      EXPECT_EQ(w->content_rect.right, width);
      EXPECT_EQ(w->content_rect.bottom, 7);
      EXPECT_EQ(w->ownership_tag, VX_kOwnedByEffect);
      EXPECT_EQ(w->depth_flags, depth == 8 ? 0u : depth == 16 ? 0x1000001u : 0x2000000u);
      const auto* gutter = static_cast<const uint8_t*>(w->data) + 6 * w->row_stride + width * ps;
      for (int32_t i = 0; i < w->row_stride - ps; ++i) ASSERT_EQ(gutter[i], 0x55) << i;
      EXPECT_FALSE(w->world_object->SubWorldSafetyGutterHasBeenOverWritten());
      int32_t reported = 0;
      EXPECT_EQ(VX_GetEffectWorldDepth(w.get(), &reported), 0);
      EXPECT_EQ(reported, depth);
    }
  }
  EffectWorld one(1, 1, 8);
  EXPECT_EQ(one->row_stride, 16) << "a width of 1 at 8 bits has a gutter of 12 bytes";
}

TEST(EffectWorlds, SizeLimitsAreReportedWithTheSizes) {
  TakeReports();
  VX_LayerDef def{};
  def.width = 99;
  EXPECT_EQ(VX_NewEffectWorld(nullptr, 30001, 5, 8, true, false, &def), 516);
  EXPECT_EQ(def.width, 99) << "a failed world leaves the record untouched";
  EXPECT_EQ(VX_NewEffectWorld(nullptr, 0, 5, 16, true, false, &def), 516);
  EXPECT_EQ(VX_NewEffectWorld(nullptr, 5, -1, 32, true, false, &def), 516);
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[0].text, "invalid image buffer size (30001x5).");
  EXPECT_EQ(reports[0].site, 0x250066);
  EXPECT_EQ(reports[2].text, "invalid image buffer size (5x-1).");
  EffectWorld big(30000, 1, 8);
  EXPECT_EQ(big->width, 30000);
  EXPECT_EQ(VX_NewEffectWorld(nullptr, 5, 5, 24, true, false, &def), 3);
  EXPECT_EQ(VX_NewEffectWorld(nullptr, 5, 5, 8, true, false, nullptr), 0);
}

TEST(EffectWorlds, DisposeOnlyWhatWasMadeAndOnlyOnce) {
  VX_LayerDef def{};
  ASSERT_EQ(VX_NewEffectWorld(nullptr, 4, 4, 8, false, false, &def), 0);
  VX_LayerDef copy = def;
  copy.ownership_tag = 0;
  TakeReports();
  EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &copy), 516);
  EXPECT_TRUE(HasReport(TakeReports(), "effects modules should only dispose worlds they have allocated"));
  const long live = VX_G_LiveWorlds;
  ASSERT_EQ(VX_DisposeEffectWorld(nullptr, &def), 0);
  EXPECT_EQ(VX_G_LiveWorlds, live - 1);
  EXPECT_EQ(def.data, nullptr);
  EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &def), 516) << "the record was zeroed";
  EXPECT_EQ(VX_DisposeEffectWorld(nullptr, nullptr), 516);
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[1].text, "invalid parameter");
  EXPECT_EQ(reports[1].site, 0x250003);
}

TEST(EffectWorlds, DepthComesFromTheObjectBeforeTheFlags) {
  EffectWorld w(2, 2, 16);
  VX_LayerDef lying = *w.get();
  lying.depth_flags = 0;
  EXPECT_EQ(VXp_WorldDepth(&lying), 16);
  lying.world_object = nullptr;
  EXPECT_EQ(VXp_WorldDepth(&lying), 8);
  lying.depth_flags = 0x7000000;
  TakeReports();
  EXPECT_EQ(VXp_WorldDepth(&lying), 8);
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].text, "Unknown pixel format");
  EXPECT_EQ(reports[0].line, 182);
}

TEST(EffectWorlds, TypedPixelAccessAndFormats) {
  EffectWorld w8(3, 3, 8), w16(3, 3, 16), wf(3, 3, 32);
  VX_Pixel8* p8 = nullptr;
  VX_Pixel16* p16 = reinterpret_cast<VX_Pixel16*>(1);
  EXPECT_EQ(VX_GetPixelData8(w8.get(), nullptr, &p8), 0);
  EXPECT_EQ(p8, w8->data);
  EXPECT_EQ(VX_GetPixelData16(w8.get(), nullptr, &p16), 0);
  EXPECT_EQ(p16, nullptr) << "another depth is no error";
  VX_Pixel16 own[4];
  EXPECT_EQ(VX_GetPixelData16(w16.get(), own, &p16), 0);
  EXPECT_EQ(p16, own);
  TakeReports();
  EXPECT_EQ(VX_GetPixelData16(nullptr, nullptr, &p16), 516);
  EXPECT_EQ(VX_GetPixelDataFloat(nullptr, nullptr, nullptr), 3);
  const auto reports = TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].text, "bad parameter passed to VX_GetPixelData8");
  EXPECT_EQ(reports[0].site, 0x250054);

  VX_PixelFormat format = 0;
  EXPECT_EQ(VXp_GetPixelFormat(w16.get(), &format), 0);
  EXPECT_EQ(format, 0x36316D71u);
  EXPECT_EQ(VXp_GetPixelFormat(wf.get(), &format), 0);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(&format), 4), "qm32");
  EXPECT_EQ(VXp_GetPixelFormat(nullptr, &format), 3);
  TakeReports();
}

TEST(EffectWorlds, BitmapBackedWorldsAndRecordsOfBitmaps) {
  VX_LayerDef def{};
  ASSERT_EQ(VX_NewEffectWorld(nullptr, 9, 4, 32, true, true, &def), 0);
  ASSERT_NE(def.rb_world, nullptr);
  EXPECT_EQ((*def.rb_world)->bits_per_pixel, 128);
  EXPECT_EQ(static_cast<VX_PixelFloat*>(def.data)[8].blue, 0.0f);
  VX_LayerDef view{};
  ASSERT_EQ(VX_EffectWorldFromRBWorld(def.rb_world, &view), 0);
  EXPECT_EQ(view.data, def.data);
  EXPECT_EQ(view.depth_flags, 0x2000000u);
  EXPECT_EQ(view.content_rect.right, 0) << "a record of a bitmap has no content hint";
  EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &view), 516);
  EXPECT_EQ(VX_DepthOfRBWorld(def.rb_world), 32);
  EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &def), 0);

  const GEO_Rect bounds{0, 0, 2, 2};
  RB_WorldH odd = nullptr;
  ASSERT_EQ(RB_NewWorld(0, 8, &bounds, 32, 0, 0, &odd), 0);
  (*odd)->bits_per_pixel = 24;
  view.width = 77;
  TakeReports();
  EXPECT_EQ(VX_EffectWorldFromRBWorld(odd, &view), 3);
  EXPECT_EQ(view.width, 77);
  EXPECT_TRUE(HasReport(TakeReports(), "VX_Worlds can only be 128, 64 or 32 bits per pixel"));
  (*odd)->bits_per_pixel = 32;
  RB_DisposeWorld(odd);
}

TEST(EffectWorlds, OutOfMemoryGivesFourAndLeavesTheRecord) {
  VX_LayerDef def{};
  def.width = 123;
  const long live = VX_G_LiveWorlds;
  const long long accounted = KU_AccountedBytes();
  for (bool rb : {false, true}) {
    vxtest::FailAllocationsScope fail(0);
    EXPECT_EQ(VX_NewEffectWorld(nullptr, 100, 100, 8, true, rb, &def), 4);
  }
  EXPECT_EQ(def.width, 123);
  EXPECT_EQ(VX_G_LiveWorlds, live);
  EXPECT_EQ(KU_AccountedBytes(), accounted);
  TakeReports();
}

TEST(EffectWorlds, AllocationIsAccountedAndReleased) {
  const long long before = KU_AccountedBytes();
  {
    EffectWorld w(100, 10, 16);
    EXPECT_EQ(KU_AccountedBytes() - before, static_cast<long long>(9 * 800 + 800 + (800 - 8) + 8));
  }
  EXPECT_EQ(KU_AccountedBytes(), before);
}

}  // namespace

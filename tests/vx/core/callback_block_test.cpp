// The callback block and the selectors: which routine each entry and number
// gives for each quality and alpha interpretation.
#include <cstring>

#include "core/NamedRoutines.h"
#include "support/TestWorlds.h"

namespace {

// Distinct addresses to put into slots and named routines.
char g_marks[VX_kOverFuncCount];
void* Mark(int32_t slot) { return &g_marks[slot]; }

class CallbackTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::memcpy(saved_, VXp_G_OverFuncs, sizeof saved_);
    vxtest::TakeReports();
  }
  void TearDown() override { std::memcpy(VXp_G_OverFuncs, saved_, sizeof saved_); }
  // Marks every slot an entry may depend on with its own address.
  void MarkSampleSlots() {
    for (VX_OverSlot s :
         {VX_Slot_NNSample, VX_Slot_SubpixelSample_Straight, VX_Slot_SubpixelSample_Premul, VX_Slot_AreaSample_Straight,
          VX_Slot_AreaSample_Premul, VX_Slot_CompositeRectDraft_Straight, VX_Slot_CompositeRectDraft_Premul,
          VX_Slot_CompositeRectBest_Straight, VX_Slot_CompositeRectBest_Premul, VX_Slot_CopyBits_Draft,
          VX_Slot_CopyBits_HQ_Straight, VX_Slot_CopyBits_HQ_Premul, VX_Slot_FastBlur_Straight, VX_Slot_FastBlur_Premul,
          VX_Slot_Convolve, VX_Slot_NNSample16, VX_Slot_SubpixelSample_Straight16, VX_Slot_AreaSample16})
      VXp_G_OverFuncs[s] = Mark(s);
  }
  static void* Selector(int32_t quality, int32_t flags, int32_t selector, VX_Err* err = nullptr) {
    void* address = reinterpret_cast<void*>(1);
    const VX_Err e = VX_GetCallbackAddr(nullptr, quality, flags, selector, &address);
    if (err) *err = e;
    return address;
  }
  void* saved_[VX_kOverFuncCount];
};

TEST_F(CallbackTest, QualityAndFlagsChooseTheSlots) {
  MarkSampleSlots();
  struct Case {
    int32_t quality, flags;
    VX_OverSlot sample, area, composite, copy, sample16, area16, fast_blur;
  };
  const Case cases[] = {
      // best, straight
      {1, 1, VX_Slot_SubpixelSample_Straight, VX_Slot_AreaSample_Straight, VX_Slot_CompositeRectBest_Straight,
       VX_Slot_CopyBits_HQ_Straight, VX_Slot_SubpixelSample_Straight16, VX_Slot_AreaSample16,
       VX_Slot_FastBlur_Straight},
      // best, premultiplied
      {7, 0, VX_Slot_SubpixelSample_Premul, VX_Slot_AreaSample_Premul, VX_Slot_CompositeRectBest_Premul,
       VX_Slot_CopyBits_HQ_Premul, VX_Slot_SubpixelSample_Straight16, VX_Slot_AreaSample16, VX_Slot_FastBlur_Premul},
      // draft, straight: nearest neighbour
      {0, 1, VX_Slot_NNSample, VX_Slot_NNSample, VX_Slot_CompositeRectDraft_Straight, VX_Slot_CopyBits_Draft,
       VX_Slot_NNSample16, VX_Slot_NNSample16, VX_Slot_FastBlur_Straight},
      // draft, premultiplied (only bit 0 counts)
      {0, 2, VX_Slot_NNSample, VX_Slot_NNSample, VX_Slot_CompositeRectDraft_Premul, VX_Slot_CopyBits_Draft,
       VX_Slot_NNSample16, VX_Slot_NNSample16, VX_Slot_FastBlur_Premul},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "quality " << c.quality << " flags " << c.flags);
    VX_CallbackBlock b;
    ASSERT_EQ(VX_GetCallbackBlock(c.quality, c.flags, &b), 0);
    EXPECT_EQ(b.sample, Mark(c.sample));
    EXPECT_EQ(b.area_sample, Mark(c.area));
    EXPECT_EQ(b.composite_rect, Mark(c.composite));
    EXPECT_EQ(b.copy, Mark(c.copy));
    EXPECT_EQ(b.sample16, Mark(c.sample16));
    EXPECT_EQ(b.area_sample16, Mark(c.area16));
    EXPECT_EQ(b.convolve, Mark(VX_Slot_Convolve));
    // The numbered look-up agrees with the block.
    EXPECT_EQ(Selector(c.quality, c.flags, VX_Sel_Sample), Mark(c.sample));
    EXPECT_EQ(Selector(c.quality, c.flags, VX_Sel_AreaSample), Mark(c.area));
    EXPECT_EQ(Selector(c.quality, c.flags, VX_Sel_CompositeRect), Mark(c.composite));
    EXPECT_EQ(Selector(c.quality, c.flags, VX_Sel_Copy), Mark(c.copy));
    EXPECT_EQ(Selector(c.quality, c.flags, VX_Sel_Sample16), Mark(c.sample16));
    EXPECT_EQ(Selector(c.quality, c.flags, VX_Sel_AreaSample16), Mark(c.area16));
    EXPECT_EQ(Selector(c.quality, c.flags, VX_Sel_FastBlur), Mark(c.fast_blur));
  }
}

TEST_F(CallbackTest, SettingTheQualityChangesOnlyItsEntries) {
  MarkSampleSlots();
  VX_CallbackBlock b;
  ASSERT_EQ(VX_GetCallbackBlock(1, 1, &b), 0);
  b.fill = nullptr;  // stands for anything the call must leave alone
  b.spare[0] = Mark(0);
  ASSERT_EQ(VX_SetCallbackBlockQuality(0, 0, &b), 0);
  EXPECT_EQ(b.sample, Mark(VX_Slot_NNSample));
  EXPECT_EQ(b.composite_rect, Mark(VX_Slot_CompositeRectDraft_Premul));
  EXPECT_EQ(b.fill, nullptr);
  EXPECT_EQ(b.spare[0], Mark(0));
  EXPECT_EQ(VX_SetCallbackBlockQuality(0, 0, nullptr), 3);
  EXPECT_EQ(VX_GetCallbackBlock(0, 0, nullptr), 3);
}

TEST_F(CallbackTest, BlendAndColourEntriesFollowTheFlags) {
  void* named[VXp_kNamedRoutineCount];
  for (int32_t i = 0; i < VXp_kNamedRoutineCount; ++i) {
    named[i] = VXp_GetNamedRoutine(static_cast<VXp_NamedRoutine>(i));
    VXp_SetNamedRoutine(static_cast<VXp_NamedRoutine>(i), &g_marks[i]);
  }
  VX_CallbackBlock straight, premul;
  ASSERT_EQ(VX_GetCallbackBlock(1, 1, &straight), 0);
  ASSERT_EQ(VX_GetCallbackBlock(0, 0, &premul), 0);
  EXPECT_EQ(straight.blend, &g_marks[VXp_Named_Blend_Straight]);
  EXPECT_EQ(premul.blend, &g_marks[VXp_Named_Blend_Premul]);
  EXPECT_EQ(straight.hue, &g_marks[VXp_NamedColor(VXp_Color_Straight, VXp_Color_Hue)]);
  EXPECT_EQ(premul.saturation, &g_marks[VXp_NamedColor(VXp_Color_Premul, VXp_Color_Saturation)]);
  EXPECT_EQ(straight.gaussian_kernel, &g_marks[VXp_Named_GaussianKernel]);
  EXPECT_EQ(Selector(0, 0, VX_Sel_RGBtoHLS), &g_marks[VXp_NamedColor(VXp_Color_Premul, VXp_Color_RGBtoHLS)]);
  EXPECT_EQ(Selector(0, 1, VX_Sel_Blend), &g_marks[VXp_Named_Blend_Straight]);
  VX_Err err = -1;
  EXPECT_EQ(Selector(0, 0, VX_Sel_PaintSpot, &err), &g_marks[VXp_Named_PaintSpot]);
  EXPECT_EQ(err, 0);
  for (int32_t i = 0; i < VXp_kNamedRoutineCount; ++i) VXp_SetNamedRoutine(static_cast<VXp_NamedRoutine>(i), named[i]);
}

TEST_F(CallbackTest, EveryKnownSelectorGivesItsRoutineOrUnimplemented) {
  for (int32_t selector = VX_kFirstSelector; selector <= VX_kLastSelector; ++selector) {
    if (selector == -10 || selector == -7 || selector == 0) continue;
    SCOPED_TRACE(selector);
    VX_Err err = -1;
    void* address = Selector(1, 1, selector, &err);
    if (selector == VX_Sel_ReservedSlot0 || selector == VX_Sel_ReservedSlot1) {
      EXPECT_EQ(address, nullptr);
      EXPECT_EQ(err, 0);
    } else {
      EXPECT_EQ(err, address ? 0 : 5);
    }
  }
  EXPECT_TRUE(vxtest::TakeReports().empty());
  // What exists now is real.
  for (int32_t selector : {4, 10, 12, 13, 14, 23, 24, 25, 26, 27, 28, 29, 30, 33, 34, 35, 36, 37})
    EXPECT_NE(Selector(1, 1, selector), nullptr) << selector;
  EXPECT_EQ(Selector(1, 1, VX_Sel_Fill), reinterpret_cast<void*>(&VX_Fill));
  EXPECT_EQ(Selector(1, 1, VX_Sel_Iterate), reinterpret_cast<void*>(&VX_Iterate_Static));
}

TEST_F(CallbackTest, UnknownSelectorsWriteNullAndReport) {
  for (int32_t selector : {-14, -10, -7, 0, 38, 515}) {
    VX_Err err = 0;
    EXPECT_EQ(Selector(1, 1, selector, &err), nullptr) << selector;
    EXPECT_EQ(err, 515);
    const auto reports = vxtest::TakeReports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].site, 0x250001);
    EXPECT_EQ(reports[0].text, "invalid callback selector");
  }
  EXPECT_EQ(VX_GetCallbackAddr(nullptr, 1, 1, VX_Sel_Fill, nullptr), 3);
  EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "bad parameter passed to effect callback"));
}

TEST_F(CallbackTest, PairedSelectorsGiveTheSameRoutine) {
  for (auto [a, b] : {std::pair{12, 35}, {25, 36}, {29, 37}}) {
    EXPECT_EQ(Selector(0, 0, a), Selector(1, 1, b)) << a << " and " << b;
    EXPECT_NE(Selector(0, 0, a), nullptr);
  }
}

TEST_F(CallbackTest, BlockAndSelectorsSeeALaterOverride) {
  ASSERT_EQ(VX_SetOverrideFunc(VX_Slot_Iterate, Mark(VX_Slot_Iterate)), 0);
  VX_CallbackBlock b;
  ASSERT_EQ(VX_GetCallbackBlock(1, 0, &b), 0);
  EXPECT_EQ(reinterpret_cast<void*>(b.iterate), Mark(VX_Slot_Iterate));
  EXPECT_EQ(Selector(1, 0, VX_Sel_Iterate16), Mark(VX_Slot_Iterate));
}

TEST_F(CallbackTest, OverrideIndexMustBeInRange) {
  // Indexes 1 to the last slot; slot 0 stays null.
  constexpr int32_t last = VX_kOverFuncCount - 1;
  EXPECT_EQ(VX_SetOverrideFunc(VX_Slot_Reserved0, Mark(0)), 3);
  EXPECT_EQ(VX_SetOverrideFunc(VX_kOverFuncCount, Mark(0)), 3);
  EXPECT_EQ(VX_SetOverrideFunc(-1, Mark(0)), 3);
  EXPECT_EQ(VXp_SlotAddress(VX_Slot_Reserved0), nullptr);
  EXPECT_EQ(VX_SetOverrideFunc(VX_Slot_Reserved1, Mark(1)), 0);
  EXPECT_EQ(VX_SetOverrideFunc(last, Mark(last)), 0);
  EXPECT_EQ(VXp_G_OverFuncs[last], Mark(last));
}

// Works a 16-bit world through the block alone.
TEST_F(CallbackTest, BlockRoutinesWorkTogether) {
  VX_CallbackBlock b;
  ASSERT_EQ(VX_GetCallbackBlock(1, 1, &b), 0);
  EXPECT_EQ(b.reserved_slot0, nullptr);
  for (void* spare : b.spare) EXPECT_EQ(spare, nullptr);
  EXPECT_DOUBLE_EQ(b.ansi.hypot(3, 4), 5.0);
  EXPECT_DOUBLE_EQ(b.ansi.fmod(7.5, 2), 1.5);
  EXPECT_EQ(b.ansi.spare, nullptr);

  VX_LayerDef world{};
  ASSERT_EQ(b.new_world(nullptr, 9, 4, VX_NewWorldFlag_Deep | VX_NewWorldFlag_Clear, &world), 0);
  int32_t depth = 0;
  VX_GetEffectWorldDepth(&world, &depth);
  EXPECT_EQ(depth, 16);
  const VX_Pixel16 color{32768, 1, 2, 3};
  const GEO_LRect rect{2, 1, 5, 3};
  ASSERT_EQ(b.fill16(nullptr, &color, &rect, &world), 0);
  VX_Pixel16* pixels = nullptr;
  ASSERT_EQ(b.get_pixel_data16(&world, nullptr, &pixels), 0);
  VX_Pixel8* pixels8 = reinterpret_cast<VX_Pixel8*>(1);
  ASSERT_EQ(b.get_pixel_data8(&world, nullptr, &pixels8), 0);
  EXPECT_EQ(pixels8, nullptr);  // wrong depth: no pixels, no error
  long filled = 0;
  for (int32_t y = 0; y < 4; ++y) {
    auto* row = reinterpret_cast<VX_Pixel16*>(reinterpret_cast<char*>(pixels) + y * world.row_stride);
    for (int32_t x = 0; x < 9; ++x) filled += vxtest::SamePixel(row[x], color);
  }
  EXPECT_EQ(filled, 6);
  EXPECT_EQ(b.dispose_world(nullptr, &world), 0);
  EXPECT_EQ(b.dispose_world(nullptr, &world), 516);  // already gone
}

}  // namespace

namespace {

// Comes alive once the samplers fill their slots.
TEST(CallbackSamplers, DraftGivesTheNearestNeighbourSampler) {
  if (!VXp_GetSlot<VX_Slot_NNSample>() || !VXp_GetSlot<VX_Slot_SubpixelSample_Straight>())
    GTEST_SKIP() << "the samplers aren't in the table yet";
  VX_CallbackBlock draft, best;
  ASSERT_EQ(VX_GetCallbackBlock(0, 1, &draft), 0);
  ASSERT_EQ(VX_GetCallbackBlock(1, 1, &best), 0);
  EXPECT_EQ(draft.sample, VXp_SlotAddress(VX_Slot_NNSample));
  EXPECT_EQ(draft.area_sample, VXp_SlotAddress(VX_Slot_NNSample));
  EXPECT_NE(best.sample, draft.sample);
  void* address = nullptr;
  ASSERT_EQ(VX_GetCallbackAddr(nullptr, 0, 0, VX_Sel_AreaSample, &address), 0);
  EXPECT_EQ(address, VXp_SlotAddress(VX_Slot_NNSample));
}

}  // namespace

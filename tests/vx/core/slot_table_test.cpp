// The list of replaceable operations: each name has the number that hosts,
// plug-ins and modules know it by, the list covers the table exactly, and
// the typed installers take only a routine of the slot's own type.
#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "composite/mattes/MatteStages.h"
#include "core/Internal.h"
#include "support/TestWorlds.h"

namespace {

// ---------------------------------------------------------------------------
// The numbers, written out from the published table.

static_assert(VX_Slot_Reserved0 == 0 && VX_Slot_Reserved1 == 1);
static_assert(VX_Slot_NNSample == 2 && VX_Slot_SubpixelSample_Straight == 3 && VX_Slot_SubpixelSample_Premul == 4);
static_assert(VX_Slot_AreaSample_Straight == 5 && VX_Slot_AreaSample_Premul == 6);
static_assert(VX_Slot_CompositeRectDraft_Straight == 7 && VX_Slot_CompositeRectDraft_Premul == 8 &&
              VX_Slot_CompositeRectBest_Straight == 9 && VX_Slot_CompositeRectBest_Premul == 10);
static_assert(VX_Slot_PackedRow0 == 17 && VX_Slot_PackedRow1 == 18 && VX_Slot_PackedRow2 == 19 &&
              VX_Slot_PackedRow3 == 20 && VX_Slot_PackedRow4 == 21 && VX_Slot_PackedRow5 == 22);
static_assert(VX_Slot_CopyBits_Draft == 23 && VX_Slot_CopyBits_HQ_Straight == 24 && VX_Slot_CopyBits_HQ_Premul == 25);
static_assert(VX_Slot_FastBlur_Straight == 26 && VX_Slot_FastBlur_Premul == 27 && VX_Slot_Convolve == 28);
static_assert(VX_Slot_TransferRect == 31 && VX_Slot_TransformWorld == 32);
static_assert(VX_Slot_MatteBlack8 == 35 && VX_Slot_UnmatteBlack8 == 36 && VX_Slot_MatteWhite8 == 37 &&
              VX_Slot_UnmatteWhite8 == 38 && VX_Slot_MatteGrey8 == 39 && VX_Slot_UnmatteGrey8 == 40 &&
              VX_Slot_AlphaMerge8 == 41);
static_assert(VX_Slot_Iterate == 42 && VX_Slot_IterateOrigin == 43 && VX_Slot_IterateLUT == 44);
static_assert(VX_Slot_OpenDestination == 45 && VX_Slot_CloseDestination == 46);
static_assert(VX_Slot_CompositeModeHelper == 47 && VX_Slot_TransformHelper == 48);
static_assert(VX_Slot_IterateOriginUnclipped == 51 && VX_Slot_PremulRect == 52 && VX_Slot_IterateGeneric == 53);
static_assert(VX_Slot_BoxBlurUnoScan == 54 && VX_Slot_MergeMaskAlpha8 == 55 && VX_Slot_AccumulateUno8 == 56);
static_assert(VX_Slot_SubpixelSampleComputeWeight == 57);
static_assert(VX_Slot_SubpixelSampleTranslateNoClip_Straight == 58 && VX_Slot_SubpixelSamplePlus_Straight == 60 &&
              VX_Slot_SubpixelSampleNoClip_Straight == 61);
static_assert(VX_Slot_MergeMaskAlpha16_8 == 62);
static_assert(VX_Slot_NNSample16 == 63 && VX_Slot_SubpixelSample_Straight16 == 64 && VX_Slot_AreaSample16 == 65);
static_assert(VX_Slot_SubpixelSampleTranslateNoClip_Straight16 == 68 && VX_Slot_SubpixelSamplePlus_Straight16 == 70 &&
              VX_Slot_SubpixelSampleNoClip_Straight16 == 71);
static_assert(VX_Slot_MatteBlack16 == 72 && VX_Slot_UnmatteBlack16 == 73 && VX_Slot_MatteWhite16 == 74 &&
              VX_Slot_UnmatteWhite16 == 75 && VX_Slot_MatteGrey16 == 76 && VX_Slot_UnmatteGrey16 == 77 &&
              VX_Slot_AlphaMerge16 == 78);
static_assert(VX_Slot_AccumulateUno8To16 == 81 && VX_Slot_MaskRow16To8 == 82);
static_assert(VX_Slot_SubpixelSampleNoClip_Straight_4 == 83 && VX_Slot_SubpixelSampleTranslateNoClip_Straight_4 == 84);
static_assert(VX_Slot_AccumulateUno16 == 85 && VX_Slot_TransferUno8 == 88 && VX_Slot_TransferUno16 == 89);
static_assert(VX_Slot_SubpixelSpanSampleTranslateNoClip_Straight == 86 &&
              VX_Slot_SubpixelSpanSampleTranslateNoClip_Straight16 == 87);
static_assert(VX_Slot_BoxBlurDeepUnoScan == 92 && VX_Slot_MergeMaskAlpha16 == 93);
// Inner blending: (mask, tables) = (no, no), (yes, no), (no, yes), (yes, yes),
// each at 8 bits, 16 bits and float.
static_assert(VX_Slot_InnerBlending8 == 94 && VX_Slot_InnerBlending16 == 95 && VX_Slot_InnerBlendingF == 96);
static_assert(VX_Slot_InnerBlendingMask8 == 97 && VX_Slot_InnerBlendingMask16 == 98 &&
              VX_Slot_InnerBlendingMaskF == 99);
static_assert(VX_Slot_InnerBlendingTables8 == 100 && VX_Slot_InnerBlendingTables16 == 101 &&
              VX_Slot_InnerBlendingTablesF == 102);
static_assert(VX_Slot_InnerBlendingMaskTables8 == 103 && VX_Slot_InnerBlendingMaskTables16 == 104 &&
              VX_Slot_InnerBlendingMaskTablesF == 105);
static_assert(VX_Slot_MatteBlackF == 106 && VX_Slot_UnmatteBlackF == 107 && VX_Slot_MatteWhiteF == 108 &&
              VX_Slot_UnmatteWhiteF == 109 && VX_Slot_MatteGreyF == 110 && VX_Slot_UnmatteGreyF == 111 &&
              VX_Slot_AlphaMergeF == 112);
static_assert(VX_Slot_MergeMaskAlphaF_8 == 113 && VX_Slot_MergeMaskAlphaF_16 == 114);
static_assert(VX_Slot_TransferRectPlus == 115 && VX_Slot_TransferKernel2 == 116 && VX_Slot_TransferKernel3 == 117);

// The numbers nothing uses; together with the listed ones they are the whole
// table, each once (the header already refuses a number listed twice).
constexpr int32_t kUnused[] = {11, 12, 13, 14, 15, 16, 29, 30, 33, 34, 49, 50, 59, 66, 67, 69, 79, 80, 90, 91};
constexpr bool ListIsTheTableLessTheUnused() {
  if (std::size(VX_kListedSlots) + std::size(kUnused) != VX_kOverFuncCount) return false;
  for (int32_t listed : VX_kListedSlots)
    for (int32_t unused : kUnused)
      if (listed == unused) return false;
  return true;
}
static_assert(ListIsTheTableLessTheUnused());

// ---------------------------------------------------------------------------
// Types: runs pick the members of the published order, and the installers
// refuse a routine of another type.

static_assert(std::is_same_v<VX_SlotProc<VX_Slot_Iterate>, VX_IterateProc>);
static_assert(std::is_same_v<VX_SlotProc<VX_Slot_TransformWorld>, VX_TransformWorldProc>);
static_assert(std::is_same_v<VX_SlotProc<VX_Slot_AlphaMerge16>, VX_BlendAlphaProc<VX_Pixel16>>);
static_assert(std::is_same_v<VX_SlotProc<VX_Slot_InnerBlendingTablesF>, VX_GetInnerBlendingProc<VX_PixelFloat>>);

static_assert(VX_InnerBlendingSlots<VX_Pixel8>::At(VX_InnerBlendingIndex(false, false)) == VX_Slot_InnerBlending8);
static_assert(VX_InnerBlendingSlots<VX_Pixel16>::At(VX_InnerBlendingIndex(true, false)) == VX_Slot_InnerBlendingMask16);
static_assert(VX_InnerBlendingSlots<VX_PixelFloat>::At(VX_InnerBlendingIndex(false, true)) ==
              VX_Slot_InnerBlendingTablesF);
static_assert(VX_InnerBlendingSlots<VX_Pixel8>::At(VX_InnerBlendingIndex(true, true)) ==
              VX_Slot_InnerBlendingMaskTables8);
static_assert(VX_MatteStageSlots<VX_Pixel16>::At(VXp_Stage_UnmatteWhite) == VX_Slot_UnmatteWhite16);
static_assert(VX_MatteStageSlots<VX_PixelFloat>::At(VXp_Stage_UnmatteGrey) == VX_Slot_UnmatteGreyF);
static_assert(VX_PackedRowSlots::At(5) == VX_Slot_PackedRow5);

template <VX_OverSlot S, class F>
concept Installs = requires(F f) { VXp_Install<S>(f); };
template <VX_OverSlot S>
concept Readable = requires { VXp_GetSlot<S>(); };

static_assert(Installs<VX_Slot_PremulRect, decltype(&VX_PremulRect_S)>);
static_assert(!Installs<VX_Slot_PremulRect, decltype(&VX_Premul)>, "one argument short");
static_assert(!Installs<VX_Slot_Iterate, decltype(&VX_IterateGeneric_Static)>);
static_assert(!Installs<VX_Slot_InnerBlending16, decltype(&VX_GetInnerBlendingFunc<VX_Pixel8, false, false>)>,
              "another depth's instance");
static_assert(!Installs<VX_Slot_Reserved1, std::nullptr_t>, "reserved slots take nothing typed");
static_assert(!Installs<VX_Slot_TransformHelper, decltype(&VX_PremulRect_S)>);
static_assert(Readable<VX_Slot_SubpixelSampleComputeWeight> && !Readable<VX_Slot_MaskRow16To8>,
              "unsettled slots have no typed reader until their type is fixed");

// ---------------------------------------------------------------------------
// At run time.

class SlotTable : public ::testing::Test {
 protected:
  void SetUp() override { std::memcpy(saved_, VXp_G_OverFuncs, sizeof saved_); }
  void TearDown() override { std::memcpy(VXp_G_OverFuncs, saved_, sizeof saved_); }
  bool TableUnchanged() const { return std::memcmp(VXp_G_OverFuncs, saved_, sizeof saved_) == 0; }
  void* saved_[VX_kOverFuncCount];
};

VX_Err OtherPremulRect(void*, int32_t, const GEO_LRect*, VX_LayerDef*) { return 77; }

TEST_F(SlotTable, TypedAndNumberedAccessMeetInTheSameSlot) {
  VXp_Install<VX_Slot_PremulRect>(&OtherPremulRect);
  EXPECT_EQ(VXp_SlotAddress(VX_Slot_PremulRect), reinterpret_cast<void*>(&OtherPremulRect));
  EXPECT_EQ(VX_PremulRect(nullptr, 1, nullptr, nullptr), 77) << "the thin entry reads the slot";

  ASSERT_EQ(VX_SetOverrideFunc(VX_Slot_PremulRect, reinterpret_cast<void*>(&VX_PremulRect_S)), 0);
  EXPECT_EQ(VXp_GetSlot<VX_Slot_PremulRect>(), &VX_PremulRect_S);

  // A module's table: only the named index changes.
  void* table[VX_kOverFuncCount] = {};
  VX_InstallSlot<VX_Slot_PremulRect>(table, &OtherPremulRect);
  for (int32_t i = 0; i < VX_kOverFuncCount; ++i)
    EXPECT_EQ(table[i] != nullptr, i == VX_Slot_PremulRect) << i;
  EXPECT_EQ(VX_ReadSlot<VX_Slot_PremulRect>(table), &OtherPremulRect);
}

TEST_F(SlotTable, RunMembersOutOfRangeAreNeitherWrittenNorRead) {
  typedef VX_MatteStageSlots<VX_Pixel8> Stages8;
  for (int32_t i : {-1, Stages8::kCount, 1000}) {
    VXp_InstallIn<Stages8>(i, VXp_ScalarMatteStage<VX_Pixel8>(0));
    EXPECT_EQ(VXp_GetIn<Stages8>(i), nullptr) << i;
    VXp_InstallIn<VX_InnerBlendingSlots<VX_Pixel16>>(i, nullptr);
  }
  EXPECT_TRUE(TableUnchanged()) << "the alpha merge after the stages, and every other slot, stay";
}

// The kernel the run member of (mask, tables) gives for each mode, beside
// the one the matching instance gives when called by name.
template <class Pixel, bool HasMask, bool HasTables>
void ExpectInnerBlendingMember(VX_InnerBlendingProc<Pixel> (&kernels)[4]) {
  const int32_t index = VX_InnerBlendingIndex(HasMask, HasTables);
  const auto get = VXp_GetIn<VX_InnerBlendingSlots<Pixel>>(index);
  ASSERT_NE(get, nullptr);
  for (int32_t mode : {XferCopy, XferAdd, XferMultiply, XferScreen, XferBehind}) {
    VX_InnerBlendingFunc<Pixel> from_slot{nullptr}, by_name{nullptr};
    ASSERT_EQ(get(mode, &from_slot), 0);
    ASSERT_EQ((VX_GetInnerBlendingFunc<Pixel, HasMask, HasTables>(mode, &by_name)), 0);
    EXPECT_EQ(from_slot.func, by_name.func) << "mask " << HasMask << ", tables " << HasTables << ", mode " << mode;
    if (mode == XferScreen) kernels[index] = from_slot.func;
  }
}

template <class Pixel>
void ExpectInnerBlendingRun() {
  SCOPED_TRACE(VX_PixelTraits<Pixel>::kDepth);
  VX_InnerBlendingProc<Pixel> kernels[4] = {};
  ExpectInnerBlendingMember<Pixel, false, false>(kernels);
  ExpectInnerBlendingMember<Pixel, true, false>(kernels);
  ExpectInnerBlendingMember<Pixel, false, true>(kernels);
  ExpectInnerBlendingMember<Pixel, true, true>(kernels);
  // The four members differ, so a member in the wrong place would show.
  for (int32_t a = 0; a < 4; ++a)
    for (int32_t b = a + 1; b < 4; ++b) EXPECT_NE(kernels[a], kernels[b]) << a << " and " << b;
}

TEST_F(SlotTable, StartUpFillsTheRunsInTheirPublishedOrder) {
  // 16 bits has no vector forms: its stages are the scalar ones, in order.
  for (int32_t stage = 0; stage < VXp_kMatteStageCount; ++stage)
    EXPECT_EQ(VXp_GetIn<VX_MatteStageSlots<VX_Pixel16>>(stage), VXp_ScalarMatteStage<VX_Pixel16>(stage)) << stage;
  EXPECT_EQ(VXp_GetSlot<VX_Slot_AlphaMerge16>(), VXp_ScalarAlphaMerge<VX_Pixel16>());
  ExpectInnerBlendingRun<VX_Pixel8>();
  ExpectInnerBlendingRun<VX_Pixel16>();
  ExpectInnerBlendingRun<VX_PixelFloat>();
}

}  // namespace

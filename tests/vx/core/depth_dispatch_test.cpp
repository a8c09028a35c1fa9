// The depth dispatcher: each depth reaches the body with its own pixel type,
// and an unknown depth is reported once, in the way the caller chose.
#include <gtest/gtest.h>

#include <type_traits>

#include "core/Internal.h"
#include "support/TestWorlds.h"
#include "vx/color/ColorTestSupport.h"

namespace {

// The depth a pixel type stands for, written out independently of the traits.
template <class Pixel>
int32_t DepthOf() {
  if (std::is_same_v<Pixel, VX_Pixel8>) return 8;
  if (std::is_same_v<Pixel, VX_Pixel16>) return 16;
  if (std::is_same_v<Pixel, VX_PixelFloat>) return 32;
  return -1;
}

TEST(DepthDispatch, EachDepthReachesItsPixelTypeAndPassesTheResultOn) {
  vxtest::TakeReports();
  for (int32_t depth : {8, 16, 32}) {
    int32_t seen = 0;
    const VX_Err err = VXp_DispatchDepth(depth, {"unused", 1}, [&](auto pixel) -> VX_Err {
      seen = DepthOf<decltype(pixel)>();
      return 40 + seen;
    });
    EXPECT_EQ(seen, depth);
    EXPECT_EQ(err, 40 + depth) << "the body's code is the result";
    EXPECT_EQ(VXp_DispatchDepth(depth, {"unused", 1}, [](auto) {}), 0) << "a body without a code gives 0";
  }
  EXPECT_TRUE(vxtest::TakeReports().empty());
}

TEST(DepthDispatch, UnknownDepthsAreReportedTheWayTheCallerChose) {
  for (int32_t depth : {0, 1, 24, 64, -8, 0x10008}) {
    vxtest::TakeReports();
    bool ran = false;
    auto body = [&](auto) { ran = true; };

    EXPECT_EQ(VXp_DispatchDepth(depth, {"no such depth", 77}, body), 3);
    auto reports = vxtest::TakeReports();
    ASSERT_EQ(reports.size(), 1u) << depth;
    EXPECT_EQ(reports[0].kind, KU_ReportKind::Verification);
    EXPECT_EQ(reports[0].site, 0x2503E7);
    EXPECT_EQ(reports[0].line, 77);
    EXPECT_EQ(reports[0].text, "no such depth");

    // To the user: the report's own result is the code (the host's gives 0).
    EXPECT_EQ(VXp_DispatchDepth(depth, {"told to the user", 0, VXp_Site(0x6E), true}, body), 0);
    reports = vxtest::TakeReports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].kind, KU_ReportKind::Text);
    EXPECT_EQ(reports[0].site, 0x25006E);
    EXPECT_EQ(reports[0].severity, 8);

    EXPECT_EQ(VXp_DispatchDepth(depth, VXp_kQuietDepth, body), 3);
    EXPECT_TRUE(vxtest::TakeReports().empty()) << "quiet means no report";
    EXPECT_FALSE(ran);
  }
}

TEST(DepthDispatch, PairsCoverEveryCombinationAndReportTheFirstUnknownSideOnly) {
  vxtest::TakeReports();
  int32_t combinations = 0;
  for (int32_t a : {8, 16, 32})
    for (int32_t b : {8, 16, 32}) {
      VXp_DispatchDepths(a, {"first", 1}, b, {"second", 2}, [&](auto pa, auto pb) {
        EXPECT_EQ(DepthOf<decltype(pa)>(), a);
        EXPECT_EQ(DepthOf<decltype(pb)>(), b);
        ++combinations;
      });
    }
  EXPECT_EQ(combinations, 9);
  EXPECT_TRUE(vxtest::TakeReports().empty());

  auto never = [](auto, auto) { ADD_FAILURE() << "no body for an unknown depth"; };
  EXPECT_EQ(VXp_DispatchDepths(24, {"first", 1}, 48, {"second", 2}, never), 3);
  auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].line, 1);
  EXPECT_EQ(VXp_DispatchDepths(16, {"first", 1}, 48, {"second", 2}, never), 3);
  reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].text, "second");
}

TEST(DepthDispatch, PlainRecordsDispatchOnTheirFlagWord) {
  for (int32_t depth : {8, 16, 32}) {
    vxtest::EffectWorld world(2, 2, depth);
    VX_LayerDef plain = *world.get();
    plain.world_object = nullptr;  // only the flag word is left to go by
    int32_t seen = 0;
    VXp_DispatchDepth(&plain, {"unused", 1}, [&](auto pixel) { seen = DepthOf<decltype(pixel)>(); });
    EXPECT_EQ(seen, depth);
  }
}

TEST(DepthDispatch, FlagWordsFormatTagsAndDepthsMapOntoEachOther) {
  for (int32_t depth : {8, 16, 32}) {
    const uint32_t flags = VXp_DepthFlagsFor(depth);
    EXPECT_EQ(VXp_DepthOfFlags(flags), depth);
    EXPECT_EQ((flags & VX_DepthFlag_Deep) != 0, depth == 16) << "bit 0 is set exactly for 16 bits";

    // Tag to world to tag.
    vxtest::EffectWorld model(1, 1, depth);
    VX_PixelFormat tag = 0;
    ASSERT_EQ(VXp_GetPixelFormat(model.get(), &tag), 0);
    VX_LayerDef made{};
    ASSERT_EQ(VX_NewWorldByFormat(nullptr, 3, 2, true, tag, &made), 0);
    EXPECT_EQ(VXp_WorldDepth(&made), depth);
    EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &made), 0);
  }
  EXPECT_EQ(VXp_DepthFlagsFor(24), 0xFFFFFFFFu);
  EXPECT_EQ(VXp_DepthOfFlags(0x03000000), 0);
  EXPECT_EQ(VXp_DepthOfFlags(0x01000000), 16) << "the format code decides, not bit 0";
}

// Copies from a world of no known depth tell the user, and copy nothing.
TEST(DepthDispatch, CopiesFromAnUnknownDepthAreToldToTheUser) {
  colortest::OddWorld odd(4, 4);
  auto dst = colortest::NewWorld(4, 4, 8);
  vxtest::TakeReports();
  dst->CopyRectPossiblyDifferentBitdepth(&odd, GEO_LRect{0, 0, 4, 4}, false, 0, 0, nullptr);
  dst->CopyRectPossiblyDifferentBitdepthWithField(&odd, GEO_LRect{0, 0, 4, 4}, 1);
  const auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 2u);
  for (const auto& r : reports) {
    EXPECT_EQ(r.kind, KU_ReportKind::Text);
    EXPECT_EQ(r.site, 0x25006E);
  }
  EXPECT_EQ(reports[0].text, "Unknown bit depth in VX_World::CopyRectPossiblyDifferentBitdepths");
  EXPECT_EQ(reports[1].text, "Unknown bit depth in VX_World::CopyRectPossiblyDifferentBitdepthsWithField");
  const auto& d = static_cast<const VX_WorldX<VX_Pixel8>&>(*dst);
  for (int32_t y = 0; y < 4; ++y)
    for (int32_t x = 0; x < 4; ++x) EXPECT_EQ(d.PixelAt(x, y)->alpha, 0);
}

}  // namespace

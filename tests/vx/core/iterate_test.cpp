// The iterators: what they visit, in what order, progress numbering, stopping,
// the generic forms, and their refusals.
#include <vector>

#include "support/TestWorlds.h"

namespace {

using vxtest::EffectWorld;

struct Visit {
  int32_t x, y;
  const void* in;
  const void* out;
};

struct Recorder {
  std::vector<Visit> visits;
  int32_t stop_after = -1;  // return 9 at this visit
};

template <class Pixel>
VX_Err Record(void* refcon, int32_t x, int32_t y, Pixel* in, Pixel* out) {
  auto* r = static_cast<Recorder*>(refcon);
  r->visits.push_back({x, y, in, out});
  if (static_cast<int32_t>(r->visits.size()) == r->stop_after) return 9;
  if (out && in) out->red = in->red;
  return VX_Err_None;
}

struct ProgressLog {
  std::vector<std::pair<int32_t, int32_t>> calls;
  int32_t answer_at = -1;  // the call number that answers `answer`
  VX_Err answer = 0;
};

VX_Err Progress(void* refcon, int32_t current, int32_t total) {
  auto* log = static_cast<ProgressLog*>(refcon);
  log->calls.emplace_back(current, total);
  return static_cast<int32_t>(log->calls.size()) == log->answer_at ? log->answer : VX_Err_None;
}

VX_IterateHost HostFor(ProgressLog* log) {
  VX_IterateHost host{};
  host.progress = Progress;
  host.caller_ref = log;
  return host;
}

TEST(Iterate, WalksTheAreaRowByRowLeftToRightWithSourceClipping) {
  EffectWorld dst(20, 10, 16), src(12, 6, 16);
  Recorder r;
  const GEO_LRect area{-3, 2, 50, 50};
  ASSERT_EQ(VX_Iterate(nullptr, 0, 0, src.get(), &area, &r, Record<VX_Pixel16>, dst.get()), 0);
  ASSERT_EQ(r.visits.size(), 12u * 4u) << "clipped to the source's 12 x 6";
  EXPECT_EQ(r.visits.front().x, 0);
  EXPECT_EQ(r.visits.front().y, 2);
  for (size_t i = 1; i < r.visits.size(); ++i) {
    const Visit &a = r.visits[i - 1], &b = r.visits[i];
    EXPECT_TRUE(b.y > a.y || (b.y == a.y && b.x == a.x + 1));
  }
  const Visit& last = r.visits.back();
  EXPECT_EQ(last.in, src.At<VX_Pixel16>(11, 5));
  EXPECT_EQ(last.out, dst.At<VX_Pixel16>(11, 5));
}

TEST(Iterate, WithoutSourceInAndOutAreTheSamePixelAndNullAreaIsWhole) {
  EffectWorld dst(13, 3, 32);
  Recorder r;
  ASSERT_EQ(VX_Iterate(nullptr, 0, 0, nullptr, nullptr, &r, Record<VX_PixelFloat>, dst.get()), 0);
  ASSERT_EQ(r.visits.size(), 39u);
  for (const Visit& v : r.visits) EXPECT_EQ(v.in, v.out);
}

TEST(Iterate, AreasOffTheWorldWalkNothing) {
  EffectWorld dst(10, 10, 8);
  Recorder r;
  for (const GEO_LRect& area : {GEO_LRect{-5, 0, 0, 10}, GEO_LRect{11, 0, 20, 10}, GEO_LRect{0, -5, 10, 0},
                                GEO_LRect{0, 11, 10, 20}, GEO_LRect{0, 4, 10, 4}})
    EXPECT_EQ(VX_Iterate(nullptr, 0, 0, nullptr, &area, &r, Record<VX_Pixel8>, dst.get()), 0);
  EXPECT_TRUE(r.visits.empty());
}

TEST(Iterate, ProgressCountsFromTheStartAndKeepsTheLastAnswer) {
  EffectWorld dst(4, 10, 8);
  Recorder r;
  ProgressLog log;
  VX_IterateHost host = HostFor(&log);
  const GEO_LRect area{0, 5, 4, 8};
  ASSERT_EQ(VX_Iterate(&host, 100, 200, nullptr, &area, &r, Record<VX_Pixel8>, dst.get()), 0);
  EXPECT_EQ(log.calls, (std::vector<std::pair<int32_t, int32_t>>{{101, 200}, {102, 200}, {103, 200}}));

  ProgressLog seven{{}, 3, 7};
  host = HostFor(&seven);
  EXPECT_EQ(VX_Iterate(&host, 0, 3, nullptr, &area, &r, Record<VX_Pixel8>, dst.get()), 7)
      << "a non-stopping answer on the last row is the result";

  ProgressLog none;
  host = HostFor(&none);
  VX_Iterate(&host, 0, 0, nullptr, &area, &r, Record<VX_Pixel8>, dst.get());
  EXPECT_TRUE(none.calls.empty()) << "no total, no progress";
}

TEST(Iterate, StoppingOnTheSecondRowLeavesTheRowsBelow) {
  EffectWorld dst(5, 6, 8), src(5, 6, 8);
  for (int32_t y = 0; y < 6; ++y)
    for (int32_t x = 0; x < 5; ++x) src.At<VX_Pixel8>(x, y)->red = 200;
  Recorder r;
  ProgressLog log{{}, 2, VX_Err_Interrupted};
  VX_IterateHost host = HostFor(&log);
  EXPECT_EQ(VX_Iterate(&host, 0, 6, src.get(), nullptr, &r, Record<VX_Pixel8>, dst.get()), 517);
  EXPECT_EQ(dst.At<VX_Pixel8>(4, 1)->red, 200);
  EXPECT_EQ(dst.At<VX_Pixel8>(0, 2)->red, 0);
  EXPECT_EQ(r.visits.size(), 10u);
}

TEST(Iterate, ACallbacksCodeEndsTheWalkAtOnce) {
  EffectWorld dst(9, 9, 8);
  Recorder r;
  r.stop_after = 12;
  EXPECT_EQ(VX_Iterate(nullptr, 0, 0, nullptr, nullptr, &r, Record<VX_Pixel8>, dst.get()), 9);
  EXPECT_EQ(r.visits.size(), 12u);
}

TEST(Iterate, RefusalsReportAndTouchNothing) {
  EffectWorld dst(4, 4, 8), src16(4, 4, 16);
  Recorder r;
  vxtest::TakeReports();
  EXPECT_EQ(VX_Iterate(nullptr, 0, 0, nullptr, nullptr, &r, nullptr, dst.get()), 3);
  EXPECT_EQ(VX_Iterate(nullptr, 0, 0, nullptr, nullptr, &r, Record<VX_Pixel8>, nullptr), 3);
  auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[0].site, 0x25000E);
  EXPECT_EQ(reports[0].text, "bad parameter passed to effect callback");
  EXPECT_EQ(VX_Iterate(nullptr, 0, 0, src16.get(), nullptr, &r, Record<VX_Pixel8>, dst.get()), 3);
  reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].text, "VX_Iterate requires source and dst worlds to be same depth");
  EXPECT_TRUE(r.visits.empty());
}

TEST(IterateOrigin, PlacesTheSourceAtTheOriginAndClipsToIt) {
  EffectWorld dst(10, 10, 8), src(3, 2, 8);
  Recorder r;
  const GEO_LPoint origin{4, 5};
  ASSERT_EQ(VX_IterateOrigin(nullptr, 0, 0, src.get(), nullptr, &origin, &r, Record<VX_Pixel8>, dst.get()), 0);
  ASSERT_EQ(r.visits.size(), 6u);
  EXPECT_EQ(r.visits[0].x, 4);
  EXPECT_EQ(r.visits[0].y, 5);
  EXPECT_EQ(r.visits[0].in, src.At<VX_Pixel8>(0, 0));
  EXPECT_EQ(r.visits[5].in, src.At<VX_Pixel8>(2, 1));
  EXPECT_EQ(r.visits[5].out, dst.At<VX_Pixel8>(6, 6));
}

TEST(IterateOrigin, UnclippedHandsAZeroPixelOutsideTheSource) {
  EffectWorld dst(6, 3, 16), src(2, 2, 16);
  for (int32_t y = 0; y < 2; ++y)
    for (int32_t x = 0; x < 2; ++x) *src.At<VX_Pixel16>(x, y) = VX_Pixel16{1, 2, 3, 4};
  struct Seen {
    int inside = 0, zero = 0;
  } seen;
  auto look = [](void* refcon, int32_t x, int32_t y, VX_Pixel16* in, VX_Pixel16*) -> VX_Err {
    auto* s = static_cast<Seen*>(refcon);
    const bool inside = x >= 1 && x < 3 && y >= 1 && y < 3;
    if (inside && in->blue == 4) ++s->inside;
    if (!inside && in->alpha == 0 && in->blue == 0) ++s->zero;
    return 0;
  };
  const GEO_LPoint origin{1, 1};
  ASSERT_EQ(VX_IterateOriginUnclipped(nullptr, 0, 0, src.get(), nullptr, &origin, &seen,
                                      reinterpret_cast<VX_IterateFunc>(+look), dst.get()),
            0);
  EXPECT_EQ(seen.inside, 4);
  EXPECT_EQ(seen.zero, 18 - 4);
}

TEST(IterateOrigin, WithoutSourceEverySecondColumn) {
  EffectWorld dst(7, 2, 8);
  Recorder r;
  const GEO_LPoint origin{0, 0};
  ASSERT_EQ(VX_IterateOrigin(nullptr, 0, 0, nullptr, nullptr, &origin, &r, Record<VX_Pixel8>, dst.get()), 0);
  ASSERT_EQ(r.visits.size(), 8u);
  EXPECT_EQ(r.visits[1].x, 2);
  EXPECT_EQ(r.visits[3].x, 6);
  EXPECT_EQ(r.visits[0].in, nullptr);
  EXPECT_EQ(r.visits[1].out, dst.At<VX_Pixel8>(1, 0)) << "out steps one pixel a call";
  EXPECT_EQ(VX_IterateOrigin(nullptr, 0, 0, nullptr, nullptr, &origin, &r, nullptr, dst.get()), 3);
  vxtest::TakeReports();
}

TEST(IterateLUT, AppliesTablesAndRefusesDeepWorlds) {
  EffectWorld w(3, 2, 8), deep(3, 2, 16);
  *w.At<VX_Pixel8>(2, 1) = VX_Pixel8{10, 20, 30, 40};
  uint8_t invert[256];
  for (int i = 0; i < 256; ++i) invert[i] = static_cast<uint8_t>(255 - i);
  ASSERT_EQ(VX_IterateLUT(nullptr, 0, 0, nullptr, nullptr, nullptr, invert, nullptr, invert, w.get()), 0);
  EXPECT_TRUE(vxtest::SamePixel(*w.At<VX_Pixel8>(2, 1), VX_Pixel8{10, 235, 30, 215}));
  EXPECT_EQ(VX_IterateLUT(nullptr, 0, 0, nullptr, nullptr, nullptr, invert, nullptr, nullptr, deep.get()), 3);
  vxtest::TakeReports();
}

struct GenericLog {
  std::vector<std::vector<int32_t>> calls;
  int32_t fail_at = -1;
};

VX_Err Generic(void* refcon, int32_t thread, int32_t i, int32_t n) {
  auto* log = static_cast<GenericLog*>(refcon);
  log->calls.push_back({thread, i, n});
  return i == log->fail_at ? 11 : 0;
}

TEST(IterateGeneric, BuiltInFormIsSerial) {
  GenericLog log;
  EXPECT_EQ(VX_IterateGeneric(-1, &log, Generic), 0);
  EXPECT_EQ(log.calls, (std::vector<std::vector<int32_t>>{{0, 0, 1}}));
  log.calls.clear();
  EXPECT_EQ(VX_IterateGeneric(0, &log, Generic), 0);
  EXPECT_EQ(VX_IterateGeneric(-2, &log, Generic), 0);
  EXPECT_TRUE(log.calls.empty());
  log.fail_at = 2;
  EXPECT_EQ(VX_IterateGeneric(5, &log, Generic), 11);
  EXPECT_EQ(log.calls.size(), 3u);
  vxtest::TakeReports();
  EXPECT_EQ(VX_IterateGeneric(5, &log, nullptr), 3);
  const auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].site, 0x250046);
}

TEST(IterateGeneric, AHostsPoolTakesOverThroughTheTable) {
  void* const built_in = VXp_SlotAddress(VX_Slot_IterateGeneric);
  ASSERT_EQ(HOST_StartWorkers(3), 0);
  ASSERT_EQ(VX_SetOverrideFunc(VX_Slot_IterateGeneric, reinterpret_cast<void*>(&HOST_IterateGeneric)), 0);
  std::vector<std::atomic<int>> seen(3);
  auto once = [](void* refcon, int32_t thread, int32_t i, int32_t n) -> VX_Err {
    auto& s = *static_cast<std::vector<std::atomic<int>>*>(refcon);
    if (thread != i || n != 3) return 1;
    ++s[thread];
    return 0;
  };
  EXPECT_EQ(VX_IterateGeneric(-1, &seen, +once), 0);
  for (auto& s : seen) EXPECT_EQ(s.load(), 1);
  VX_SetOverrideFunc(VX_Slot_IterateGeneric, built_in);
  HOST_StopWorkers();
}

TEST(AppCallback, HandsOutTheGeometryTables) {
  const uint8_t* fcd = nullptr;
  ASSERT_EQ(VX_AppCallback(nullptr, 3, &fcd), 0);
  EXPECT_EQ(fcd, VXp_G_fcd_table);
  EXPECT_EQ(VX_AppCallback(nullptr, 6), 0);
  const GEO_FTrigTable* trig = nullptr;
  ASSERT_EQ(VX_AppCallback(nullptr, 4, &trig), 0);
  EXPECT_NEAR(trig->sine[trig->steps / 4], 1.0f, 1e-6);
  EXPECT_EQ(VX_AppCallback(nullptr, 9), 0);
  EXPECT_EQ(VX_AppCallback(nullptr, 77), 0);
}

}  // namespace

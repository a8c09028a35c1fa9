// Transforms the package makes and applies: linearising, the display
// transform's branches, whole worlds and rows, progress, and a missing engine.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "vx/color/ColorTestSupport.h"

namespace {

using colortest::NewWorld;

std::shared_ptr<TNT_ORX_Profile> P(ORX_ProfileCode code) { return TNT_ORX_Profile::FromCode(code); }

ORX_TransformInfo Describe(const TNT_ORX_Transform& t) {
  ORX_TransformInfo info;
  TNT_ORX_ETX(ORX_DescribeTransform(t.Get(), &info));
  return info;
}

// A link from `from` to `to` with this intent and optimisation level.
void ExpectLink(const ORX_LinkInfo& link, ORX_ProfileCode from, ORX_ProfileCode to, int32_t intent, int32_t level) {
  EXPECT_EQ(std::memcmp(link.source_id, P(from)->GetID().bytes, 16), 0) << "from " << from;
  EXPECT_EQ(std::memcmp(link.destination_id, P(to)->GetID().bytes, 16), 0) << "to " << to;
  EXPECT_EQ(link.intent, intent);
  EXPECT_EQ(link.options.Get(ORX_OptKey_Optimize, -1), level);
}

TEST(LinearizeTransform, NullProfilesMeanSRGBAndItsTwin) {
  const ORX_TransformInfo in = Describe(VX_GetLinearizeTransform(nullptr, nullptr, true));
  ASSERT_EQ(in.links.size(), 1u);
  const _t_ORX_ID twin = TNT_ORX_GetLinearRGBProfile(nullptr)->GetID();
  EXPECT_EQ(std::memcmp(in.links[0].source_id, TNT_ORX_GetDefaultProfile()->GetID().bytes, 16), 0);
  EXPECT_EQ(std::memcmp(in.links[0].destination_id, twin.bytes, 16), 0);
  EXPECT_EQ(in.links[0].intent, ORX_Intent_RelativeColorimetric);
  // Out of linear: from the twin of a into b.
  const ORX_TransformInfo out = Describe(VX_GetLinearizeTransform(P(ORX_Profile_sRGB), P(ORX_Profile_DisplayP3), false));
  ASSERT_EQ(out.links.size(), 1u);
  EXPECT_EQ(std::memcmp(out.links[0].source_id, twin.bytes, 16), 0);
  EXPECT_EQ(std::memcmp(out.links[0].destination_id, P(ORX_Profile_DisplayP3)->GetID().bytes, 16), 0);
  EXPECT_EQ(out.links[0].options.Get(ORX_OptKey_Optimize, -1), 50);
}

class DisplayTransform : public ::testing::Test {
 protected:
  void TearDown() override {
    OPTS_RemovePrefData(OPTS_GetPrefsHandle("VX"), "Display Transform Section",
                        "Clip over range in Display Transform when not Theater Preview");
    OPTS_SetReadFailure(0);
  }
  ORX_TransformInfo Make(ORX_ProfileCode working, const TNT_ORX_Profile* output, const TNT_ORX_Profile* simulation,
                         bool skip, bool fast) {
    return Describe(VX_NewDisplayTransform(*P(working), *display_, output, simulation, skip, fast));
  }
  std::shared_ptr<TNT_ORX_Profile> display_ = P(ORX_Profile_DisplayP3), output_ = P(ORX_Profile_Rec2020),
                                   simulation_ = P(ORX_Profile_ProPhoto);
};

TEST_F(DisplayTransform, DirectPathIgnoresOutputAndSkipWithoutSimulation) {
  ORX_TransformInfo t = Make(ORX_Profile_sRGB, output_.get(), nullptr, true, false);
  ASSERT_EQ(t.links.size(), 1u);
  ExpectLink(t.links[0], ORX_Profile_sRGB, ORX_Profile_DisplayP3, 1, 50);
  EXPECT_FALSE(t.optimized);
  t = Make(ORX_Profile_sRGB, nullptr, nullptr, false, true);
  ExpectLink(t.links[0], ORX_Profile_sRGB, ORX_Profile_DisplayP3, 1, 100);
  EXPECT_TRUE(t.optimized);
  EXPECT_EQ(t.optimize_level, 100);
}

TEST_F(DisplayTransform, OverRangeWorkingSpaceIsUnclippedWithDefaultOptionsEvenWhenFast) {
  ORX_TransformInfo t = Make(ORX_Profile_LinearSRGB, nullptr, nullptr, false, true);
  ASSERT_EQ(t.links.size(), 1u);
  ExpectLink(t.links[0], ORX_Profile_LinearSRGB, ORX_Profile_DisplayP3, 3, 50);
  EXPECT_TRUE(t.optimized);
  // Through a simulation, only the last step to the display is fast.
  t = Make(ORX_Profile_LinearSRGB, nullptr, simulation_.get(), false, true);
  ASSERT_EQ(t.links.size(), 2u);
  ExpectLink(t.links[0], ORX_Profile_LinearSRGB, ORX_Profile_ProPhoto, 3, 50);
  ExpectLink(t.links[1], ORX_Profile_ProPhoto, ORX_Profile_DisplayP3, 1, 100);
  // And an over-range float survives to the display.
  const TNT_ORX_Transform direct = VX_NewDisplayTransform(*P(ORX_Profile_LinearSRGB), *display_, nullptr, nullptr, false, false);
  float px[4] = {1.0f, 4.0f, 4.0f, 4.0f};
  TNT_ORX_ETX(ORX_ApplyTransformProc2(direct.Get(), px, px, 1, ORX_Format_ARGBFloat, ORX_Format_ARGBFloat, nullptr));
  EXPECT_GT(px[2], 1.5f);
}

TEST_F(DisplayTransform, SimulationBranches) {
  // Output, simulation and the output step: working -> output -> simulation -> display.
  ORX_TransformInfo t = Make(ORX_Profile_sRGB, output_.get(), simulation_.get(), false, false);
  ASSERT_EQ(t.links.size(), 3u);
  ExpectLink(t.links[0], ORX_Profile_sRGB, ORX_Profile_Rec2020, 1, 50);
  ExpectLink(t.links[1], ORX_Profile_Rec2020, ORX_Profile_ProPhoto, 1, 100);
  ExpectLink(t.links[2], ORX_Profile_ProPhoto, ORX_Profile_DisplayP3, 1, 100);
  // Skipping the output step.
  t = Make(ORX_Profile_sRGB, output_.get(), simulation_.get(), true, false);
  ASSERT_EQ(t.links.size(), 2u);
  ExpectLink(t.links[0], ORX_Profile_sRGB, ORX_Profile_Rec2020, 1, 50);
  ExpectLink(t.links[1], ORX_Profile_ProPhoto, ORX_Profile_DisplayP3, 1, 100);
  // An over-range output makes its step unclipped.
  auto linear_output = P(ORX_Profile_LinearRec2020);
  t = Make(ORX_Profile_sRGB, linear_output.get(), simulation_.get(), true, false);
  ExpectLink(t.links[0], ORX_Profile_sRGB, ORX_Profile_LinearRec2020, 3, 50);
  // No output: straight into the simulation, fast options.
  t = Make(ORX_Profile_sRGB, nullptr, simulation_.get(), false, false);
  ASSERT_EQ(t.links.size(), 2u);
  ExpectLink(t.links[0], ORX_Profile_sRGB, ORX_Profile_ProPhoto, 1, 100);
  ExpectLink(t.links[1], ORX_Profile_ProPhoto, ORX_Profile_DisplayP3, 1, 100);
}

TEST_F(DisplayTransform, SkippingWithoutOutputIsTheLastStepReferencedOnceMore) {
  const int32_t live = ORX_LiveTransforms();
  {
    const TNT_ORX_Transform t = VX_NewDisplayTransform(*P(ORX_Profile_sRGB), *display_, nullptr, simulation_.get(), true, false);
    const ORX_TransformInfo info = Describe(t);
    ASSERT_EQ(info.links.size(), 1u);
    ExpectLink(info.links[0], ORX_Profile_ProPhoto, ORX_Profile_DisplayP3, 1, 100);
    EXPECT_EQ(ORX_LiveTransforms(), live + 1);
  }
  EXPECT_EQ(ORX_LiveTransforms(), live);
}

TEST_F(DisplayTransform, PreferenceAsksForFastOptionsAndItsFailureIsThrown) {
  OPTS_SetTextPrefData(OPTS_GetPrefsHandle("VX"), "Display Transform Section",
                       "Clip over range in Display Transform when not Theater Preview", "true");
  const ORX_TransformInfo t = Make(ORX_Profile_sRGB, nullptr, nullptr, false, false);
  ExpectLink(t.links[0], ORX_Profile_sRGB, ORX_Profile_DisplayP3, 1, 100);
  EXPECT_FALSE(t.optimized);
  OPTS_SetReadFailure(42);
  EXPECT_EQ(colortest::ThrownCode([&] { Make(ORX_Profile_sRGB, nullptr, nullptr, false, false); }), 42);
}

// Row path against the one-call path, alpha kept aside, and progress.
struct ProgressLog {
  std::vector<int32_t> rows;
  VX_Err answer = 0;
  static VX_Err Progress(void* refcon, int32_t current, int32_t total) {
    auto* log = static_cast<ProgressLog*>(refcon);
    log->rows.push_back(current);
    EXPECT_GT(total, current);
    return log->answer;
  }
  static VX_Err Abort(void* refcon) { return Progress(refcon, 0, 1); }
};

template <class Pixel>
void Randomize(VX_World& w, uint32_t seed) {
  vxtest::Random random(seed);
  auto& x = static_cast<VX_WorldX<Pixel>&>(w);
  for (int32_t y = 0; y < w.height; ++y)
    for (int32_t i = 0; i < w.width; ++i) x.Row(y)[i] = random.Any<Pixel>();
}

TEST(ApplyTransform, RowsAndOneCallAgreeAndKeepAlphaKeepsIt) {
  const TNT_ORX_Transform t = VX_GetLinearizeTransform(nullptr, nullptr, true);
  // 34 pixels of 8 bytes fill their rows exactly; the sub-world's rows are padded.
  auto src = NewWorld(34, 70, 16), whole = NewWorld(34, 70, 16), kept = NewWorld(34, 70, 16);
  auto padded_parent = NewWorld(40, 70, 16);
  Randomize<VX_Pixel16>(*src, 5);
  std::unique_ptr<VX_World> padded(VX_World::NewReference(padded_parent.get(), GEO_LRect{0, 0, 34, 70}));
  ProgressLog log;
  VX_ProgressInfo progress{&log, nullptr, &ProgressLog::Progress};
  VX_ORXApplyTransform(t.Get(), src.get(), whole.get(), false, &progress);
  EXPECT_TRUE(log.rows.empty());  // one engine call: no rows to report
  VX_ORXApplyTransform(t.Get(), src.get(), padded.get(), false, &progress);
  EXPECT_EQ(log.rows, std::vector<int32_t>{63});
  VX_ORXApplyTransform(t.Get(), src.get(), kept.get(), true, nullptr);
  auto& s = static_cast<VX_World16&>(*src);
  for (int32_t y = 0; y < 70; ++y)
    for (int32_t x = 0; x < 34; ++x) {
      const VX_Pixel16 w = *static_cast<VX_World16&>(*whole).PixelAt(x, y);
      EXPECT_TRUE(vxtest::SamePixel(*static_cast<VX_World16&>(*padded).PixelAt(x, y), w));
      const VX_Pixel16 k = *static_cast<VX_World16&>(*kept).PixelAt(x, y);
      EXPECT_EQ(k.alpha, s.PixelAt(x, y)->alpha);
      EXPECT_EQ(k.red, w.red);
    }
}

TEST(ApplyTransform, ProgressEverySixtyFourRowsAndItsAnswerStops) {
  const TNT_ORX_Transform t = VX_GetLinearizeTransform(nullptr, nullptr, true);
  auto src = NewWorld(8, 200, 8), dst = NewWorld(8, 200, 8);
  Randomize<VX_Pixel8>(*src, 9);
  ProgressLog log;
  VX_ProgressInfo progress{&log, nullptr, &ProgressLog::Progress};
  VX_ORXApplyTransform(t.Get(), src.get(), dst.get(), true, &progress);
  EXPECT_EQ(log.rows, (std::vector<int32_t>{63, 127, 191}));
  // Only abort given: it is asked instead; its answer is thrown after row 63.
  log = ProgressLog{};
  log.answer = 517;
  auto fresh = NewWorld(8, 200, 8);
  VX_ProgressInfo abort_only{&log, &ProgressLog::Abort, nullptr};
  EXPECT_EQ(colortest::ThrownCode([&] { VX_ORXApplyTransform(t.Get(), src.get(), fresh.get(), true, &abort_only); }), 517);
  EXPECT_EQ(log.rows.size(), 1u);
  auto& f = static_cast<VX_World8&>(*fresh);
  EXPECT_EQ(f.PixelAt(0, 63)->alpha, static_cast<VX_World8&>(*src).PixelAt(0, 63)->alpha);
  EXPECT_EQ(f.PixelAt(0, 64)->alpha, 0);
}

TEST(ApplyTransform, RefusesWhatItCannotDo) {
  const TNT_ORX_Transform t = VX_GetLinearizeTransform(nullptr, nullptr, true);
  auto s8 = NewWorld(4, 4, 8), f = NewWorld(4, 4, 32), small = NewWorld(3, 4, 8);
  vxtest::TakeReports();
  EXPECT_EQ(colortest::ThrownCode([&] { VX_ORXApplyTransform(t.Get(), s8.get(), f.get(), true, nullptr); }), 3);
  auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].line, 174);
  EXPECT_EQ(reports[0].text, "Can't copy alpha if src and dst have different depth.");
  EXPECT_EQ(colortest::ThrownCode([&] { VX_ORXApplyTransform(t.Get(), s8.get(), small.get(), false, nullptr); }), 3);
  EXPECT_EQ(colortest::ThrownCode([&] { VX_ORXApplyTransform(t.Get(), nullptr, small.get(), false, nullptr); }), 3);
  colortest::OddWorld odd(4, 4);
  EXPECT_EQ(colortest::ThrownCode([&] { VX_ORXApplyTransform(t.Get(), &odd, &odd, true, nullptr); }), 3);
  reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[2].line, 177);
  EXPECT_EQ(reports[2].text, "Unknown world bitdepth in##CONDITIONNAME");
  EXPECT_EQ(colortest::EngineErrorOf([&] { VX_ORXApplyTransform(t.Get(), &odd, s8.get(), false, nullptr); }), ORX_Err_BadFormat);
}

TEST(ConvertProfileToProfile, ConvertsAcrossDepthsAndReleasesOnEveryExit) {
  const int32_t live = ORX_LiveTransforms();
  auto src = NewWorld(256, 1, 8), dst = NewWorld(256, 1, 32);
  auto& s = static_cast<VX_World8&>(*src);
  for (int c = 0; c < 256; ++c) *s.PixelAt(c, 0) = VX_Pixel8{uint8_t(c), uint8_t(c), uint8_t(c), uint8_t(c)};
  VX_ConvertProfileToProfile(ORX_Profile_sRGB, ORX_Profile_LinearSRGB, src.get(), dst.get(), false, nullptr);
  for (int c = 0; c < 256; ++c) {
    const VX_PixelFloat p = *static_cast<VX_WorldFloat&>(*dst).PixelAt(c, 0);
    EXPECT_NEAR(p.green, colortest::SRGBToLinear(c / 255.0), 2e-4) << c;
    EXPECT_NEAR(p.alpha, c / 255.0f, 1e-6);
  }
  EXPECT_EQ(colortest::ThrownCode([&] { VX_ConvertProfileToProfile(ORX_Profile_sRGB, ORX_Profile_Rec709, src.get(), dst.get(), true, nullptr); }), 3);
  EXPECT_EQ(colortest::EngineErrorOf([&] { VX_ConvertProfileToProfile(ORX_Profile_sRGB, ORX_ProfileCode(99), src.get(), dst.get(), false, nullptr); }), ORX_Err_UnknownCode);
  EXPECT_EQ(ORX_LiveTransforms(), live);
}

TEST(ColorEngineLink, MissingInterfaceGivesItsCodeAndComesBackWhenRegistered) {
  auto src = NewWorld(4, 4, 8), dst = NewWorld(4, 4, 8);
  {
    colortest::NoEngineScope no_engine;
    try {
      VX_ConvertProfileToProfile(ORX_Profile_sRGB, ORX_Profile_LinearSRGB, src.get(), dst.get(), false, nullptr);
      FAIL() << "no exception";
    } catch (const TNT_ORX_Error& e) {
      EXPECT_EQ(e.Code(), 0x67656E20);
      EXPECT_STREQ(e.what(), "couldn't init CORX");
      EXPECT_EQ(KU_TranslateAndReportException(e), 0x67656E20);
    }
    EXPECT_EQ(colortest::EngineErrorOf([] { VX_GetPlatformDisplayProfile(nullptr); }), ORX_Err_NoInterface);
    EXPECT_EQ(colortest::EngineErrorOf([] { VX_GetCalRGBGammas(nullptr, nullptr, nullptr, nullptr); }), ORX_Err_NoInterface);
  }
  EXPECT_NO_THROW(VX_ConvertProfileToProfile(ORX_Profile_sRGB, ORX_Profile_LinearSRGB, src.get(), dst.get(), false, nullptr));
}

TEST(PlatformDisplayProfile, FollowsTheHostsMonitorSettings) {
  EXPECT_TRUE(TNT_EqualORXIDs(VX_GetPlatformDisplayProfile(nullptr).GetID(), TNT_ORX_GetDefaultProfile()->GetID()));
  int monitor = 0;
  TNT_ORX_SetMonitorProfile(&monitor, *P(ORX_Profile_DisplayP3));
  EXPECT_TRUE(TNT_EqualORXIDs(VX_GetPlatformDisplayProfile(&monitor).GetID(), P(ORX_Profile_DisplayP3)->GetID()));
  TNT_ORX_SetMonitorProfile(&monitor, TNT_ORX_Profile());
  EXPECT_TRUE(TNT_EqualORXIDs(VX_GetPlatformDisplayProfile(&monitor).GetID(), TNT_ORX_GetDefaultProfile()->GetID()));
}

TEST(CalRGBGammas, FitTheCurves) {
  float r = 0, g = 0, b = 0;
  VX_GetCalRGBGammas(nullptr, &r, &g, &b);
  EXPECT_NEAR(g, 2.2f, 0.05f);
  EXPECT_EQ(r, g);
  VX_GetCalRGBGammas(P(ORX_Profile_LinearRec2020).get(), &r, &g, &b);
  EXPECT_EQ(b, 1.0f);
}

}  // namespace

// Colour settings: the rules that read oddly but must hold, caches, the
// render Guid and its trace, and the emergency settings.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "vx/color/ColorTestSupport.h"

namespace {

std::shared_ptr<TNT_ORX_Profile> P(ORX_ProfileCode code) { return TNT_ORX_Profile::FromCode(code); }

VX_ColorSettings Settings(TNT_ORX_ProfilePool* pool, ORX_ProfileCode code, bool linearize, bool blending) {
  VX_ColorSettings s(pool);
  s.SetProfile(P(code));
  s.SetLinearize(linearize);
  s.SetLinearBlending(blending);
  return s;
}

TEST(ColorSettings, FreshSetProfileAndThePoolRule) {
  TNT_ORX_ProfilePool pool;
  VX_ColorSettings s(&pool);
  EXPECT_FALSE(s.IsValid());
  EXPECT_TRUE(TNT_EqualORXIDs(s.GetProfileID(), ORX_EmptyProfile_ID));
  s.SetLinearize(true);
  s.SetLinearBlending(true);
  s.SetProfile(P(ORX_Profile_Rec709));
  EXPECT_TRUE(s.IsValid());
  EXPECT_FALSE(s.GetLinearize());  // setting a profile clears both flags
  EXPECT_FALSE(s.GetLinearBlending());
  EXPECT_EQ(s.GetProfile()->GetName(), L"HDTV (Rec. 709)");
  s.SetProfileID(ORX_EmptyProfile_ID);
  EXPECT_FALSE(s.IsValid());

  VX_ColorSettings no_pool(nullptr);
  vxtest::TakeReports();
  EXPECT_EQ(colortest::ThrownCode([&] { no_pool.SetProfile(P(ORX_Profile_sRGB)); }), 3);
  const auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].site, 0x250000);
  EXPECT_EQ(reports[0].line, 504);
  EXPECT_EQ(reports[0].text, "You have to have a valid profile pool to set a profile.");
  EXPECT_EQ(no_pool.GetProfile(), nullptr);
}

TEST(ColorSettings, AdjustedProfileIsCachedAcrossLinearizeChanges) {
  TNT_ORX_ProfilePool pool;
  VX_ColorSettings s = Settings(&pool, ORX_Profile_sRGB, true, false);
  const auto twin = s.GetAdjustedProfile();
  EXPECT_TRUE(twin->IsOverRange());
  EXPECT_EQ(s.GetAdjustedProfile(), twin);
  s.SetLinearize(false);
  EXPECT_EQ(s.GetAdjustedProfile(), s.GetProfile());
  s.SetLinearize(true);
  EXPECT_EQ(s.GetAdjustedProfile(), twin);  // the old cache, not a new twin
  EXPECT_EQ(VX_ColorSettings(nullptr).GetAdjustedProfile(), TNT_ORX_GetDefaultProfile());
  EXPECT_NEAR(s.GetCalGrayGamma(), 1.0f, 1e-6f);
  EXPECT_NEAR(Settings(&pool, ORX_Profile_sRGB, false, false).GetCalGrayGamma(), 2.2f, 0.05f);
}

TEST(ColorSettings, BlendingTablesOnlyWhenNeededAndOfTheStoredProfile) {
  TNT_ORX_ProfilePool pool;
  VX_ColorSettings s = Settings(&pool, ORX_Profile_sRGB, false, false);
  EXPECT_EQ(s.GetLinearBlendingTables(false), nullptr);
  s.SetLinearBlending(true);
  const VX_LinearBlendingTables* t = s.GetLinearBlendingTables(false);
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(s.GetLinearBlendingTables(false), t);
  s.SetLinearize(true);
  EXPECT_EQ(s.GetLinearBlendingTables(false), nullptr);
  // Forced with linearize on: the tables of sRGB itself, not of its twin.
  VX_ColorSettings forced = Settings(&pool, ORX_Profile_sRGB, true, false);
  const VX_LinearBlendingTables* f = forced.GetLinearBlendingTables(true);
  ASSERT_NE(f, nullptr);
  EXPECT_NEAR(f->to_linear[128], colortest::SRGBToLinear(VX_Convert8To16(128) / 32768.0) * 32768.0, 1.0);
  EXPECT_EQ(f->to_linear[128], t->to_linear[128]);
  // A new profile drops the cache.
  s.SetProfile(P(ORX_Profile_LinearSRGB));
  s.SetLinearBlending(true);
  EXPECT_NEAR(s.GetLinearBlendingTables(false)->to_linear[128], VX_Convert8To16(128), 1);
}

TEST(ColorSettings, EqualityNeedsTheSamePoolAndSortOrderSeesOnlyLinearize) {
  TNT_ORX_ProfilePool pool_a, pool_b;
  const VX_ColorSettings a = Settings(&pool_a, ORX_Profile_sRGB, false, true);
  const VX_ColorSettings a2 = Settings(&pool_a, ORX_Profile_sRGB, false, true);
  const VX_ColorSettings b = Settings(&pool_b, ORX_Profile_sRGB, false, true);
  EXPECT_TRUE(a == a2);
  EXPECT_FALSE(a != a2);
  EXPECT_FALSE(a == b);  // equal profiles in different pools
  EXPECT_TRUE(a != b);
  EXPECT_FALSE(a == Settings(&pool_a, ORX_Profile_sRGB, true, true));
  EXPECT_FALSE(a == Settings(&pool_a, ORX_Profile_Rec2020, false, true));

  // Different pools or profiles sort equal unless linearize differs.
  EXPECT_EQ(a.GetSortOrder(b), 0);
  EXPECT_EQ(a.GetSortOrder(Settings(&pool_a, ORX_Profile_Rec2020, false, true)), 0);
  EXPECT_EQ(a.GetSortOrder(Settings(&pool_a, ORX_Profile_sRGB, true, true)), -1);
  EXPECT_EQ(Settings(&pool_a, ORX_Profile_sRGB, true, true).GetSortOrder(a), 1);
  EXPECT_EQ(a.GetSortOrder(Settings(&pool_b, ORX_Profile_sRGB, true, true)), -1);
  // A difference in linear blending stops the chain before linearize.
  EXPECT_EQ(a.GetSortOrder(Settings(&pool_a, ORX_Profile_sRGB, true, false)), 0);
}

TEST(ColorSettings, CopiesTakeNoCachesAndAssignmentFollowsThePools) {
  TNT_ORX_ProfilePool pool_a, pool_b;
  VX_ColorSettings a = Settings(&pool_a, ORX_Profile_ProPhoto, false, true);
  const VX_LinearBlendingTables* cached = a.GetLinearBlendingTables(false);
  const VX_ColorSettings copy(a);
  EXPECT_TRUE(copy == a);
  EXPECT_NE(copy.GetLinearBlendingTables(false), cached);
  const VX_ColorSettings from_no_pool{VX_ColorSettings(nullptr)};
  EXPECT_EQ(from_no_pool.GetProfilePool(), nullptr);

  // A source without a pool leaves the destination entirely as it was.
  VX_ColorSettings lone(nullptr);
  lone.SetProfileID(a.GetProfileID());
  lone.SetLinearize(true);
  a = lone;
  EXPECT_EQ(a.GetProfilePool(), &pool_a);
  EXPECT_FALSE(a.GetLinearize());
  EXPECT_TRUE(a.GetLinearBlending());
  EXPECT_EQ(a.GetLinearBlendingTables(false), cached);

  // Into another pool: the profile moves into that pool.
  VX_ColorSettings b(&pool_b);
  b = a;
  EXPECT_EQ(b.GetProfilePool(), &pool_b);
  EXPECT_EQ(pool_b.Count(), 1u);
  EXPECT_TRUE(TNT_EqualORXIDs(b.GetProfileID(), a.GetProfileID()));
  EXPECT_TRUE(b.GetLinearBlending());
  // Into a settings without a pool: identifier and pool taken as they are.
  VX_ColorSettings c(nullptr);
  c = a;
  EXPECT_EQ(c.GetProfilePool(), &pool_a);
  EXPECT_TRUE(c == a);
  // The validity is the source's even when its pool can't give the profile.
  VX_ColorSettings dangling(&pool_a);
  _t_ORX_ID unknown = ORX_EmptyProfile_ID;
  unknown.bytes[0] = 1;
  dangling.SetProfileID(unknown);
  VX_ColorSettings d(&pool_b);
  d = dangling;
  EXPECT_TRUE(d.IsValid());
  EXPECT_EQ(d.GetProfile(), nullptr);
  VX_ColorSettings& same = d;
  d = same;
  EXPECT_TRUE(d.IsValid());
}

// Settings on a profile derived in this process, so nothing in them was made
// before the process started.
std::string DerivedSettingsGuid() {
  TNT_ORX_ProfilePool pool;
  VX_ColorSettings s(&pool);
  s.SetProfile(TNT_ORX_GetLinearRGBProfile(P(ORX_Profile_Rec2020)));
  s.SetLinearBlending(true);
  return s.GetRenderGuid().ToString();
}

TEST(ColorSettings, RenderGuidIsTheSameInAnotherProcessAtAnotherTime) {
  if (std::getenv("VX_TEST_PRINT_GUID")) {
    std::printf("guid=%s\n", DerivedSettingsGuid().c_str());
    return;
  }
  const std::string here = DerivedSettingsGuid();
  std::this_thread::sleep_until(std::chrono::ceil<std::chrono::seconds>(std::chrono::system_clock::now()) +
                                std::chrono::milliseconds(20));
  const std::string self = "VX_TEST_PRINT_GUID=1 '" + std::filesystem::read_symlink("/proc/self/exe").string() +
                           "' --gtest_filter=" +
                           std::string(::testing::UnitTest::GetInstance()->current_test_suite()->name()) + "." +
                           ::testing::UnitTest::GetInstance()->current_test_info()->name();
  FILE* child = popen(self.c_str(), "r");
  ASSERT_NE(child, nullptr);
  std::string there;
  char line[512];
  while (std::fgets(line, sizeof line, child))
    if (std::strncmp(line, "guid=", 5) == 0) there.assign(line + 5, std::strcspn(line + 5, "\n"));
  EXPECT_EQ(pclose(child), 0);
  EXPECT_EQ(there, here);
}

void Collect(const std::string& line, void* refcon) { static_cast<std::vector<std::string>*>(refcon)->push_back(line); }

TEST(ColorSettings, RenderGuidIgnoresThePoolAndTracesEachMix) {
  TNT_ORX_ProfilePool pool_a, pool_b;
  const VX_ColorSettings a = Settings(&pool_a, ORX_Profile_sRGB, false, true);
  const VX_ColorSettings b = Settings(&pool_b, ORX_Profile_sRGB, false, true);
  EXPECT_EQ(a.GetRenderGuid(), b.GetRenderGuid());
  EXPECT_FALSE(a == b);
  EXPECT_NE(a.GetRenderGuid(), Settings(&pool_a, ORX_Profile_sRGB, true, true).GetRenderGuid());
  EXPECT_NE(a.GetRenderGuid(), Settings(&pool_a, ORX_Profile_sRGB, false, false).GetRenderGuid());
  EXPECT_NE(a.GetRenderGuid(), Settings(&pool_a, ORX_Profile_Rec709, false, true).GetRenderGuid());

  // The Guid is the hash of the four mixes, laid out word by word.
  tessacore::utility::MixHash h;
  h.MixInData("VX_ColorSettings", 16);
  h.MixInData(a.GetProfileID().bytes, 16);
  const uint8_t one = 1, zero = 0;
  h.MixInData(&one, 1);
  h.MixInData(&zero, 1);
  const tessacore::utility::Guid g = a.GetRenderGuid();
  EXPECT_EQ(g.data1, h.Word(0));
  EXPECT_EQ(g.data2, h.Word(1) >> 16);
  EXPECT_EQ(g.data3, h.Word(1) & 0xFFFF);
  EXPECT_EQ(g.data4[0], h.Word(2) >> 24);
  EXPECT_EQ(g.data4[7], h.Word(3) & 0xFF);

  std::vector<std::string> lines;
  tessacore::debug::SetTraceSink(Collect, &lines);
  tessacore::debug::SetTraceLevel("MixHashGuid", 6);
  a.GetRenderGuid();
  tessacore::debug::SetTraceLevel("MixHashGuid", 0);
  a.GetRenderGuid();
  tessacore::debug::SetTraceSink(nullptr, nullptr);
  const std::string prefix = "<" + std::to_string(tessacore::debug::CurrentThreadId()) + "> <MixHashGuid> <6> ";
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[0], prefix + "Start Level 'VX_ColorSettings'");
  EXPECT_EQ(lines[1].rfind(prefix + "Added 16 bytes, now: {", 0), 0u);
  EXPECT_EQ(lines[3].rfind(prefix + "Added 1 bytes, now: ", 0), 0u);
  EXPECT_EQ(lines[4], prefix + "Added 1 bytes, now: " + g.ToString());
  EXPECT_EQ(lines[5], prefix + "End level");
}

TEST(ColorSettings, EmergencySettingsAndWorkingSpaceName) {
  const VX_ColorSettings* e = VX_GetEmergencyColorSettings();
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(VX_GetEmergencyColorSettings(), e);
  EXPECT_TRUE(e->IsValid());
  EXPECT_TRUE(e->GetLinearize());
  EXPECT_TRUE(e->GetAdjustedProfile()->IsOverRange());
  EXPECT_EQ(e->GetLinearBlendingTables(false), nullptr);
  EXPECT_EQ(VX_GetWorkingSpaceProfileName(e), L"Working Space - sRGB IEC61966-2.1 (linear)");
  EXPECT_EQ(VX_GetWorkingSpaceProfileName(nullptr), L"Working Space - None");
  const VX_ColorSettings invalid(nullptr);
  EXPECT_EQ(VX_GetWorkingSpaceProfileName(&invalid), L"Working Space - None");
}

}  // namespace

// The colour library's classes: profiles and their identity, ICC files, the
// linear twin and its calibration, the pool, errors and monitors.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <string>

#include "vxhost/ORX.h"

namespace {

const ORX_ProfileCode kCodes[] = {ORX_Profile_sRGB,          ORX_Profile_LinearSRGB, ORX_Profile_Rec709,
                                  ORX_Profile_Rec2020,       ORX_Profile_LinearRec2020,
                                  ORX_Profile_DisplayP3,     ORX_Profile_ProPhoto};

ORX_CalRGB CalRGB(const TNT_ORX_Profile& p) {
  ORX_CalRGB cal{};
  TNT_ORX_ETX(ORX_ExtractCalRGBProc(p.Get(), &cal, nullptr));
  return cal;
}

std::string TempPath(const char* name) { return std::string(::testing::TempDir()) + name; }

void WriteFile(const std::string& path, const void* data, size_t size) {
  std::ofstream f(path, std::ios::binary);
  f.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
}

TEST(TNTProfile, BuiltInsAreDistinctStableAndKnowIfTheyAreLinear) {
  std::set<std::string> ids;
  for (ORX_ProfileCode code : kCodes) {
    auto p = TNT_ORX_Profile::FromCode(code);
    const _t_ORX_ID id = p->GetID();
    EXPECT_FALSE(TNT_EqualORXIDs(id, ORX_EmptyProfile_ID));
    EXPECT_TRUE(TNT_EqualORXIDs(id, TNT_ORX_Profile::FromCode(code)->GetID()));
    ids.insert(std::string(reinterpret_cast<const char*>(id.bytes), 16));
    const bool linear = code == ORX_Profile_LinearSRGB || code == ORX_Profile_LinearRec2020;
    EXPECT_EQ(p->IsOverRange(), linear) << code;
    EXPECT_FALSE(p->GetName().empty());
  }
  EXPECT_EQ(ids.size(), std::size(kCodes));
  EXPECT_EQ(TNT_ORX_GetDefaultProfile()->GetName(), L"sRGB IEC61966-2.1");
}

TEST(TNTProfile, CalibrationFitsTheCurvesAndKeepsTheColorants) {
  const ORX_CalRGB srgb = CalRGB(*TNT_ORX_GetDefaultProfile());
  EXPECT_NEAR(srgb.green_gamma, 2.2, 0.05);
  // Colorants adapted to D50 add up to the D50 white.
  const double d50[3] = {0.9642, 1.0, 0.8249};
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(srgb.matrix[k] + srgb.matrix[3 + k] + srgb.matrix[6 + k], d50[k], 2e-3);
  EXPECT_NEAR(CalRGB(*TNT_ORX_Profile::FromCode(ORX_Profile_ProPhoto)).red_gamma, 1.8, 0.05);

  auto twin = TNT_ORX_GetLinearRGBProfile(TNT_ORX_GetDefaultProfile());
  EXPECT_TRUE(twin->IsOverRange());
  const ORX_CalRGB lin = CalRGB(*twin);
  EXPECT_DOUBLE_EQ(lin.red_gamma, 1.0);
  for (int k = 0; k < 9; ++k) EXPECT_DOUBLE_EQ(lin.matrix[k], srgb.matrix[k]);
  // The twin of sRGB is the built-in linear sRGB in all but its name.
  auto builtin = TNT_ORX_Profile::FromCode(ORX_Profile_LinearSRGB);
  EXPECT_EQ(twin->GetName(), L"sRGB IEC61966-2.1 (linear)");
  const ORX_CalRGB b = CalRGB(*builtin);
  for (int k = 0; k < 9; ++k) EXPECT_NEAR(b.matrix[k], lin.matrix[k], 1e-6);
  // A linear profile is its own twin; null means the default's twin.
  EXPECT_EQ(TNT_ORX_GetLinearRGBProfile(builtin)->Get(), builtin->Get());
  EXPECT_TRUE(TNT_EqualORXIDs(TNT_ORX_GetLinearRGBProfile(nullptr)->GetID(), twin->GetID()));
}

TEST(TNTProfile, ICCFilesRoundTripAndBadFilesThrowTheirCodes) {
  TNT_ORX_Profile::FromCode(ORX_Profile_DisplayP3);  // built-ins stay once made
  const int32_t live = ORX_LiveProfiles();
  {
    auto p3 = TNT_ORX_Profile::FromCode(ORX_Profile_DisplayP3);
    const std::vector<uint8_t> icc = p3->ToICCData();
    const std::string path = TempPath("vx_p3.icc");
    WriteFile(path, icc.data(), icc.size());
    auto loaded = TNT_ORX_Profile::FromICCFile(path);
    EXPECT_TRUE(TNT_EqualORXIDs(loaded->GetID(), p3->GetID()));
    EXPECT_EQ(loaded->GetName(), L"Display P3");
    EXPECT_NE(loaded->Get(), p3->Get());

    auto code_of = [](auto&& body) {
      try {
        body();
      } catch (const TNT_ORX_Error& e) {
        EXPECT_EQ(KU_TranslateAndReportException(e), e.Code());
        return e.Code();
      }
      return 0;
    };
    const std::string text = TempPath("vx_not_a_profile.icc");
    const std::string words(400, 'x');  // long enough that only the contents can tell
    WriteFile(text, words.data(), words.size());
    EXPECT_EQ(code_of([&] { TNT_ORX_Profile::FromICCFile(text); }), ORX_Err_BadProfile);
    EXPECT_EQ(code_of([&] { TNT_ORX_Profile::FromICCFile(TempPath("vx_no_such_file.icc")); }), ORX_Err_FileNotFound);
    EXPECT_EQ(code_of([&] { TNT_ORX_Profile::FromICCData(icc.data(), icc.size() / 2); }), ORX_Err_BadProfile);
    EXPECT_EQ(code_of([&] { TNT_ORX_Profile::FromICCData(icc.data(), 10); }), ORX_Err_BadProfile);
    EXPECT_EQ(code_of([] { TNT_ORX_Profile().GetName(); }), ORX_Err_BadParameter);
    std::remove(path.c_str());
    std::remove(text.c_str());
  }
  EXPECT_EQ(ORX_LiveProfiles(), live);
}

TEST(TNTProfile, MissingInterfaceErrorSaysSo) {
  try {
    TNT_ORX_ETX(ORX_Err_NoInterface);
    FAIL();
  } catch (const TNT_ORX_Error& e) {
    EXPECT_STREQ(e.what(), "couldn't init CORX");
    EXPECT_EQ(e.Code(), 0x67656E20);
  }
  EXPECT_NO_THROW(TNT_ORX_ETX(ORX_Err_None));
}

TEST(TNTProfilePool, OneIdentifierOneObjectAndEmptyForNothing) {
  TNT_ORX_ProfilePool pool;
  auto a = TNT_ORX_Profile::FromCode(ORX_Profile_Rec709);
  const std::vector<uint8_t> icc = a->ToICCData();
  auto copy = TNT_ORX_Profile::FromICCData(icc.data(), icc.size());
  const _t_ORX_ID id = pool.AddProfile(a);
  EXPECT_TRUE(TNT_EqualORXIDs(pool.AddProfile(copy), id));
  EXPECT_EQ(pool.Count(), 1u);
  EXPECT_EQ(pool.GetProfile(id), a);
  EXPECT_TRUE(TNT_EqualORXIDs(pool.AddProfile(nullptr), ORX_EmptyProfile_ID));
  EXPECT_TRUE(TNT_EqualORXIDs(pool.AddProfile(std::make_shared<TNT_ORX_Profile>()), ORX_EmptyProfile_ID));
  EXPECT_EQ(pool.GetProfile(ORX_EmptyProfile_ID), nullptr);
  EXPECT_EQ(pool.Count(), 1u);
}

TEST(TNTOptions, SetReplacesAndAFullListRefuses) {
  _t_ORX_Options o;
  EXPECT_EQ(o.Get(ORX_OptKey_Optimize, 50), 50);
  EXPECT_TRUE(o.Set(ORX_OptKey_Optimize, 7));
  EXPECT_TRUE(o.Set(ORX_OptKey_Optimize, 9));
  EXPECT_EQ(o.count, 1);
  EXPECT_EQ(o.Get(ORX_OptKey_Optimize, 50), 9);
  for (uint32_t k = 1; k < _t_ORX_Options::kMaxEntries; ++k) EXPECT_TRUE(o.Set(k, 1));
  EXPECT_FALSE(o.Set(1000, 1));
  EXPECT_FALSE(o.Has(1000));
  EXPECT_EQ(TNT_GetFastORXOptions().Get(ORX_OptKey_Optimize, 0), 100);
}

TEST(TNTMonitors, MainIsSRGBUntilSetAndOthersFallBackToMain) {
  // The profile a monitor has now: null for the main one.
  auto id_of = [](const void* monitor) {
    ORXProfile* p = nullptr;
    TNT_ORX_ETX(monitor ? ORX_MonitorProfileNProc(&p, monitor) : ORX_MainMonitorProfileProc(&p));
    return TNT_ORX_Profile(p).GetID();
  };
  const _t_ORX_ID srgb = TNT_ORX_GetDefaultProfile()->GetID();
  EXPECT_TRUE(TNT_EqualORXIDs(id_of(nullptr), srgb));
  auto p3 = TNT_ORX_Profile::FromCode(ORX_Profile_DisplayP3);
  auto rec2020 = TNT_ORX_Profile::FromCode(ORX_Profile_Rec2020);
  int monitor = 0, other = 0;
  TNT_ORX_SetMonitorProfile(nullptr, *p3);
  TNT_ORX_SetMonitorProfile(&monitor, *rec2020);
  EXPECT_TRUE(TNT_EqualORXIDs(id_of(nullptr), p3->GetID()));
  EXPECT_TRUE(TNT_EqualORXIDs(id_of(&monitor), rec2020->GetID()));
  EXPECT_TRUE(TNT_EqualORXIDs(id_of(&other), p3->GetID()));
  TNT_ORX_SetMonitorProfile(&monitor, TNT_ORX_Profile());
  TNT_ORX_SetMonitorProfile(nullptr, TNT_ORX_Profile());
  EXPECT_TRUE(TNT_EqualORXIDs(id_of(&monitor), srgb));
}

}  // namespace

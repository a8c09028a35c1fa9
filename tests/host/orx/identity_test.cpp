// A profile's identifier depends on its content only: not on the second it
// was made in, and a file's own valid ID is kept.
#include <gtest/gtest.h>
#include <lcms2.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "vxhost/ORX.h"

namespace {

std::string Hex(const uint8_t* b) {
  static const char* digits = "0123456789abcdef";
  std::string s;
  for (int i = 0; i < 16; ++i) s += digits[b[i] >> 4], s += digits[b[i] & 15];
  return s;
}

std::string Hex(const _t_ORX_ID& id) { return Hex(id.bytes); }

// The ID an ICC reader computes for these bytes, by Little CMS's own digest
// of the profile as it reads it back.
std::string ReferenceID(const std::vector<uint8_t>& icc) {
  cmsHPROFILE h = cmsOpenProfileFromMem(icc.data(), static_cast<cmsUInt32Number>(icc.size()));
  EXPECT_NE(h, nullptr);
  if (!h) return {};
  EXPECT_TRUE(cmsMD5computeID(h));
  uint8_t id[16];
  cmsGetHeaderProfileID(h, id);
  cmsCloseProfile(h);
  return Hex(id);
}

std::vector<uint8_t> Rewritten(const std::vector<uint8_t>& icc, auto&& edit) {
  cmsHPROFILE h = cmsOpenProfileFromMem(icc.data(), static_cast<cmsUInt32Number>(icc.size()));
  edit(h);
  cmsUInt32Number size = 0;
  cmsSaveProfileToMem(h, nullptr, &size);
  std::vector<uint8_t> out(size);
  cmsSaveProfileToMem(h, out.data(), &size);
  cmsCloseProfile(h);
  return out;
}

void WaitForNextSecond() {
  using namespace std::chrono;
  const auto now = system_clock::now();
  std::this_thread::sleep_until(ceil<seconds>(now) + milliseconds(20));
}

TEST(ProfileIdentity, DerivedProfilesMadeInDifferentSecondsAgree) {
  auto first = TNT_ORX_GetLinearRGBProfile(TNT_ORX_Profile::FromCode(ORX_Profile_Rec709));
  WaitForNextSecond();
  auto second = TNT_ORX_GetLinearRGBProfile(TNT_ORX_Profile::FromCode(ORX_Profile_Rec709));
  EXPECT_NE(first->Get(), second->Get());
  EXPECT_EQ(Hex(first->GetID()), Hex(second->GetID()));
  EXPECT_EQ(first->ToICCData(), second->ToICCData());
}

TEST(ProfileIdentity, BuiltInIDIsAConstantAndAValidICCID) {
  auto srgb = TNT_ORX_Profile::FromCode(ORX_Profile_sRGB);
  // MD5 of the profile's bytes with the date, flags, intent and ID zeroed.
  EXPECT_EQ(Hex(srgb->GetID()), "e20b09a0f8f5e086c40c6090c240e71f");
  const std::vector<uint8_t> icc = srgb->ToICCData();
  EXPECT_TRUE(std::all_of(icc.begin() + 24, icc.begin() + 36, [](uint8_t b) { return b == 0; }));
  EXPECT_EQ(Hex(icc.data() + 84), Hex(srgb->GetID()));
  EXPECT_EQ(ReferenceID(icc), Hex(srgb->GetID()));
}

TEST(ProfileIdentity, AFileKeepsItsValidIDAndLosesAnInvalidOne) {
  auto p3 = TNT_ORX_Profile::FromCode(ORX_Profile_DisplayP3);
  const std::vector<uint8_t> made = p3->ToICCData();
  // The same profile dated and carrying the digest of its dated bytes.
  std::vector<uint8_t> dated = made;
  dated[25] = 0x07, dated[26] = 0xe9, dated[27] = 3, dated[29] = 14;
  dated = Rewritten(dated, [](cmsHPROFILE h) { cmsMD5computeID(h); });
  const std::string own = Hex(dated.data() + 84);
  EXPECT_EQ(own, ReferenceID(dated));
  EXPECT_NE(own, Hex(p3->GetID()));
  EXPECT_EQ(Hex(TNT_ORX_Profile::FromICCData(dated.data(), dated.size())->GetID()), own);

  // A damaged ID, or none, is replaced by the digest without the date: the
  // identifier of the undated profile.
  std::vector<uint8_t> damaged = dated;
  damaged[90] ^= 1;
  EXPECT_EQ(Hex(TNT_ORX_Profile::FromICCData(damaged.data(), damaged.size())->GetID()), Hex(p3->GetID()));
  std::fill(damaged.begin() + 84, damaged.begin() + 100, 0);
  EXPECT_EQ(Hex(TNT_ORX_Profile::FromICCData(damaged.data(), damaged.size())->GetID()), Hex(p3->GetID()));
}

}  // namespace

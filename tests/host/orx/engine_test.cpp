// The colour engine against curves computed here, and its plumbing: formats,
// alpha, clipping, chains, converters, monitors and the broker tables.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "vxhost/Broker.h"
#include "vxhost/ORX.h"

namespace {

double SRGBToLinear(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
double LinearToSRGB(double v) { return v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055; }

TNT_ORX_Transform Make(ORX_ProfileCode from, ORX_ProfileCode to, int32_t intent = ORX_Intent_RelativeColorimetric,
                       const _t_ORX_Options* options = &TNT_GetDefaultORXOptions()) {
  auto a = TNT_ORX_Profile::FromCode(from), b = TNT_ORX_Profile::FromCode(to);
  ORXTransform* t = nullptr;
  TNT_ORX_ETX(ORX_MakeColorTransformProc(&t, a->Get(), b->Get(), intent, options));
  return TNT_ORX_Transform(t);
}

_t_ORX_Options Precise() {
  _t_ORX_Options o;
  o.Set(ORX_OptKey_Precise, 1);
  return o;
}

TEST(ORXEngine, SRGBToLinearMatchesTheCurveAtEveryDepth) {
  TNT_ORX_Transform t = Make(ORX_Profile_sRGB, ORX_Profile_LinearSRGB);
  const _t_ORX_Options precise = Precise();
  // 16 bits, every value, normal and precise paths.
  std::vector<uint16_t> in(32769 * 4), out(in.size());
  for (uint32_t v = 0; v <= 32768; ++v) in[v * 4] = 32768, in[v * 4 + 1] = in[v * 4 + 2] = in[v * 4 + 3] = uint16_t(v);
  for (const _t_ORX_Options* o : {static_cast<const _t_ORX_Options*>(nullptr), &precise}) {
    ASSERT_EQ(ORX_ApplyTransformProc2(t.Get(), in.data(), out.data(), 32769, ORX_Format_ARGB16, ORX_Format_ARGB16, o), 0);
    int worst = 0;
    for (uint32_t v = 0; v <= 32768; ++v) {
      const long ref = std::lround(SRGBToLinear(v / 32768.0) * 32768.0);
      worst = std::max(worst, int(std::labs(ref - out[v * 4 + 2])));
      ASSERT_EQ(out[v * 4], 32768);
    }
    EXPECT_LE(worst, o ? 1 : 2) << (o ? "precise" : "normal");
  }
  // 8 bits to float and float to float.
  std::vector<uint8_t> in8(256 * 4);
  std::vector<float> outf(256 * 4), inf(256 * 4);
  for (int v = 0; v < 256; ++v) {
    in8[v * 4] = uint8_t(v), in8[v * 4 + 1] = in8[v * 4 + 2] = in8[v * 4 + 3] = uint8_t(v);
    inf[v * 4] = 1.0f, inf[v * 4 + 1] = inf[v * 4 + 2] = inf[v * 4 + 3] = v / 255.0f;
  }
  ASSERT_EQ(ORX_ApplyTransformProc2(t.Get(), in8.data(), outf.data(), 256, ORX_Format_ARGB8, ORX_Format_ARGBFloat, nullptr), 0);
  for (int v = 0; v < 256; ++v) {
    EXPECT_NEAR(outf[v * 4 + 1], SRGBToLinear(v / 255.0), 2e-4) << v;
    EXPECT_FLOAT_EQ(outf[v * 4], v / 255.0f);  // the alpha, carried by the depth rule
  }
  ASSERT_EQ(ORX_ApplyTransformProc2(t.Get(), inf.data(), inf.data(), 256, ORX_Format_ARGBFloat, ORX_Format_ARGBFloat, nullptr), 0);
  for (int v = 0; v < 256; ++v) EXPECT_NEAR(inf[v * 4 + 3], SRGBToLinear(v / 255.0), 1e-5) << v;
}

TEST(ORXEngine, LinearToSRGBAndRoundTripAt8Bits) {
  TNT_ORX_Transform to = Make(ORX_Profile_sRGB, ORX_Profile_LinearSRGB);
  TNT_ORX_Transform back = Make(ORX_Profile_LinearSRGB, ORX_Profile_sRGB);
  std::vector<uint8_t> px(256 * 4);
  std::vector<float> mid(256 * 4);
  for (int v = 0; v < 256; ++v) px[v * 4] = 255, px[v * 4 + 1] = uint8_t(v), px[v * 4 + 2] = uint8_t(255 - v), px[v * 4 + 3] = uint8_t(v / 2);
  const std::vector<uint8_t> original = px;
  ASSERT_EQ(ORX_ApplyTransformProc2(to.Get(), px.data(), mid.data(), 256, ORX_Format_ARGB8, ORX_Format_ARGBFloat, nullptr), 0);
  for (int v = 0; v < 256; ++v) EXPECT_NEAR(LinearToSRGB(mid[v * 4 + 1]), v / 255.0, 1e-4);
  ASSERT_EQ(ORX_ApplyTransformProc2(back.Get(), mid.data(), px.data(), 256, ORX_Format_ARGBFloat, ORX_Format_ARGB8, nullptr), 0);
  EXPECT_EQ(px, original);
}

TEST(ORXEngine, AlphaIsCarriedByTheDepthRulesAndKeptInPlace) {
  TNT_ORX_Transform t = Make(ORX_Profile_sRGB, ORX_Profile_DisplayP3);
  std::vector<uint8_t> in(256 * 4, 0);
  std::vector<uint16_t> out16(256 * 4, 7);
  for (int a = 0; a < 256; ++a) in[a * 4] = uint8_t(a);
  ASSERT_EQ(ORX_ApplyTransformProc2(t.Get(), in.data(), out16.data(), 256, ORX_Format_ARGB8, ORX_Format_ARGB16, nullptr), 0);
  for (uint32_t a = 0; a < 256; ++a) EXPECT_EQ(out16[a * 4], (a * 32768 + 128) / 255);
  std::vector<float> f = {2.0f, 0.5f, 0.5f, 0.5f, -1.0f, 0.5f, 0.5f, 0.5f};
  std::vector<uint8_t> out8(8);
  ASSERT_EQ(ORX_ApplyTransformProc2(t.Get(), f.data(), out8.data(), 2, ORX_Format_ARGBFloat, ORX_Format_ARGB8, nullptr), 0);
  EXPECT_EQ(out8[0], 255);
  EXPECT_EQ(out8[4], 0);
  ASSERT_EQ(ORX_ApplyTransformProc2(t.Get(), f.data(), f.data(), 2, ORX_Format_ARGBFloat, ORX_Format_ARGBFloat, nullptr), 0);
  EXPECT_EQ(f[0], 2.0f);
  EXPECT_EQ(f[4], -1.0f);
}

TEST(ORXEngine, OnlyTheUnclippedIntentPassesOverRangeFloats) {
  std::vector<float> clipped = {1, 2.0f, -0.25f, 0.5f}, kept = clipped;
  TNT_ORX_Transform clip = Make(ORX_Profile_sRGB, ORX_Profile_LinearSRGB, ORX_Intent_RelativeColorimetric);
  TNT_ORX_Transform keep = Make(ORX_Profile_sRGB, ORX_Profile_LinearSRGB, ORX_Intent_Unclipped);
  ASSERT_EQ(ORX_ApplyTransformProc2(clip.Get(), clipped.data(), clipped.data(), 1, ORX_Format_ARGBFloat, ORX_Format_ARGBFloat, nullptr), 0);
  ASSERT_EQ(ORX_ApplyTransformProc2(keep.Get(), kept.data(), kept.data(), 1, ORX_Format_ARGBFloat, ORX_Format_ARGBFloat, nullptr), 0);
  EXPECT_EQ(clipped[1], 1.0f);
  EXPECT_EQ(clipped[2], 0.0f);
  EXPECT_NEAR(kept[1], SRGBToLinear(2.0), 1e-3);
  EXPECT_NEAR(kept[2], -0.25 / 12.92, 1e-4);
  EXPECT_NEAR(kept[3], clipped[3], 1e-6);
}

TEST(ORXEngine, AChainEqualsItsStepsOneAfterTheOther) {
  TNT_ORX_Transform a = Make(ORX_Profile_sRGB, ORX_Profile_DisplayP3, ORX_Intent_Unclipped);
  TNT_ORX_Transform b = Make(ORX_Profile_Rec2020, ORX_Profile_ProPhoto, ORX_Intent_Unclipped);
  ORXTransform* chain = nullptr;
  ASSERT_EQ(ORX_ConcatTransformsProc(&chain, a.Get(), b.Get()), 0);
  TNT_ORX_Transform ab(chain);
  std::vector<float> px(64 * 4), stepwise;
  for (size_t i = 0; i < px.size(); ++i) px[i] = float((i * 37) % 101) / 100.0f;
  stepwise = px;
  ASSERT_EQ(ORX_ApplyTransformProc2(a.Get(), stepwise.data(), stepwise.data(), 64, ORX_Format_ARGBFloat, ORX_Format_ARGBFloat, nullptr), 0);
  ASSERT_EQ(ORX_ApplyTransformProc2(b.Get(), stepwise.data(), stepwise.data(), 64, ORX_Format_ARGBFloat, ORX_Format_ARGBFloat, nullptr), 0);
  ASSERT_EQ(ORX_ApplyTransformProc2(ab.Get(), px.data(), px.data(), 64, ORX_Format_ARGBFloat, ORX_Format_ARGBFloat, nullptr), 0);
  for (size_t i = 0; i < px.size(); ++i) EXPECT_NEAR(px[i], stepwise[i], 2e-5) << i;

  ORX_TransformInfo info;
  ASSERT_EQ(ORX_DescribeTransform(ab.Get(), &info), 0);
  ASSERT_EQ(info.links.size(), 2u);
  EXPECT_EQ(std::memcmp(info.links[1].destination_id, TNT_ORX_Profile::FromCode(ORX_Profile_ProPhoto)->GetID().bytes, 16), 0);
  ORXTransform* fast = nullptr;
  _t_ORX_Options level;
  level.Set(ORX_OptKey_Optimize, 100);
  ASSERT_EQ(ORX_OptimizeTransformProc(&fast, ab.Get(), &level), 0);
  ASSERT_EQ(ORX_DescribeTransform(fast, &info), 0);
  EXPECT_TRUE(info.optimized);
  EXPECT_EQ(info.optimize_level, 100);
  EXPECT_EQ(ORX_UnReferenceTransformProc(fast), 0);
}

TEST(ORXEngine, Sixteen32768FormatAgreesWithTheIntegerRules) {
  // Exact evaluation, so that only the formats' rounding shows.
  _t_ORX_Options exact;
  exact.Set(ORX_OptKey_Optimize, 0);
  TNT_ORX_Transform identity = Make(ORX_Profile_Rec709, ORX_Profile_Rec709, ORX_Intent_RelativeColorimetric, &exact);
  std::vector<uint8_t> in8(256 * 4);
  for (int v = 0; v < 256; ++v) in8[v * 4] = 255, in8[v * 4 + 1] = in8[v * 4 + 2] = in8[v * 4 + 3] = uint8_t(v);
  std::vector<uint16_t> out(256 * 4);
  ASSERT_EQ(ORX_ApplyTransformProc2(identity.Get(), in8.data(), out.data(), 256, ORX_Format_ARGB8, ORX_Format_ARGB16, nullptr), 0);
  for (uint32_t v = 0; v < 256; ++v) EXPECT_NEAR(out[v * 4 + 1], (v * 32768 + 128) / 255, 1) << v;
  std::vector<uint16_t> all(32769 * 4), back(all.size());
  for (uint32_t v = 0; v <= 32768; ++v) all[v * 4 + 1] = all[v * 4 + 2] = all[v * 4 + 3] = uint16_t(v);
  ASSERT_EQ(ORX_ApplyTransformProc2(identity.Get(), all.data(), back.data(), 32769, ORX_Format_ARGB16, ORX_Format_ARGB16, nullptr), 0);
  for (uint32_t v = 0; v <= 32768; ++v) ASSERT_NEAR(back[v * 4 + 3], v, 1) << v;
}

TEST(ORXEngine, BadArgumentsGiveCodesAndLeakNothing) {
  const int32_t transforms = ORX_LiveTransforms();
  TNT_ORX_Transform t = Make(ORX_Profile_sRGB, ORX_Profile_LinearSRGB);
  uint8_t px[8] = {};
  EXPECT_EQ(ORX_ApplyTransformProc2(t.Get(), px, px, 1, 0x1234, ORX_Format_ARGB8, nullptr), ORX_Err_BadFormat);
  EXPECT_EQ(ORX_ApplyTransformProc2(t.Get(), px, px, 1, ORX_Format_ARGB8, ORX_Format_ARGB16, nullptr), ORX_Err_BadParameter);
  EXPECT_EQ(ORX_ApplyTransformProc2(nullptr, px, px, 1, ORX_Format_ARGB8, ORX_Format_ARGB8, nullptr), ORX_Err_BadParameter);
  EXPECT_EQ(ORX_ApplyTransformProc2(t.Get(), nullptr, px, 0, ORX_Format_ARGB8, ORX_Format_ARGB8, nullptr), 0);
  ORXTransform* out = nullptr;
  auto srgb = TNT_ORX_Profile::FromCode(ORX_Profile_sRGB);
  EXPECT_EQ(ORX_MakeColorTransformProc(&out, srgb->Get(), srgb->Get(), 4, nullptr), ORX_Err_BadIntent);
  EXPECT_EQ(ORX_MakeColorTransformProc(&out, srgb->Get(), nullptr, 1, nullptr), ORX_Err_BadParameter);
  EXPECT_EQ(out, nullptr);
  ORXProfile* p = nullptr;
  EXPECT_EQ(ORX_ProfileFromCodeProc(&p, 999), ORX_Err_UnknownCode);
  EXPECT_EQ(ORXNewBitDepthConverterColorSpaceProc(&out, ORX_Profile_sRGB, 999, ORX_Format_ARGB8, ORX_Format_ARGB8), ORX_Err_UnknownCode);
  EXPECT_EQ(ORXNewBitDepthConverterColorSpaceProc(&out, ORX_Profile_sRGB, ORX_Profile_sRGB, 0, ORX_Format_ARGB8), ORX_Err_BadFormat);
  t.Release();
  EXPECT_EQ(ORX_LiveTransforms(), transforms);
}

TEST(ORXEngine, ConverterIsATransformBoundToItsFormats) {
  ORXTransform* c = nullptr;
  ASSERT_EQ(ORXNewBitDepthConverterColorSpaceProc(&c, ORX_Profile_sRGB, ORX_Profile_LinearSRGB, ORX_Format_ARGB8, ORX_Format_ARGBFloat), 0);
  TNT_ORX_Transform t = Make(ORX_Profile_sRGB, ORX_Profile_LinearSRGB);
  const uint8_t in[8] = {255, 10, 128, 250, 0, 0, 1, 2};
  float a[8], b[8];
  ASSERT_EQ(ORXBitDepthConverterConvertProc(c, in, a, 2), 0);
  ASSERT_EQ(ORX_ApplyTransformProc2(t.Get(), in, b, 2, ORX_Format_ARGB8, ORX_Format_ARGBFloat, nullptr), 0);
  for (int i = 0; i < 8; ++i) EXPECT_FLOAT_EQ(a[i], b[i]);
  EXPECT_EQ(ORX_UnReferenceTransformProc(c), 0);
  EXPECT_EQ(ORXBitDepthConverterConvertProc(t.Get(), in, a, 2), ORX_Err_BadParameter);
}

TEST(ORXEngine, BrokerHasBothTablesWithEveryProcedureByName) {
  KLB_AddressProc lookup = nullptr;
  ASSERT_EQ(TNT_GetKLBAddressProc(&lookup), 0);
  for (const char* name : {ORX_kInterfaceName, ORX_kBitDepthConverterInterfaceName}) {
    auto* table = static_cast<const ORX_InterfaceTable*>(lookup(name));
    ASSERT_NE(table, nullptr) << name;
    for (int32_t i = 0; i < table->count; ++i)
      EXPECT_EQ(ORX_FindProc(table, table->entries[i].name), table->entries[i].proc);
  }
  const ORX_InterfaceTable* t = ORX_GetInterface();
  EXPECT_EQ(ORX_FindProc(t, "ORX_ApplyTransformProc2"), reinterpret_cast<void*>(&ORX_ApplyTransformProc2));
  EXPECT_EQ(ORX_FindProc(t, "ORX_NoSuchProc"), nullptr);
}

}  // namespace

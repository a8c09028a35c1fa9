// The vector forms of the 8-bit span kernels against the scalar kernel on
// random rows of many lengths and alignments, with and without mask and
// opacity. XferOver may differ by one code value by contract; this build's
// divide is exact, so any difference is counted and reported.
#include <cstring>

#include "vx/composite/spans/SpanTestSupport.h"

namespace {

// Source alphas in runs, so whole blocks are transparent, opaque or mixed.
VX_Pixel8 Layered(vxtest::Random& r, int32_t& run_alpha) {
  VX_Pixel8 p = r.Pixel8();
  if (r.Int(0, 7) == 0) run_alpha = r.Int(0, 5) == 0 ? r.Int(1, 254) : (r.Int(0, 1) ? 0 : 255);
  p.alpha = static_cast<uint8_t>(run_alpha < 0 ? p.alpha : run_alpha);
  if (r.Int(0, 15) == 0) run_alpha = -1;
  return p;
}

struct Row {
  std::vector<unsigned char> bytes;
  VX_Pixel8* at(int32_t byte_offset) { return reinterpret_cast<VX_Pixel8*>(bytes.data() + byte_offset); }
};

// Runs the kernel of `mode` at `features` (sse2, ssse3, avx2).
void RunKernel(int32_t mode, int sse2, int ssse3, int avx2, int32_t count, const VX_Pixel8* src, const VX_Pixel8* mask,
         uint8_t opacity, bool keep, VX_Pixel8* dst) {
  vxtest::CPUScope cpu(sse2, ssse3, avx2);
  VX_InnerBlendingFunc<VX_Pixel8> f{nullptr};
  if (mask)
    ASSERT_EQ((VX_GetInnerBlendingFunc<VX_Pixel8, true, false>(mode, &f)), 0);
  else
    ASSERT_EQ((VX_GetInnerBlendingFunc<VX_Pixel8, false, false>(mode, &f)), 0);
  const VX_BlendModeDescriptor<VX_Pixel8> d(VX_BlendingMode<VX_Pixel8>{mode, 0, opacity, keep}, mask != nullptr,
                                            nullptr);
  ASSERT_EQ(f.func(count, &d, nullptr, src, mask, dst), 0);
}

// Returns how many channels differed; fails on a difference above `tolerance`.
int64_t Compare(int32_t mode, int sse2, int ssse3, int avx2, int tolerance, int64_t* channels) {
  vxtest::Random r(static_cast<uint32_t>(mode * 10 + ssse3 + 2 * avx2));
  Row src{std::vector<unsigned char>(600)}, mask{src.bytes}, a{src.bytes}, b{src.bytes};
  int64_t differ = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    const int32_t count = r.Int(0, 130);
    // Pixel and byte misalignments, the same or different for the two rows.
    const int32_t so = r.Int(0, 19), d_o = r.Int(0, 1) ? so : r.Int(0, 19), mo = r.Int(0, 19);
    int32_t run = -1;
    for (int32_t i = 0; i <= count; ++i) {
      src.at(so)[i] = Layered(r, run);
      mask.at(mo)[i] = Layered(r, run);
      a.at(d_o)[i] = b.at(d_o)[i] = Layered(r, run);
    }
    const uint8_t opacity = r.Int(0, 1) ? 255 : static_cast<uint8_t>(r.Int(0, 255));
    const bool with_mask = r.Int(0, 2) == 0, keep = mode == XferCopy && r.Int(0, 3) == 0;
    const VX_Pixel8* m = with_mask ? mask.at(mo) : nullptr;
    RunKernel(mode, 0, 0, 0, count, src.at(so), m, opacity, keep, a.at(d_o));
    RunKernel(mode, sse2, ssse3, avx2, count, src.at(so), m, opacity, keep, b.at(d_o));
    for (int32_t i = 0; i <= count; ++i) {
      const uint8_t* x = &a.at(d_o)[i].alpha;
      const uint8_t* y = &b.at(d_o)[i].alpha;
      for (int c = 0; c < 4; ++c) {
        const int diff = std::abs(x[c] - y[c]);
        *channels += i < count;
        differ += diff != 0;
        if (diff > tolerance || (i == count && diff != 0)) {
          ADD_FAILURE() << xt::ModeName(mode) << " trial " << trial << " pixel " << i << " of " << count
                        << " channel " << c << ": scalar " << a.at(d_o)[i] << " vector " << b.at(d_o)[i];
          return differ;
        }
      }
    }
  }
  return differ;
}

TEST(SpanVectorForms, OverAgreesWithTheDivideTable) {
  for (auto [ssse3, avx2] : {std::pair{1, 0}, std::pair{1, 1}}) {
    int64_t channels = 0;
    const int64_t differ = Compare(XferOver, 1, ssse3, avx2, 1, &channels);
    ::testing::Test::RecordProperty(avx2 ? "over_avx2_differing_channels" : "over_ssse3_differing_channels",
                                    std::to_string(differ) + " of " + std::to_string(channels));
    EXPECT_EQ(differ, 0) << (avx2 ? "AVX2" : "SSSE3") << ": " << differ << " of " << channels << " channels";
  }
}

TEST(SpanVectorForms, CopyIsExact) {
  int64_t channels = 0;
  EXPECT_EQ(Compare(XferCopy, 1, 0, 0, 0, &channels), 0);
}

// The matte-family formulas on vector lanes are the scalar ones, exactly.
TEST(SpanVectorForms, MatteFamilyLanesAreExact) {
  for (int32_t mode = 0; mode < xt::kModes; ++mode) {
    const VX_XferFamily family = VX_XferFamilyOf(mode);
    if (family != VX_XferFamily::BlackMatte && family != VX_XferFamily::WhiteMatte &&
        family != VX_XferFamily::GreyMatte)
      continue;
    int64_t channels = 0;
    EXPECT_EQ(Compare(mode, 1, 1, 1, 0, &channels), 0) << xt::ModeName(mode);
  }
}

// Every quotient the block path can meet, against the table.
TEST(SpanVectorForms, OverGeneralPathCoversEveryAlphaPair) {
  for (int avx2 : {0, 1}) {
    std::vector<VX_Pixel8> src, dst;
    for (int a = 1; a < 255; ++a)
      for (int da = 1; da < 255; da += 3)
        for (int c : {0, 1, 127, 128, 254, 255}) {
          src.push_back(VX_Pixel8{uint8_t(a), uint8_t(c), uint8_t(255 - c), uint8_t(a)});
          dst.push_back(VX_Pixel8{uint8_t(da), uint8_t(255 - c), uint8_t(c), uint8_t(da)});
        }
    auto scalar = dst, vector = dst;
    RunKernel(XferOver, 0, 0, 0, int32_t(src.size()), src.data(), nullptr, 255, false, scalar.data());
    RunKernel(XferOver, 1, 1, avx2, int32_t(src.size()), src.data(), nullptr, 255, false, vector.data());
    ASSERT_EQ(std::memcmp(scalar.data(), vector.data(), scalar.size() * sizeof(VX_Pixel8)), 0) << avx2;
  }
}

}  // namespace

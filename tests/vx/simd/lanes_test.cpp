// The lane forms that are not plain arithmetic, each against its scalar
// form: the 16-bit divide (a float estimate with one correction step), the
// reciprocal divisors, and the soft-light curve lookups.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "composite/formulas/XferCommon.h"
#include "core/ChannelMath.h"
#include "core/Internal.h"
#include "support/TestWorlds.h"

void VXtest_Div16Lanes(const int32_t* a, const int32_t* v, int32_t* q, int32_t n);

namespace {

// Checks the pairs in batches; returns the first disagreement's index or -1.
struct Checker {
  std::vector<int32_t> a, v, q;
  int64_t checked = 0;
  void Add(int32_t x, int32_t y) {
    a.push_back(x);
    v.push_back(y);
  }
  ::testing::AssertionResult Flush() {
    while (a.size() % 8) Add(1, 0);
    q.assign(a.size(), 0);
    VXtest_Div16Lanes(a.data(), v.data(), q.data(), static_cast<int32_t>(a.size()));
    for (size_t i = 0; i < a.size(); ++i)
      if (q[i] != vx::div16(a[i], v[i]))
        return ::testing::AssertionFailure()
               << "div16(" << a[i] << ", " << v[i] << "): " << vx::div16(a[i], v[i]) << ", lanes " << q[i];
    checked += static_cast<int64_t>(a.size());
    a.clear();
    v.clear();
    return ::testing::AssertionSuccess();
  }
};

TEST(Lanes16Divide, AgreesWithDiv16) {
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  Checker c;
  // Every v for divisors near the ends and a spread between (primes included).
  std::vector<int32_t> divisors = {1, 2, 3, 7, 255, 256, 257, 4095, 4097, 16383, 16384, 16385, 32749, 32767, 32768};
  for (int32_t x = 5; x < 32768; x += 331) divisors.push_back(x);
  for (int32_t x : divisors) {
    for (int32_t y = 0; y <= 32768; ++y) c.Add(x, y);
    ASSERT_TRUE(c.Flush());
  }
  // Random pairs anywhere.
  vxtest::Random r(16);
  for (int batch = 0; batch < 40; ++batch) {
    for (int i = 0; i < 100000; ++i) c.Add(r.Int(1, 32768), r.Int(0, 32768));
    ASSERT_TRUE(c.Flush());
  }
  EXPECT_GT(c.checked, 6000000);
}

}  // namespace

extern const uint8_t VXp_G_SoftLightA_8[256];
extern const uint8_t VXp_G_SoftLightB_8[256];

void VXtest_DivisorLanes(const int32_t* n, const int32_t* d, int32_t* q, int32_t count);

namespace {

// Truncated quotients through the lane reciprocal against C++ division,
// both signs, in the two regimes the recolour pulls rely on: any divisor
// with numerators below 2^23, and any int32 numerator whose quotient stays
// below 2^20. Exact multiples and their neighbours are where a product
// estimate is most likely off by one.
TEST(LaneDivisor, TruncatesLikeIntegerDivision) {
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  std::mt19937 rng(7);
  std::vector<int32_t> n, d;
  for (int i = 0; i < 400000; ++i) {
    const int32_t den = static_cast<int32_t>(1 + rng() % (i % 3 == 0 ? 16 : i % 3 == 1 ? 70000 : 1u << 24));
    const bool wide = (i >> 2) & 1;
    int64_t num;
    if (wide) {
      const int64_t top = std::min<int64_t>(INT32_MAX, (int64_t(1) << 20) * den - 1);
      num = static_cast<int64_t>(rng() % static_cast<uint64_t>(top + 1));
      if (i % 8 == 4) num = std::min<int64_t>(top, (num / den) * den + static_cast<int64_t>(rng() % 3) - 1);
    } else {
      const int64_t top = (int64_t(1) << 23) - 1;
      num = static_cast<int64_t>(rng() % static_cast<uint64_t>(top + 1));
      if (i % 8 == 0) num = std::min<int64_t>(top, (num / den) * den + static_cast<int64_t>(rng() % 3) - 1);
    }
    const int32_t sn = (i & 1) ? -1 : 1, sd = (i & 2) ? -1 : 1;
    n.push_back(static_cast<int32_t>(sn * std::max<int64_t>(num, 0)));
    d.push_back(sd * den);
  }
  std::vector<int32_t> q(n.size());
  VXtest_DivisorLanes(n.data(), d.data(), q.data(), static_cast<int32_t>(n.size()));
  int bad = 0;
  for (size_t i = 0; i < n.size() && bad < 5; ++i)
    if (q[i] != n[i] / d[i]) {
      ADD_FAILURE() << n[i] << " / " << d[i] << " gave " << q[i];
      ++bad;
    }
}

}  // namespace

void VXtest_SoftLightFLanes(const float* d, const int32_t* dark, float* out, int32_t count);

namespace {

// The float curve lanes against the per-pixel lookup: every table entry and
// the points between, the ends and beyond them, NaN, each on both curves.
TEST(LanesFSoftLight, EachLaneReadsItsCurve) {
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  std::vector<float> d;
  for (int i = 0; i <= 4096; ++i) {
    d.push_back(static_cast<float>(i) / 4096.0f);
    d.push_back((static_cast<float>(i) + 0.37f) / 4096.0f);
  }
  for (float x : {-0.0f, -1.0f, 1.0f, std::nextafter(1.0f, 2.0f), 1.5f, 1e30f, std::nanf("")}) d.push_back(x);
  while (d.size() % 16) d.push_back(0.5f);
  std::vector<float> all(d.begin(), d.end());
  all.insert(all.end(), d.begin(), d.end());
  std::vector<int32_t> dark(all.size());
  for (size_t i = 0; i < all.size(); ++i) dark[i] = i >= d.size() ? 1 : 0;
  std::vector<float> out(all.size());
  VXtest_SoftLightFLanes(all.data(), dark.data(), out.data(), static_cast<int32_t>(all.size()));
  int bad = 0;
  for (size_t i = 0; i < all.size() && bad < 5; ++i) {
    const float want = vx::SoftLightLookupF(dark[i] ? VXp_G_SoftLightB_F : VXp_G_SoftLightA_F, all[i]);
    if (std::memcmp(&want, &out[i], sizeof want) != 0) {
      ADD_FAILURE() << "d " << all[i] << (dark[i] ? " dark" : " light") << ": " << out[i] << " not " << want;
      ++bad;
    }
  }
}

}  // namespace

void VXtest_WordLanes8(int op, const int16_t* a, const int16_t* b, const int16_t* c, int16_t* out, int32_t count);
void VXtest_WordLanes8_AVX512(int op, const int16_t* a, const int16_t* b, const int16_t* c, int16_t* out,
                              int32_t count);
void VXtest_WordLanes8_SSSE3(int op, const int16_t* a, const int16_t* b, const int16_t* c, int16_t* out,
                             int32_t count);
void VXtest_Div8Lanes(const int32_t* a, const int32_t* v, int32_t* q, int32_t count);
void VXtest_Div8Lanes_SSSE3(const int32_t* a, const int32_t* v, int32_t* q, int32_t count);

namespace {

// The 16-bit-lane forms of the 8-bit primitives against the scalar ones on
// every operand pair (and every lerp triple): the rounding of products near
// 2^16 and of negative differences is where a narrower lane would slip.
void CheckWordLanes8(decltype(&VXtest_WordLanes8) probe, bool wide) {
  std::vector<int16_t> a(65536), b(65536), c(65536), out(65536);
  for (int32_t i = 0; i < 65536; ++i) {
    a[i] = static_cast<int16_t>(i >> 8);
    b[i] = static_cast<int16_t>(i & 0xFF);
  }
  const auto run = [&](int op) { probe(op, a.data(), b.data(), c.data(), out.data(), 65536); };
  run(0);
  for (int32_t i = 0; i < 65536; ++i) ASSERT_EQ(out[i], vx::mul8(a[i], b[i])) << a[i] << " x " << b[i];
  run(2);
  for (int32_t i = 0; i < 65536; ++i) ASSERT_EQ(out[i], vx::dbl8(a[i] * b[i])) << a[i] << " x " << b[i];
  run(3);
  for (int32_t i = 0; i < 65536; ++i) ASSERT_EQ(out[i], vx::div8(a[i], b[i])) << b[i] << " / " << a[i];
  for (int32_t alpha = 0; alpha < 256; ++alpha) {
    std::fill(c.begin(), c.end(), static_cast<int16_t>(alpha));
    run(1);
    for (int32_t i = 0; i < 65536; ++i)
      ASSERT_EQ(out[i], vx::lerp8(a[i], b[i], alpha)) << "lerp " << a[i] << " to " << b[i] << " by " << alpha;
  }
  if (!wide) return;
  run(4);
  for (int32_t i = 0; i < 65536; ++i)
    ASSERT_EQ(out[i], (b[i] ? VXp_G_SoftLightB_8 : VXp_G_SoftLightA_8)[a[i]]) << "curve at " << a[i];
  // Saturation's quotient: every product over every divisor that keeps it
  // within a channel.
  for (int32_t den = 1; den < 256; ++den) {
    std::fill(c.begin(), c.end(), static_cast<int16_t>(den));
    run(5);
    for (int32_t i = 0; i < 65536; ++i) {
      const int32_t want = a[i] * b[i] / den;
      if (want < 256) {
        ASSERT_EQ(out[i], want) << a[i] << " x " << b[i] << " / " << den;
      }
    }
  }
  // The clip pulls' quotients: |a| and b up to 255 over every divisor up to
  // 512, truncated toward zero, wherever the quotient fits 15 bits.
  constexpr int32_t kPairs = 511 * 256;
  a.resize(kPairs);
  b.resize(kPairs);
  c.resize(kPairs);
  out.resize(kPairs);
  for (int32_t i = 0; i < kPairs; ++i) {
    a[i] = static_cast<int16_t>(i / 256 - 255);
    b[i] = static_cast<int16_t>(i % 256);
  }
  for (int32_t den = 1; den <= 512; ++den) {
    std::fill(c.begin(), c.end(), static_cast<int16_t>(den));
    probe(6, a.data(), b.data(), c.data(), out.data(), kPairs);
    for (int32_t i = 0; i < kPairs; ++i) {
      const int32_t want = a[i] * b[i] / den;
      if (want > -32768 && want < 32768) {
        ASSERT_EQ(out[i], want) << a[i] << " x " << b[i] << " / " << den;
      }
    }
  }
}

TEST(WordLanes8, EveryOperandAgreesWithTheScalarForm) {
  if (KU_CPUHas(KU_CPU_SSSE3)) {
    SCOPED_TRACE("SSSE3");
    CheckWordLanes8(&VXtest_WordLanes8_SSSE3, false);
  }
  if (KU_CPUHas(KU_CPU_AVX2)) {
    SCOPED_TRACE("AVX2");
    CheckWordLanes8(&VXtest_WordLanes8, true);
  }
  if (KU_CPUHas(KU_CPU_AVX512)) {
    SCOPED_TRACE("AVX-512");
    CheckWordLanes8(&VXtest_WordLanes8_AVX512, true);
  }
}

// The 8-bit divide on int32 lanes (a refined reciprocal, biased before
// truncation) on every pair of bytes, at both widths.
TEST(Int32Lanes8, DivideAgreesWithTheTableOnEveryPair) {
  std::vector<int32_t> a(65536), v(65536), q(65536);
  for (int32_t i = 0; i < 65536; ++i) a[i] = i >> 8, v[i] = i & 0xFF;
  const auto check = [&](auto probe) {
    std::fill(q.begin(), q.end(), -1);
    probe(a.data(), v.data(), q.data(), 65536);
    for (int32_t i = 0; i < 65536; ++i) ASSERT_EQ(q[i], vx::div8(a[i], v[i])) << v[i] << " / " << a[i];
  };
  if (KU_CPUHas(KU_CPU_SSSE3)) check(&VXtest_Div8Lanes_SSSE3);
  if (KU_CPUHas(KU_CPU_AVX2)) check(&VXtest_Div8Lanes);
}

}  // namespace

void VXtest_SoftLight16Lanes(const int32_t* d, const int32_t* dark, int32_t* out, int32_t count);
void VXtest_ScaledQuot16Lanes(const int32_t* a, const int32_t* b, const int32_t* den, int32_t* q, int32_t count);

namespace {

// Every d up to white, each curve, against the scalar interpolation: the
// last entry is reached through the pair below it.
TEST(Lanes16SoftLight, EveryValueReadsItsCurve) {
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  const int32_t n = 2 * 32776;
  std::vector<int32_t> d(n), dark(n), out(n);
  for (int32_t i = 0; i < n; ++i) {
    d[i] = std::min(i / 2, 32768);
    dark[i] = i & 1;
  }
  VXtest_SoftLight16Lanes(d.data(), dark.data(), out.data(), n);
  for (int32_t i = 0; i < n; ++i)
    ASSERT_EQ(out[i], vx::SoftLightLookup16(dark[i] ? VXp_G_SoftLightB_16 : VXp_G_SoftLightA_16, d[i]))
        << "d " << d[i] << " dark " << dark[i];
}

// Products up to 2^31 - 1 over divisors that keep the quotient below 2^16,
// and exact multiples with their neighbours, against int64 division.
TEST(Lanes16ScaledQuot, TruncatesLikeIntegerDivision) {
  if (!VXp_HasAVX2()) GTEST_SKIP() << "no AVX2";
  std::mt19937 rng(11);
  std::vector<int32_t> a, b, den, q;
  for (int i = 0; i < 200000; ++i) {
    const int32_t x = static_cast<int32_t>(rng() % 65536), y = static_cast<int32_t>(rng() % 32769);
    const int64_t p = int64_t(x) * y;
    if (p > INT32_MAX) continue;
    const int64_t least = p / 65535 + 1;
    int32_t z = static_cast<int32_t>(least + rng() % 65536);
    if (i % 3 == 0 && y > 0) z = y + static_cast<int32_t>(rng() % 3) - 1;  // quotients near x
    if (z <= 0 || p / z >= 65536) continue;
    a.push_back(x);
    b.push_back(y);
    den.push_back(z);
  }
  ASSERT_GT(a.size(), 50000u);
  while (a.size() % 8) {
    a.push_back(0);
    b.push_back(0);
    den.push_back(1);
  }
  q.assign(a.size(), 0);
  VXtest_ScaledQuot16Lanes(a.data(), b.data(), den.data(), q.data(), static_cast<int32_t>(a.size()));
  for (size_t i = 0; i < a.size(); ++i)
    ASSERT_EQ(q[i], int64_t(a[i]) * b[i] / den[i]) << a[i] << " x " << b[i] << " / " << den[i];
}

}  // namespace

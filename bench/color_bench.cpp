// Colour management: building the linear blending tables, and converting a
// UHD world from sRGB to linear at each depth through VX_ORXApplyTransform,
// against a Little CMS transform made directly from equivalent profiles and
// run over the same buffers in the same run. Also the depth conversion into
// float, against a copy of the same bytes.
#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <cstring>
#include <memory>

#include "support/BenchWorlds.h"

namespace {

// sRGB and its linear twin, made by Little CMS itself.
struct DirectProfiles {
  cmsHPROFILE srgb = cmsCreate_sRGBProfile();
  cmsHPROFILE linear = nullptr;
  DirectProfiles() {
    const cmsCIExyY d65 = {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.30, 0.60, 1.0}, {0.15, 0.06, 1.0}};
    cmsToneCurve* one = cmsBuildGamma(nullptr, 1.0);
    cmsToneCurve* curves[3] = {one, one, one};
    linear = cmsCreateRGBProfile(&d65, &primaries, curves);
    cmsFreeToneCurve(one);
  }
  ~DirectProfiles() {
    cmsCloseProfile(srgb);
    cmsCloseProfile(linear);
  }
};
const DirectProfiles& Direct() {
  static const DirectProfiles profiles;
  return profiles;
}

cmsUInt32Number LcmsFormat(int32_t depth) {
  return depth == 8 ? TYPE_ARGB_8 : depth == 16 ? TYPE_ARGB_16 : TYPE_ARGB_FLT;
}

void YardstickTables(benchmark::State& state) {
  std::vector<uint16_t> ramp(256 * 3);
  for (auto _ : state) {
    for (uint32_t i = 0; i < 256; ++i) ramp[i * 3] = ramp[i * 3 + 1] = ramp[i * 3 + 2] = uint16_t(i * 257);
    cmsHTRANSFORM t = cmsCreateTransform(Direct().srgb, TYPE_RGB_16, Direct().linear, TYPE_RGB_16,
                                         INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE);
    cmsDoTransform(t, ramp.data(), ramp.data(), 256);
    cmsDeleteTransform(t);
    benchmark::ClobberMemory();
  }
}

void MakeTables(benchmark::State& state) {
  const auto profile = TNT_ORX_GetDefaultProfile();
  for (auto _ : state) benchmark::DoNotOptimize(VX_MakeLinearizationTables(profile));
}

void YardstickLcms(benchmark::State& state) {
  const int32_t depth = static_cast<int32_t>(state.range(0));
  vxbench::Frame src(depth), dst(depth);
  src.Randomize(11);
  cmsHTRANSFORM t = cmsCreateTransform(Direct().srgb, LcmsFormat(depth), Direct().linear, LcmsFormat(depth),
                                       INTENT_RELATIVE_COLORIMETRIC, 0);
  for (auto _ : state) {
    cmsDoTransform(t, src.get()->data, dst.get()->data, static_cast<cmsUInt32Number>(vxbench::kWidth) * vxbench::kHeight);
    benchmark::ClobberMemory();
  }
  cmsDeleteTransform(t);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(src.bytes()));
}

void Apply(benchmark::State& state, bool keep_alpha) {
  const int32_t depth = static_cast<int32_t>(state.range(0));
  vxbench::Frame src(depth), dst(depth);
  src.Randomize(11);
  const TNT_ORX_Transform t = VX_GetLinearizeTransform(nullptr, nullptr, true);
  std::unique_ptr<VX_World> s(VX_World::NewReference(src.get())), d(VX_World::NewReference(dst.get()));
  for (auto _ : state) {
    VX_ORXApplyTransform(t.Get(), s.get(), d.get(), keep_alpha, nullptr);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(src.bytes()));
}
void ApplyWhole(benchmark::State& state) { Apply(state, false); }
void ApplyRows(benchmark::State& state) { Apply(state, true); }

void YardstickCopy(benchmark::State& state) {
  vxbench::Frame src(8), dst(32);
  for (auto _ : state) {
    std::memcpy(dst.get()->data, src.get()->data, src.bytes());
    benchmark::ClobberMemory();
  }
}

void DepthConvert(benchmark::State& state) {
  vxbench::Frame src(8), dst(32);
  src.Randomize(5);
  const auto tables = VX_MakeLinearizationTables(nullptr);
  std::unique_ptr<VX_World> s(VX_World::NewReference(src.get())), d(VX_World::NewReference(dst.get()));
  for (auto _ : state) {
    VX_DepthConvertWorld(tables.get(), s.get(), d.get());
    benchmark::ClobberMemory();
  }
}

}  // namespace

BENCHMARK(YardstickTables)->Name("lintables/yardstick_lcms_exact256")->Unit(benchmark::kMicrosecond);
BENCHMARK(MakeTables)->Name("lintables/make")->Unit(benchmark::kMicrosecond);

#define VX_TOLINEAR_BENCHES(depth)                                                                             \
  BENCHMARK(YardstickLcms)->Name("tolinear" #depth "/yardstick_lcms")->Arg(depth)->Unit(benchmark::kMillisecond); \
  BENCHMARK(ApplyWhole)->Name("tolinear" #depth "/apply")->Arg(depth)->Unit(benchmark::kMillisecond);             \
  BENCHMARK(ApplyRows)->Name("tolinear" #depth "/apply_keep_alpha")->Arg(depth)->Unit(benchmark::kMillisecond);

VX_TOLINEAR_BENCHES(8)
VX_TOLINEAR_BENCHES(16)
VX_TOLINEAR_BENCHES(32)

BENCHMARK(YardstickCopy)->Name("depth8toF/yardstick_memcpy8")->Unit(benchmark::kMillisecond);
BENCHMARK(DepthConvert)->Name("depth8toF/convert")->Unit(benchmark::kMillisecond);

// Optical-flow framework: the luminance pyramid of a 1920x1080 frame, and the
// blur and zoom of a 384x216 proxy, on one and two threads; beside them a
// memcpy of the same image, and OpenCV's pyramid when it is there.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>

#include "vx/OpticalFlow.h"
#include "vx/Suites.h"
#include "vxhost/ADDN.h"
#include "vxhost/Workers.h"

#ifdef VX_BENCH_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int32_t kFrameW = 1920, kFrameH = 1080, kProxyW = 384, kProxyH = 216;

// A basic suite whose iterate suite runs on the host's worker pool, which
// the benchmarks start with the thread count they measure.
class PoolHost {
 public:
  explicit PoolHost(int threads) {
    HOST_StartWorkers(threads);
    iterate_.iterate_generic = &HOST_IterateGeneric;
    self() = this;
    basic_ = ADDN_HBBasicSuite{&Acquire, &Release, nullptr, nullptr};
    FnMultiProcessor::setBasicSuite(&basic_);
  }
  ~PoolHost() {
    FnMultiProcessor::setBasicSuite(nullptr);
    HOST_StopWorkers();
  }

 private:
  static PoolHost*& self() {
    static PoolHost* host = nullptr;
    return host;
  }
  static KU_Err Acquire(const char* name, int32_t version, const void** suite) {
    *suite = std::strcmp(name, VX_kIterate8Suite) == 0 && version == 1 ? &self()->iterate_ : nullptr;
    return *suite ? 0 : ADDN_kErrNoSuchSuite;
  }
  static KU_Err Release(const char*, int32_t) { return 0; }
  VX_Iterate8Suite1 iterate_{};
  ADDN_HBBasicSuite basic_{};
};

// Smooth content with some noise, values in 0..1, like a luminance image.
void FillLuma(FnFloatTexture& t) {
  std::mt19937 rng(3);
  for (int32_t y = 0; y < t.height(); ++y)
    for (int32_t x = 0; x < t.width(); ++x)
      t.rawRow(y)[x] = 0.5f + 0.3f * std::sin(x * 0.013f) * std::cos(y * 0.021f) + float(rng() % 256) / 2048.0f;
  t.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
}

std::unique_ptr<PoolHost> HostFor(const benchmark::State& state) {
  return state.range(0) > 1 ? std::make_unique<PoolHost>(int(state.range(0))) : nullptr;
}

void Memcpy(benchmark::State& state) {
  const int32_t w = int32_t(state.range(0)), h = int32_t(state.range(1));
  FnFloatTexture a(w, h), b(w, h);
  FillLuma(a);
  for (auto _ : state) {
    std::memcpy(b.data, a.data, size_t(a.rowBytes) * size_t(h));
    benchmark::ClobberMemory();
  }
}

void Pyramid(benchmark::State& state) {
  auto host = HostFor(state);
  FnFloatTexture frame(kFrameW, kFrameH);
  FillLuma(frame);
  using Stack = FnMotionEstimateMapStackHolder<float, float, 1>;
  Stack stack(&frame, Stack::levelsFor(kFrameW, kFrameH));
  FnInterruptRecord record;
  for (auto _ : state) {
    FnFilteredPyramidAlpha<float, float, 1> pyramid(&stack);
    pyramid.interrupt = &record;
    pyramid.build();
    benchmark::ClobberMemory();
  }
  if (record.error) state.SkipWithError("the pyramid failed");
}

void ProxyBlur(benchmark::State& state) {
  auto host = HostFor(state);
  FnFloatTexture proxy(kProxyW, kProxyH), out(kProxyW, kProxyH);
  FillLuma(proxy);
  BlurGeneralGauss<float, float, 1> blur;
  for (auto _ : state) {
    blur.process(&proxy, &out);
    benchmark::ClobberMemory();
  }
}

void ProxyZoom(benchmark::State& state) {
  auto host = HostFor(state);
  FnFloatTexture proxy(kProxyW, kProxyH), out(kProxyW * 2 / 3, kProxyH * 2 / 3);
  FillLuma(proxy);
  FnImageZoomSampler<float, float, 1, float, float, 1> zoom;
  for (auto _ : state) {
    zoom.process(&proxy, &out);
    benchmark::ClobberMemory();
  }
}

#ifdef VX_BENCH_HAVE_OPENCV
void OpenCVBuildPyramid(benchmark::State& state) {
  cv::setNumThreads(int(state.range(0)));
  FnFloatTexture frame(kFrameW, kFrameH);
  FillLuma(frame);
  cv::Mat m(kFrameH, kFrameW, CV_32F, frame.data, size_t(frame.rowBytes));
  std::vector<cv::Mat> levels;
  const int maxLevel = FnMotionEstimateMapStackHolder<float, float, 1>::levelsFor(kFrameW, kFrameH) - 1;
  for (auto _ : state) {
    cv::buildPyramid(m, levels, maxLevel, cv::BORDER_REPLICATE);
    benchmark::ClobberMemory();
  }
  cv::setNumThreads(-1);  // its thread limit would hold the host's pool too
}

void OpenCVPyrDown(benchmark::State& state) {
  cv::setNumThreads(int(state.range(0)));
  FnFloatTexture frame(kFrameW, kFrameH);
  FillLuma(frame);
  cv::Mat m(kFrameH, kFrameW, CV_32F, frame.data, size_t(frame.rowBytes)), half;
  for (auto _ : state) {
    cv::pyrDown(m, half, cv::Size(), cv::BORDER_REPLICATE);
    benchmark::ClobberMemory();
  }
  cv::setNumThreads(-1);
}
#endif

}  // namespace

BENCHMARK(Memcpy)->Name("flowpyramid/yardstick_memcpy")->Args({kFrameW, kFrameH})->Unit(benchmark::kMillisecond);
BENCHMARK(Pyramid)->Name("flowpyramid/pyramid_1thread")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Pyramid)->Name("flowpyramid/pyramid_2threads")->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
#ifdef VX_BENCH_HAVE_OPENCV
BENCHMARK(OpenCVBuildPyramid)->Name("flowpyramid/opencv_buildPyramid_1thread")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(OpenCVBuildPyramid)->Name("flowpyramid/opencv_buildPyramid_2threads")->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(OpenCVPyrDown)->Name("flowpyramid/opencv_pyrDown_1thread")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif
BENCHMARK(Memcpy)->Name("flowproxy/yardstick_memcpy")->Args({kProxyW, kProxyH})->Unit(benchmark::kMicrosecond);
BENCHMARK(ProxyBlur)->Name("flowproxy/blur_1thread")->Arg(1)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(ProxyBlur)->Name("flowproxy/blur_2threads")->Arg(2)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(ProxyZoom)->Name("flowproxy/zoom_1thread")->Arg(1)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(ProxyZoom)->Name("flowproxy/zoom_2threads")->Arg(2)->Unit(benchmark::kMicrosecond)->UseRealTime();

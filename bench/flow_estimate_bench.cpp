// Motion estimation and tweening on a 1920x1080 pair of the synthetic scene
// (bench/support/FlowScene.h): both pixel fields of the 384x216 luminance
// proxies, the tween at t = 0.5, the picture at 1920x1080, and all of it for
// one in-between frame; one and two threads. Beside them OpenCV's DIS optical
// flow (presets ultrafast and medium) on the same proxy pair, both directions,
// when OpenCV's video module is installed.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

#include "support/FlowScene.h"
#include "vx/OpticalFlow.h"
#include "vx/Suites.h"
#include "vxhost/ADDN.h"
#include "vxhost/Workers.h"

#ifdef VX_BENCH_HAVE_OPENCV_VIDEO
#include <opencv2/core.hpp>
#include <opencv2/video/tracking.hpp>
#endif

namespace {

constexpr int32_t kFrameW = 1920, kFrameH = 1080, kProxyW = 384, kProxyH = 216;

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

std::unique_ptr<PoolHost> HostFor(const benchmark::State& state) {
  return state.range(0) > 1 ? std::make_unique<PoolHost>(int(state.range(0))) : nullptr;
}

// The pair, its proxies, fields and tween, made once.
struct Scene {
  FnTexture8 frameA{kFrameW, kFrameH}, frameB{kFrameW, kFrameH};
  FnFlowPair pair;
  FnVectorTexture vectorsA, vectorsB;
  FnIntTexture labels;
  Scene() {
    vxbench::PaintScene(frameA, 0.0f);
    vxbench::PaintScene(frameB, 1.0f);
    frameA.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
    frameB.setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
    ok = FnEstimatePair(&frameA, &frameB, 0.2f, FnEstimateSettings{}, nullptr, &pair) == 0 &&
         tween(FnTweenSettings{}, 0.5, &pair.lumaA, &pair.lumaB, &pair.fieldA, &pair.fieldB, nullptr, &vectorsA,
               &vectorsB, &labels) == 0;
  }
  bool ok = false;
};

Scene& TheScene() {
  static Scene scene;
  return scene;
}

void Memcpy(benchmark::State& state) {
  const size_t bytes = size_t(state.range(0)) * size_t(state.range(1)) * 4;
  std::unique_ptr<char[]> a(new char[bytes]()), b(new char[bytes]);
  for (auto _ : state) {
    std::memcpy(b.get(), a.get(), bytes);
    benchmark::ClobberMemory();
  }
}

void Fields(benchmark::State& state) {
  Scene& s = TheScene();
  auto host = HostFor(state);
  FnVectorTexture fieldA, fieldB;
  for (auto _ : state) {
    if (estimatePixelField(FnEstimateSettings{}, &s.pair.lumaA, &s.pair.lumaB, nullptr, &fieldB) ||
        estimatePixelField(FnEstimateSettings{}, &s.pair.lumaB, &s.pair.lumaA, nullptr, &fieldA))
      state.SkipWithError("estimation failed");
  }
}

void Tween(benchmark::State& state) {
  Scene& s = TheScene();
  auto host = HostFor(state);
  FnVectorTexture va, vb;
  FnIntTexture labels;
  for (auto _ : state)
    if (tween(FnTweenSettings{}, 0.5, &s.pair.lumaA, &s.pair.lumaB, &s.pair.fieldA, &s.pair.fieldB, nullptr, &va,
              &vb, &labels))
      state.SkipWithError("the tween failed");
}

void Picture(benchmark::State& state) {
  Scene& s = TheScene();
  auto host = HostFor(state);
  FnTexture8 out(kFrameW, kFrameH);
  FnTweenSettings settings;
  settings.highQuality = state.range(1) != 0;
  for (auto _ : state)
    if (buildPicture(settings, 0.5, &s.frameA, &s.frameB, &s.vectorsA, &s.vectorsB, &s.labels, nullptr, &out))
      state.SkipWithError("the picture failed");
}

// Proxies of both frames, both fields, the tween and the picture.
void Frame(benchmark::State& state) {
  Scene& s = TheScene();
  auto host = HostFor(state);
  FnTexture8 out(kFrameW, kFrameH);
  FnFlowPair pair;
  FnVectorTexture va, vb;
  FnIntTexture labels;
  const FnTweenSettings settings;
  for (auto _ : state) {
    if (FnEstimatePair(&s.frameA, &s.frameB, 0.2f, FnEstimateSettings{}, nullptr, &pair) ||
        tween(settings, 0.5, &pair.lumaA, &pair.lumaB, &pair.fieldA, &pair.fieldB, nullptr, &va, &vb, &labels) ||
        buildPicture(settings, 0.5, &s.frameA, &s.frameB, &va, &vb, &labels, nullptr, &out))
      state.SkipWithError("a stage failed");
  }
}

void Proxies(benchmark::State& state) {
  Scene& s = TheScene();
  auto host = HostFor(state);
  FnFloatTexture a, b;
  for (auto _ : state)
    if (FnLuminanceProxy(&s.frameA, kProxyW, kProxyH, FnLumaWeights{}, nullptr, &a) ||
        FnLuminanceProxy(&s.frameB, kProxyW, kProxyH, FnLumaWeights{}, nullptr, &b))
      state.SkipWithError("the proxies failed");
}

#ifdef VX_BENCH_HAVE_OPENCV_VIDEO
// DIS on the same proxies, as 8-bit images (what it takes), both directions.
void Dis(benchmark::State& state) {
  Scene& s = TheScene();
  cv::setNumThreads(int(state.range(0)));
  cv::Mat a(kProxyH, kProxyW, CV_32F, s.pair.lumaA.data, size_t(s.pair.lumaA.rowBytes));
  cv::Mat b(kProxyH, kProxyW, CV_32F, s.pair.lumaB.data, size_t(s.pair.lumaB.rowBytes));
  cv::Mat a8, b8, flowAB, flowBA;
  a.convertTo(a8, CV_8U, 255.0);
  b.convertTo(b8, CV_8U, 255.0);
  auto dis = cv::DISOpticalFlow::create(int(state.range(1)));
  for (auto _ : state) {
    dis->calc(a8, b8, flowAB);
    dis->calc(b8, a8, flowBA);
    benchmark::ClobberMemory();
  }
  cv::setNumThreads(-1);
}
#endif

}  // namespace

// Single-thread cases are timed in CPU time: on a shared machine under load
// the wall clock says more about the neighbours than about the code.
BENCHMARK(Memcpy)->Name("flowestimate/yardstick_memcpy_proxy")->Args({kProxyW, kProxyH})->Unit(benchmark::kMicrosecond);
BENCHMARK(Fields)->Name("flowestimate/fields_1thread")->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(Fields)->Name("flowestimate/fields_2threads")->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
#ifdef VX_BENCH_HAVE_OPENCV_VIDEO
BENCHMARK(Dis)->Name("flowestimate/opencv_dis_ultrafast_1thread")->Args({1, cv::DISOpticalFlow::PRESET_ULTRAFAST})->Unit(benchmark::kMillisecond);
BENCHMARK(Dis)->Name("flowestimate/opencv_dis_medium_1thread")->Args({1, cv::DISOpticalFlow::PRESET_MEDIUM})->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(Tween)->Name("flowestimate/tween_1thread")->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(Tween)->Name("flowestimate/tween_2threads")->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Memcpy)->Name("flowpicture/yardstick_memcpy_frame")->Args({kFrameW, kFrameH})->Unit(benchmark::kMillisecond);
BENCHMARK(Proxies)->Name("flowpicture/proxies_1thread")->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(Picture)->Name("flowpicture/picture_1thread")->Args({1, 0})->Unit(benchmark::kMillisecond);
BENCHMARK(Picture)->Name("flowpicture/picture_2threads")->Args({2, 0})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Picture)->Name("flowpicture/picture_long_filter_1thread")->Args({1, 1})->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(Frame)->Name("flowpicture/frame_all_1thread")->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(Frame)->Name("flowpicture/frame_all_2threads")->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

// The package's compositing against pixman in the same run: VX_TransferRect
// of the realistic layer (support/BenchLayers.h) over a 3840x2160
// background, against pixman_image_composite32 with the matching operator
// over the same pixels, both on one thread. Groups are
// "<mode><depth>_on_<background>" with pixman as the yardstick, so
// scripts/bench prints the package's time as a multiple of pixman's.
//
// Two backgrounds: the opaque comp buffer of transfer_bench.cpp, which keeps
// what each pass leaves, and a layered one (about 15% partial pixels, the
// rest opaque), where 8-bit over has to divide by the union alpha. The
// layered one is put back before every pass, outside the timing; over would
// otherwise make it opaque pass by pass.
//
// pixman composites premultiplied colours, as a host built on it would hold
// them, so its inputs are premultiplied once before timing. Before timing,
// one pass of each is run on the same inputs and pixman's picture, converted
// back to straight colours, must match the package's within what the two
// arithmetics allow (kModes below); the worst distance found is reported as
// the counter "worst".
#include <benchmark/benchmark.h>

#include <cstring>
#include <map>
#include <string>

#include "support/BenchLayers.h"
#include "support/BenchWorlds.h"
#include "support/Peers.h"

#ifdef VX_BENCH_HAVE_PIXMAN

namespace {

using vxbench::Frame;

enum Background { kOpaqueBg, kLayeredBg };
constexpr const char* kBackgroundNames[] = {"opaque", "layered"};

// The painted frames of a depth, made once, and their premultiplied copies.
template <class Pixel>
struct Scene {
  typedef typename vxbench::PeerPixelOf<Pixel>::Type PeerPixel;
  static constexpr int32_t kDepth = VX_PixelTraits<Pixel>::kDepth;
  Frame layer{kDepth}, backgrounds[2] = {Frame(kDepth), Frame(kDepth)};
  std::vector<PeerPixel> peer_layer, peer_backgrounds[2];
  Scene() {
    vxbench::Paint<Pixel>(layer, vxbench::kRealistic, 3);
    vxbench::Paint<Pixel>(backgrounds[kOpaqueBg], vxbench::kOpaque, 4);
    vxbench::Paint<Pixel>(backgrounds[kLayeredBg], vxbench::kLayered, 4);
    peer_layer = vxbench::PremultipliedCopy<Pixel>(*layer.get());
    for (int bg = 0; bg < 2; ++bg) peer_backgrounds[bg] = vxbench::PremultipliedCopy<Pixel>(*backgrounds[bg].get());
  }
  static Scene& Get() {
    static Scene scene;
    return scene;
  }
};

void CopyFrame(Frame& from, Frame& to) { std::memcpy(to.get()->data, from.get()->data, from.bytes()); }

// The tolerances of the picture check, as distances of premultiplied values
// (PeerPixels.h): code values at 8 bits, units of white at float. At 8 bits
// pixman's inputs are premultiplied and rounded (up to 0.5 each, carried
// with a weight of at most 1), and each of its products is rounded to
// nearest (0.5 each): over has one product, multiply three (the two
// cross terms and s x d), screen one rounding of the whole sum. The
// package's own roundings add up likewise: over 1.5 (destination product,
// lerp, quotient), multiply and screen 2 (flatten, two products, lift).
// Converting pixman's picture back rounds by 0.5 more. Alphas are the same
// formula on both sides (sa + da x (255 - sa) / 255, rounded), so they must
// match exactly. At float both sides round a handful of products of values
// up to white, far below 1e-5.
struct ModeCase {
  int32_t mode;
  pixman_op_t op;
  const char* name;
  double colour_tolerance8;
};
constexpr ModeCase kModes[] = {{XferOver, PIXMAN_OP_OVER, "over", 1.5 + 1.5 + 0.5},
                               {XferMultiply, PIXMAN_OP_MULTIPLY, "multiply", 2.5 + 2.0 + 0.5},
                               {XferScreen, PIXMAN_OP_SCREEN, "screen", 1.5 + 2.0 + 0.5}};
constexpr double kColourToleranceF = 1e-5;

template <class Pixel>
void Transfer(const ModeCase& m, Frame& layer, Frame& dst, benchmark::State& state) {
  const VX_CompositeModePlus plus(m.mode, 1.0f, nullptr, false, 17);
  if (VX_TransferRect(nullptr, 0, 0, 0, nullptr, layer.get(), &plus, nullptr, nullptr, 0, 0, dst.get()))
    state.SkipWithError("transfer failed");
}

void Composite(const ModeCase& m, const vxbench::PixmanImage& layer, const vxbench::PixmanImage& dst) {
  pixman_image_composite32(m.op, layer.get(), nullptr, dst.get(), 0, 0, 0, 0, 0, 0, vxbench::kWidth, vxbench::kHeight);
}

// One pass of each on the same inputs, compared; done once a case.
template <class Pixel>
vxbench::PictureDiff CheckPicture(const ModeCase& m, Background bg, benchmark::State& state) {
  Scene<Pixel>& scene = Scene<Pixel>::Get();
  Frame ours(Scene<Pixel>::kDepth), theirs(Scene<Pixel>::kDepth);
  CopyFrame(scene.backgrounds[bg], ours);
  Transfer<Pixel>(m, scene.layer, ours, state);
  auto layer = scene.peer_layer, dst = scene.peer_backgrounds[bg];
  Composite(m, vxbench::PixmanImage(vxbench::kWidth, vxbench::kHeight, layer.data()),
            vxbench::PixmanImage(vxbench::kWidth, vxbench::kHeight, dst.data()));
  vxbench::StraightInto<Pixel>(dst, *theirs.get());
  const bool eight = Scene<Pixel>::kDepth == 8;
  return vxbench::ComparePictures<Pixel>(*ours.get(), *theirs.get(), eight ? m.colour_tolerance8 : kColourToleranceF,
                                         eight ? 0 : kColourToleranceF);
}

template <class Pixel>
void Pixman(benchmark::State& state, ModeCase m, Background bg) {
  static std::map<std::pair<int32_t, int>, vxbench::PictureDiff> checked;
  const auto key = std::make_pair(m.mode, static_cast<int>(bg));
  if (!checked.count(key)) checked[key] = CheckPicture<Pixel>(m, bg, state);
  const vxbench::PictureDiff& diff = checked[key];
  if (diff.outside) {
    state.SkipWithError(("pixman's picture differs from the package's: " + diff.Describe()).c_str());
    return;
  }
  Scene<Pixel>& scene = Scene<Pixel>::Get();
  const auto& pristine = scene.peer_backgrounds[bg];
  auto layer = scene.peer_layer, dst = pristine;
  const vxbench::PixmanImage layer_image(vxbench::kWidth, vxbench::kHeight, layer.data());
  const vxbench::PixmanImage dst_image(vxbench::kWidth, vxbench::kHeight, dst.data());
  for (auto _ : state) {
    if (bg == kLayeredBg) {
      state.PauseTiming();
      std::memcpy(dst.data(), pristine.data(), dst.size() * sizeof dst[0]);
      state.ResumeTiming();
    }
    Composite(m, layer_image, dst_image);
    benchmark::ClobberMemory();
  }
  state.counters["worst"] = diff.worst_colour;
  state.SetItemsProcessed(state.iterations() * vxbench::kWidth * vxbench::kHeight);
}

template <class Pixel>
void Package(benchmark::State& state, ModeCase m, Background bg) {
  Scene<Pixel>& scene = Scene<Pixel>::Get();
  Frame dst(Scene<Pixel>::kDepth);
  CopyFrame(scene.backgrounds[bg], dst);
  for (auto _ : state) {
    if (bg == kLayeredBg) {
      state.PauseTiming();
      CopyFrame(scene.backgrounds[bg], dst);
      state.ResumeTiming();
    }
    Transfer<Pixel>(m, scene.layer, dst, state);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * vxbench::kWidth * vxbench::kHeight);
}

template <class Pixel>
void Register(const std::string& depth, const ModeCase& m) {
  for (Background bg : {kOpaqueBg, kLayeredBg}) {
    const std::string group = std::string(m.name) + depth + "_on_" + kBackgroundNames[bg];
    benchmark::RegisterBenchmark((group + "/yardstick_pixman").c_str(), Pixman<Pixel>, m, bg)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((group + "/vx").c_str(), Package<Pixel>, m, bg)->Unit(benchmark::kMillisecond);
  }
}

const bool registered = [] {
  for (const ModeCase& m : kModes) Register<VX_Pixel8>("8", m);
  Register<VX_PixelFloat>("F", kModes[0]);
  return true;
}();

}  // namespace

#endif  // VX_BENCH_HAVE_PIXMAN

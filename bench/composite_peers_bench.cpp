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
// otherwise make it opaque pass by pass. That leaves it freshly written, as
// the layer below would have left it.
//
// A whole frame streams through memory, which hides part of the arithmetic
// and, on a busy machine, most of it. The "_strip" groups time the same
// work on 32 rows of the frame spread over its height (3840x32, the same mix
// of pixels), small enough to stay in the second-level cache: the cost of
// the arithmetic alone.
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
#include <tuple>
#include <vector>

#include "support/BenchLayers.h"
#include "support/BenchWorlds.h"
#include "support/Peers.h"

#ifdef VX_BENCH_HAVE_PIXMAN

namespace {

using vxbench::Frame;

enum Background { kOpaqueBg, kLayeredBg };
constexpr const char* kBackgroundNames[] = {"opaque", "layered"};

// The painted frames of a depth, made once, and their premultiplied copies:
// the whole frame, or a strip of its rows spread evenly over its height.
constexpr int32_t kStripRows = 32;

template <class Pixel>
struct Scene {
  typedef typename vxbench::PeerPixelOf<Pixel>::Type PeerPixel;
  static constexpr int32_t kDepth = VX_PixelTraits<Pixel>::kDepth;
  Frame layer, backgrounds[2];
  std::vector<PeerPixel> peer_layer, peer_backgrounds[2];
  explicit Scene(int32_t height)
      : layer(kDepth, vxbench::kWidth, height),
        backgrounds{Frame(kDepth, vxbench::kWidth, height), Frame(kDepth, vxbench::kWidth, height)} {}
  void MakePeerCopies() {
    peer_layer = vxbench::PremultipliedCopy<Pixel>(*layer.get());
    for (int bg = 0; bg < 2; ++bg) peer_backgrounds[bg] = vxbench::PremultipliedCopy<Pixel>(*backgrounds[bg].get());
  }
  int32_t width() { return layer.get()->width; }
  int32_t height() { return layer.get()->height; }
  // Kept to the end of the program: disposing of worlds after the package
  // has stopped is not allowed.
  static Scene& Get(bool strip) {
    static Scene& whole = *[] {
      auto* s = new Scene(vxbench::kHeight);
      vxbench::Paint<Pixel>(s->layer, vxbench::kRealistic, 3);
      vxbench::Paint<Pixel>(s->backgrounds[kOpaqueBg], vxbench::kOpaque, 4);
      vxbench::Paint<Pixel>(s->backgrounds[kLayeredBg], vxbench::kLayered, 4);
      s->MakePeerCopies();
      return s;
    }();
    static Scene& part = *[] {
      auto* s = new Scene(kStripRows);
      const auto copy_rows = [](Frame& from, Frame& to) {
        for (int32_t i = 0; i < kStripRows; ++i)
          std::memcpy(vxbench::RowOf<Pixel>(*to.get(), i),
                      vxbench::RowOf<Pixel>(*from.get(), (2 * i + 1) * vxbench::kHeight / (2 * kStripRows)),
                      sizeof(Pixel) * vxbench::kWidth);
      };
      copy_rows(whole.layer, s->layer);
      for (int bg = 0; bg < 2; ++bg) copy_rows(whole.backgrounds[bg], s->backgrounds[bg]);
      s->MakePeerCopies();
      return s;
    }();
    return strip ? part : whole;
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
  pixman_image_composite32(m.op, layer.get(), nullptr, dst.get(), 0, 0, 0, 0, 0, 0,
                           pixman_image_get_width(dst.get()), pixman_image_get_height(dst.get()));
}

// One pass of each on the same inputs, compared; done once a case.
template <class Pixel>
vxbench::PictureDiff CheckPicture(const ModeCase& m, Background bg, bool strip, benchmark::State& state) {
  Scene<Pixel>& scene = Scene<Pixel>::Get(strip);
  Frame ours(Scene<Pixel>::kDepth, scene.width(), scene.height()), theirs(Scene<Pixel>::kDepth, scene.width(), scene.height());
  CopyFrame(scene.backgrounds[bg], ours);
  Transfer<Pixel>(m, scene.layer, ours, state);
  auto layer = scene.peer_layer, dst = scene.peer_backgrounds[bg];
  Composite(m, vxbench::PixmanImage(scene.width(), scene.height(), layer.data()),
            vxbench::PixmanImage(scene.width(), scene.height(), dst.data()));
  vxbench::StraightInto<Pixel>(dst, *theirs.get());
  const bool eight = Scene<Pixel>::kDepth == 8;
  return vxbench::ComparePictures<Pixel>(*ours.get(), *theirs.get(), eight ? m.colour_tolerance8 : kColourToleranceF,
                                         eight ? 0 : kColourToleranceF);
}

template <class Pixel>
void Pixman(benchmark::State& state, ModeCase m, Background bg, bool strip) {
  static std::map<std::tuple<int32_t, int, bool>, vxbench::PictureDiff> checked;
  const auto key = std::make_tuple(m.mode, static_cast<int>(bg), strip);
  if (!checked.count(key)) checked[key] = CheckPicture<Pixel>(m, bg, strip, state);
  const vxbench::PictureDiff& diff = checked[key];
  if (diff.outside) {
    state.SkipWithError(("pixman's picture differs from the package's: " + diff.Describe()).c_str());
    return;
  }
  Scene<Pixel>& scene = Scene<Pixel>::Get(strip);
  const auto& pristine = scene.peer_backgrounds[bg];
  auto layer = scene.peer_layer, dst = pristine;
  const vxbench::PixmanImage layer_image(scene.width(), scene.height(), layer.data());
  const vxbench::PixmanImage dst_image(scene.width(), scene.height(), dst.data());
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
  state.SetItemsProcessed(state.iterations() * scene.width() * scene.height());
}

template <class Pixel>
void Package(benchmark::State& state, ModeCase m, Background bg, bool strip) {
  Scene<Pixel>& scene = Scene<Pixel>::Get(strip);
  Frame dst(Scene<Pixel>::kDepth, scene.width(), scene.height());
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
  state.SetItemsProcessed(state.iterations() * scene.width() * scene.height());
}

template <class Pixel>
void Register(const std::string& depth, const ModeCase& m) {
  for (bool strip : {false, true})
    for (Background bg : {kOpaqueBg, kLayeredBg}) {
      const std::string group =
          std::string(m.name) + depth + (strip ? "_strip" : "") + "_on_" + kBackgroundNames[bg];
      benchmark::RegisterBenchmark((group + "/yardstick_pixman").c_str(), Pixman<Pixel>, m, bg, strip)
          ->Unit(benchmark::kMillisecond);
      benchmark::RegisterBenchmark((group + "/vx").c_str(), Package<Pixel>, m, bg, strip)
          ->Unit(benchmark::kMillisecond);
    }
}

const bool registered = [] {
  for (const ModeCase& m : kModes) Register<VX_Pixel8>("8", m);
  Register<VX_PixelFloat>("F", kModes[0]);
  return true;
}();

}  // namespace

#endif  // VX_BENCH_HAVE_PIXMAN

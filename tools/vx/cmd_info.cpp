// vx info FILE: size, depth, channel statistics and alpha coverage.
#include <cstdio>

#include "Commands.h"
#include "Image.h"
#include "Interrupt.h"
#include "Session.h"
#include "ToolError.h"

namespace vxtool {
namespace {

struct ChannelStats {
  double min = 1e300, max = -1e300, sum = 0;
  void Add(double v) {
    min = v < min ? v : min;
    max = v > max ? v : max;
    sum += v;
  }
};

template <class Pixel>
void Gather(const VX_World& w, ChannelStats stats[4], long long coverage[3]) {
  const double white = VX_PixelTraits<Pixel>::kWhite;
  for (int32_t y = 0; y < w.height; ++y) {
    ThrowIfInterrupted("measuring");
    const Pixel* row = static_cast<const VX_WorldX<Pixel>&>(w).Row(y);
    for (int32_t x = 0; x < w.width; ++x) {
      const Pixel& p = row[x];
      stats[0].Add(p.alpha / white);
      stats[1].Add(p.red / white);
      stats[2].Add(p.green / white);
      stats[3].Add(p.blue / white);
      coverage[p.alpha <= 0 ? 0 : p.alpha >= VX_PixelTraits<Pixel>::kWhite ? 1 : 2]++;
    }
  }
}

}  // namespace

int RunInfo(const Args& args) {
  if (args.positional.size() != 1) throw ToolError("info wants one file (see vx info --help)");
  const std::string& path = args.positional[0];
  Session session;
  WorldPtr world = ReadImage(path);
  ChannelStats stats[4];
  long long coverage[3] = {0, 0, 0};
  switch (world->Depth()) {
    case 8:
      Gather<VX_Pixel8>(*world, stats, coverage);
      break;
    case 16:
      Gather<VX_Pixel16>(*world, stats, coverage);
      break;
    default:
      Gather<VX_PixelFloat>(*world, stats, coverage);
  }
  const double n = static_cast<double>(world->width) * world->height;
  std::printf("%s\n", path.c_str());
  std::printf("  size      %d x %d\n", world->width, world->height);
  std::printf("  depth     %d (%s)\n", world->Depth(),
              world->Depth() == 8 ? "8 bits a channel" : world->Depth() == 16 ? "16 bits a channel, white 32768"
                                                                                : "32-bit float");
  std::printf("  channel   %10s %10s %10s   (white = 1)\n", "min", "max", "mean");
  const char* names[4] = {"alpha", "red", "green", "blue"};
  for (int c = 0; c < 4; ++c)
    std::printf("  %-9s %10.5f %10.5f %10.5f\n", names[c], stats[c].min, stats[c].max, stats[c].sum / n);
  std::printf("  coverage  %.2f%% transparent, %.2f%% opaque, %.2f%% partial\n", 100 * coverage[0] / n,
              100 * coverage[1] / n, 100 * coverage[2] / n);
  return 0;
}

}  // namespace vxtool

#include <algorithm>
#include <cmath>
#include <vector>

#include "Font.h"
#include "Interrupt.h"
#include "Sheet.h"
#include "ToolError.h"

namespace vxtool {
namespace {

constexpr int32_t kTileWidth = 176, kColumns = 7, kLabelHeight = 22, kGap = 6;
constexpr int32_t kFirstMode = -3, kLastMode = 38;

VX_PixelFloat& F(VX_World& w, int32_t x, int32_t y) { return static_cast<VX_WorldFloat&>(w).PixelAt(x, y)[0]; }

int32_t ModeCount() {
  int32_t n = 0;
  for (int32_t m = kFirstMode; m <= kLastMode; ++m) n += VX_IsXferMode(m);
  return n;
}

}  // namespace

WorldPtr Reduce(const VX_World& world, int32_t width, int32_t height, int16_t depth) {
  WorldPtr holder;
  const VX_World* source = &world;
  if (world.Depth() != 32) {
    holder = ConvertDepth(world, 32);
    source = holder.get();
  }
  WorldPtr out = NewWorld(width, height, 32);
  const auto& src = static_cast<const VX_WorldFloat&>(*source);
  for (int32_t y = 0; y < height; ++y) {
    ThrowIfInterrupted("reducing");
    const int32_t y0 = static_cast<int32_t>(int64_t(y) * src.height / height);
    const int32_t y1 = std::max(y0 + 1, static_cast<int32_t>(int64_t(y + 1) * src.height / height));
    for (int32_t x = 0; x < width; ++x) {
      const int32_t x0 = static_cast<int32_t>(int64_t(x) * src.width / width);
      const int32_t x1 = std::max(x0 + 1, static_cast<int32_t>(int64_t(x + 1) * src.width / width));
      double a = 0, r = 0, g = 0, b = 0;
      for (int32_t sy = y0; sy < y1; ++sy)
        for (int32_t sx = x0; sx < x1; ++sx) {
          const VX_PixelFloat& p = src.PixelAt(sx, sy)[0];
          a += p.alpha;
          r += p.red * p.alpha;
          g += p.green * p.alpha;
          b += p.blue * p.alpha;
        }
      const double n = double(x1 - x0) * (y1 - y0);
      F(*out, x, y) = a > 0 ? VX_PixelFloat{float(a / n), float(r / a), float(g / a), float(b / a)} : VX_PixelFloat{};
    }
  }
  return depth == 32 ? std::move(out) : ConvertDepth(*out, depth);
}

WorldPtr MakeContactSheet(VX_World& background, VX_World& layer, ProgressBar* bar) {
  const int16_t depth = background.Depth();
  const int32_t tile_w = kTileWidth;
  const double scale = double(tile_w) / background.width;
  const int32_t tile_h = std::max<int32_t>(1, static_cast<int32_t>(std::lround(background.height * scale)));
  WorldPtr bg = Reduce(background, tile_w, tile_h, depth);
  auto scaled = [scale](int32_t v) { return std::max<int32_t>(1, static_cast<int32_t>(std::lround(v * scale))); };
  WorldPtr layer_small = Reduce(layer, scaled(layer.width), scaled(layer.height), depth);

  const int32_t count = ModeCount(), rows = (count + kColumns - 1) / kColumns;
  const int32_t cell_w = tile_w + kGap, cell_h = tile_h + kLabelHeight + kGap;
  WorldPtr sheet = NewWorld(kColumns * cell_w + kGap, rows * cell_h + kGap, depth);
  sheet->Fill(VX_PixelFloat{1.0f, 0.12f, 0.12f, 0.13f}, nullptr);

  int32_t index = 0;
  for (int32_t mode = kFirstMode; mode <= kLastMode; ++mode) {
    if (!VX_IsXferMode(mode)) continue;
    WorldPtr tile = NewWorld(tile_w, tile_h, depth);
    tile->CopyWorld(bg.get());
    ComposeOptions options;
    options.mode = mode;
    Composite(*tile, *layer_small, options, nullptr);
    const int32_t left = kGap + (index % kColumns) * cell_w, top = kGap + (index / kColumns) * cell_h;
    // Over the sheet, so what a mode leaves transparent shows as the sheet.
    ComposeOptions place;
    place.at_x = left;
    place.at_y = top;
    Composite(*sheet, *tile, place, nullptr);
    const std::string label = ModeLabel(mode);
    int scale_text = 2;
    if (TextWidth(label, scale_text) > tile_w) scale_text = 1;
    DrawText(*sheet, label, left + (tile_w - TextWidth(label, scale_text)) / 2, top + tile_h + 4, scale_text, 0.92f,
             0.92f, 0.88f);
    ++index;
    if (bar) {
      VX_ProgressInfo* info = bar->info();
      if (VX_Err err = info->progress(info->refcon, index, count)) Check(err, "making the sheet");
    }
  }
  return sheet;
}

WorldPtr DemoBackground(int32_t width, int32_t height) {
  WorldPtr w = NewWorld(width, height, 32);
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x) {
      const float u = float(x) / (width - 1), v = float(y) / (height - 1);
      const bool check = ((x / 40) + (y / 40)) % 2 == 0;
      const float k = check ? 0.06f : 0.0f;
      F(*w, x, y) = VX_PixelFloat{1.0f, 0.15f + 0.7f * u + k, 0.25f + 0.5f * v, 0.85f - 0.6f * u + k};
    }
  return w;
}

WorldPtr DemoLayer(int32_t width, int32_t height) {
  WorldPtr w = NewWorld(width, height, 32);
  struct Disc {
    float cx, cy, radius, r, g, b;
  };
  const Disc discs[] = {{0.30f, 0.40f, 0.26f, 0.95f, 0.35f, 0.15f},
                        {0.62f, 0.55f, 0.30f, 0.15f, 0.75f, 0.35f},
                        {0.48f, 0.28f, 0.18f, 0.95f, 0.95f, 0.80f}};
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x) {
      VX_PixelFloat p{};
      for (const Disc& d : discs) {
        const float dx = float(x) / width - d.cx, dy = float(y) / height - d.cy;
        const float dist = std::sqrt(dx * dx + dy * dy) / d.radius;
        const float a = std::clamp(1.5f - 1.5f * dist, 0.0f, 1.0f);  // a soft edge, solid inside
        if (a <= 0) continue;
        const float na = a + p.alpha * (1 - a);
        p.red = (d.r * a + p.red * p.alpha * (1 - a)) / na;
        p.green = (d.g * a + p.green * p.alpha * (1 - a)) / na;
        p.blue = (d.b * a + p.blue * p.alpha * (1 - a)) / na;
        p.alpha = na;
      }
      F(*w, x, y) = p;
    }
  return w;
}

WorldPtr DemoMatte(int32_t width, int32_t height) {
  WorldPtr w = NewWorld(width, height, 32);
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x) {
      const float dx = float(x) / width - 0.5f, dy = float(y) / height - 0.5f;
      const float l = std::clamp(1.0f - 2.2f * std::sqrt(dx * dx + dy * dy), 0.0f, 1.0f);
      F(*w, x, y) = VX_PixelFloat{1.0f, l, l, l};
    }
  return w;
}

}  // namespace vxtool

// vx flow A B -o FLOW.png [--proxy F] [--vectors]: the motion from image A
// to image B, estimated on luminance proxies, written in the colour coding
// of FlowColour.h at the images' size, with arrows if asked.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Commands.h"
#include "FlowColour.h"
#include "Image.h"
#include "Session.h"
#include "ToolError.h"
#include "vx/OpticalFlow.h"

namespace vxtool {

Rgb8 FlowColour(float dx, float dy, float longest) {
  const float length = std::hypot(dx, dy);
  const float s = longest > 0.0f ? std::min(1.0f, length / longest) : 0.0f;
  float hue = std::atan2(dy, dx) * 57.2957795f;
  if (hue < 0.0f) hue += 360.0f;
  // HSV with value 1: the colour at full saturation, mixed with white.
  const float h = hue / 60.0f;
  const float x = 1.0f - std::fabs(std::fmod(h, 2.0f) - 1.0f);
  float r = 0, g = 0, b = 0;
  switch (int(h) % 6) {
    case 0: r = 1, g = x; break;
    case 1: r = x, g = 1; break;
    case 2: g = 1, b = x; break;
    case 3: g = x, b = 1; break;
    case 4: r = x, b = 1; break;
    default: r = 1, b = x; break;
  }
  auto mix = [s](float c) { return uint8_t(std::lround((1.0f - s + s * c) * 255.0f)); };
  return {mix(r), mix(g), mix(b)};
}

namespace {

// The field on A's grid: A(x,y) = B(x - vx, y + vy), so content at (x,y) of
// A is at (x - vx, y + vy) in B: the motion is (-vx, vy) in proxy pixels.
template <class P>
int32_t Estimate(const VX_World& a, const VX_World& b, float proxy, FnFlowPair* pair) {
  FnWorldTexture<P, FnPixelF> ta(&a), tb(&b);
  return FnEstimatePair(&ta, &tb, proxy, FnEstimateSettings{}, nullptr, pair);
}

void Put(VX_WorldX<VX_Pixel8>& w, int32_t x, int32_t y, Rgb8 c) {
  if (x < 0 || y < 0 || x >= w.width || y >= w.height) return;
  VX_Pixel8* p = w.PixelAt(x, y);
  p->alpha = 255, p->red = c.r, p->green = c.g, p->blue = c.b;
}

void Line(VX_WorldX<VX_Pixel8>& w, float x0, float y0, float x1, float y1, Rgb8 c) {
  const int steps = int(std::ceil(std::max(std::fabs(x1 - x0), std::fabs(y1 - y0)))) + 1;
  for (int i = 0; i <= steps; ++i) {
    const float t = float(i) / float(steps);
    Put(w, int32_t(std::floor(x0 + (x1 - x0) * t)), int32_t(std::floor(y0 + (y1 - y0) * t)), c);
  }
}

// An arrow from (x,y) along the motion, every `spacing` pixels.
void Arrows(VX_WorldX<VX_Pixel8>& out, const FnVectorTexture& field, float r, int32_t spacing) {
  const Rgb8 ink{0, 0, 0};
  for (int32_t y = spacing / 2; y < out.height; y += spacing)
    for (int32_t x = spacing / 2; x < out.width; x += spacing) {
      const HvVec2 v = field.rawRow(std::min(field.height() - 1, int32_t(float(y) / r)))[std::min(
          field.width() - 1, int32_t(float(x) / r))];
      if (FnIsInvalid(v)) continue;
      const float dx = -v.x * r, dy = v.y * r;
      const float length = std::hypot(dx, dy);
      const float cx = float(x) + 0.5f, cy = float(y) + 0.5f;
      if (length < 0.5f) continue;
      const float ex = cx + dx, ey = cy + dy, ux = dx / length, uy = dy / length;
      const float head = std::min(4.0f, length * 0.4f);
      Line(out, cx, cy, ex, ey, ink);
      Line(out, ex, ey, ex - head * (ux - uy * 0.5f), ey - head * (uy + ux * 0.5f), ink);
      Line(out, ex, ey, ex - head * (ux + uy * 0.5f), ey - head * (uy - ux * 0.5f), ink);
    }
}

}  // namespace

int RunFlow(const Args& args) {
  if (args.positional.size() != 2) throw ToolError("flow wants two images (see vx flow --help)");
  const auto output = args.Value("output");
  if (!output) throw ToolError("flow needs an output (-o FLOW.png)");
  CheckOutputPath(*output);
  const double proxy = args.Number("proxy", 0.2);
  if (!(proxy >= 0.05 && proxy <= 1.0)) throw ToolError("--proxy must lie between 0.05 and 1");
  Session session;
  WorldPtr a = ReadImage(args.positional[0]);
  WorldPtr b = ReadImage(args.positional[1]);
  if (a->width != b->width || a->height != b->height)
    throw ToolError("the two images differ in size (" + std::to_string(a->width) + "x" + std::to_string(a->height) +
                    " and " + std::to_string(b->width) + "x" + std::to_string(b->height) + ")");
  if (a->Depth() != b->Depth()) b = ConvertDepth(*b, a->Depth());
  FnFlowPair pair;
  const float detail = float(proxy);
  const int32_t error = a->Depth() == 8    ? Estimate<FnPixel8>(*a, *b, detail, &pair)
                        : a->Depth() == 16 ? Estimate<FnPixel16>(*a, *b, detail, &pair)
                                           : Estimate<FnPixelF>(*a, *b, detail, &pair);
  if (error == 4) throw ToolError("estimating the motion ran out of memory");
  if (error) throw ToolError("estimating the motion failed (error " + std::to_string(error) + ")");
  const FnVectorTexture& field = pair.fieldA;
  const float r = float(a->width) / float(field.width());
  float longest = 1.0f;
  int64_t invalid = 0;
  for (int32_t y = 0; y < field.height(); ++y)
    for (int32_t x = 0; x < field.width(); ++x) {
      const HvVec2 v = field.rawRow(y)[x];
      if (FnIsInvalid(v)) {
        ++invalid;
        continue;
      }
      longest = std::max(longest, std::hypot(v.x, v.y) * r);
    }
  WorldPtr out = NewWorld(a->width, a->height, 8);
  auto& w = static_cast<VX_WorldX<VX_Pixel8>&>(*out);
  for (int32_t y = 0; y < out->height; ++y)
    for (int32_t x = 0; x < out->width; ++x) {
      const HvVec2 v = field.rawRow(std::min(field.height() - 1, int32_t(float(y) / r)))[std::min(
          field.width() - 1, int32_t(float(x) / r))];
      Put(w, x, y, FnIsInvalid(v) ? kNoVectorColour : FlowColour(-v.x * r, v.y * r, longest));
    }
  if (args.flags.count("vectors")) Arrows(w, field, r, std::max(8, int32_t(std::lround(2.5f * r * 6.0f))));
  WriteImage(*output, *out);
  if (!args.flags.count("quiet"))
    std::printf("%s: proxy %dx%d, longest motion %.2f pixels, %lld places without a vector\n", output->c_str(),
                field.width(), field.height(), longest, static_cast<long long>(invalid));
  return 0;
}

}  // namespace vxtool

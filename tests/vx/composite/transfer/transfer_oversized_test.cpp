// A source rectangle far larger than the source world composites exactly
// what the clipped rectangle does, and its row scratch is sized by the part
// that exists rather than by the rectangle asked for.
#include <climits>
#include <cstring>

#include "support/TestWorlds.h"
#include "vx/Scratch.h"

namespace {

template <class Pixel>
bool SameWorlds(vxtest::EffectWorld& a, vxtest::EffectWorld& b) {
  for (int32_t y = 0; y < a->height; ++y)
    if (std::memcmp(a.At<Pixel>(0, y), b.At<Pixel>(0, y), sizeof(Pixel) * a->width) != 0) return false;
  return true;
}

template <class Pixel>
void CheckOversized() {
  constexpr int32_t depth = VX_PixelTraits<Pixel>::kDepth;
  vxtest::Random random(depth);
  vxtest::EffectWorld src(64, 64, depth), bg(80, 70, depth);
  vxtest::FillRandom<Pixel>(src.get(), random);
  vxtest::FillRandom<Pixel>(bg.get(), random);
  const VX_CompositeModePlus mode(XferMultiply, 0.7f, nullptr, false, 0);
  struct Case {
    GEO_LRect asked, clipped;
    int32_t dest_x, dest_y;
  };
  // The clipped rectangle lands where the asked one would have put it.
  const Case cases[] = {
      {{0, 0, INT_MAX, 1}, {0, 0, 64, 1}, 3, 4},
      {{0, 10, INT_MAX, INT_MAX}, {0, 10, 64, 64}, -5, 0},
      {{-1000000000, -7, INT_MAX, 30}, {0, 0, 64, 30}, -1000000000 + 9, 2},
      {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {0, 0, 64, 64}, INT_MIN + 3, INT_MIN + 1},
  };
  for (const Case& c : cases) {
    vxtest::EffectWorld asked(80, 70, depth), clipped(80, 70, depth);
    for (vxtest::EffectWorld* w : {&asked, &clipped})
      for (int32_t y = 0; y < 70; ++y) std::memcpy(w->template At<Pixel>(0, y), bg.At<Pixel>(0, y), sizeof(Pixel) * 80);
    const auto clipped_x = static_cast<int32_t>(int64_t(c.dest_x) + c.clipped.left - c.asked.left);
    const auto clipped_y = static_cast<int32_t>(int64_t(c.dest_y) + c.clipped.top - c.asked.top);
    ASSERT_EQ(VX_FreeUpSomeMemory(), VX_Err_None);
    ASSERT_EQ(VX_TransferRect(nullptr, 1, 0, 0, &c.asked, src.get(), &mode, nullptr, nullptr, c.dest_x, c.dest_y,
                              asked.get()),
              VX_Err_None)
        << depth;
    EXPECT_LE(VXp_ScratchCapacity(), size_t(1024) * 4 * sizeof(Pixel)) << "scratch follows the source's width";
    ASSERT_EQ(VX_TransferRect(nullptr, 1, 0, 0, &c.clipped, src.get(), &mode, nullptr, nullptr, clipped_x, clipped_y,
                              clipped.get()),
              VX_Err_None);
    EXPECT_TRUE(SameWorlds<Pixel>(asked, clipped)) << depth << " bits, rect right " << c.asked.right;
    EXPECT_FALSE(SameWorlds<Pixel>(asked, bg)) << "something was composited";
  }
}

TEST(TransferOversized, SameAsTheClippedRectangleAtEveryDepth) {
  CheckOversized<VX_Pixel8>();
  CheckOversized<VX_Pixel16>();
  CheckOversized<VX_PixelFloat>();
}

// Positions and rectangles at the ends of the 32-bit range place nothing
// and overflow nothing (the sanitizer build checks the second), also with a
// track matte placed at the far ends.
TEST(TransferOversized, PositionsAtTheEndsOfTheRangePlaceNothing) {
  vxtest::EffectWorld src(16, 16, 8), dst(16, 16, 8), before(16, 16, 8), matte(16, 16, 8);
  vxtest::Random random(9);
  vxtest::FillRandom<VX_Pixel8>(src.get(), random);
  vxtest::FillRandom<VX_Pixel8>(dst.get(), random);
  vxtest::FillRandom<VX_Pixel8>(matte.get(), random);
  for (int32_t y = 0; y < 16; ++y) std::memcpy(before.At<VX_Pixel8>(0, y), dst.At<VX_Pixel8>(0, y), 16 * 4);
  const VX_CompositeModePlus mode(XferOver, 1.0f, nullptr, false, 0);
  const int32_t ends[] = {INT_MIN, INT_MIN + 1, -16, 16, INT_MAX - 1, INT_MAX};
  // The whole source, and a rectangle that holds none of it; then the
  // widest rectangle, which lands wherever its offset puts it.
  const GEO_LRect rects[] = {{0, 0, 16, 16}, {INT_MAX - 1, 0, INT_MAX, 1}, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}};
  for (const GEO_LRect& rect : rects)
    for (int32_t x : ends)
      for (int32_t y : ends) {
        const VX_TrackMatte track{*matte.get(), x, y, VX_MatteKind_Alpha};
        for (const VX_TrackMatte* m : {static_cast<const VX_TrackMatte*>(nullptr), &track}) {
          EXPECT_EQ(VX_TransferRect(nullptr, 0, 0, 0, &rect, src.get(), &mode, nullptr, m, x, y, dst.get()), 0);
          if (rect.left == 0 || rect.left == INT_MAX - 1) EXPECT_TRUE(SameWorlds<VX_Pixel8>(dst, before)) << x << "," << y;
        }
      }
}

}  // namespace

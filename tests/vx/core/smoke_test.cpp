#include "support/TestWorlds.h"

TEST(Smoke, WorldFillsAndIterates) {
  vxtest::EffectWorld w(10, 10, 8);
  VX_Pixel8 c{255, 1, 2, 3};
  ASSERT_EQ(VX_Fill(nullptr, &c, nullptr, w.get()), 0);
  EXPECT_TRUE(vxtest::SamePixel(*w.At<VX_Pixel8>(9, 9), c));
}

// The scratch pool: growth, forced shrink, all-or-nothing reallocation, and
// the motion-blur blocks.
#include "support/TestWorlds.h"

namespace {

constexpr size_t kBlockBytes[7] = {2048, 2048, 2048, 4096, 4096, 18432, 26624};

VXp_ScratchSet Current() {
  VXp_ScratchSet set{};
  EXPECT_EQ(VXp_ReallocScratch(0, 1, false, &set), 0);
  return set;
}

void ExpectBufferSizes(const VXp_ScratchSet& set, size_t first, size_t others) {
  EXPECT_EQ(KU_GetPtrSize(set.buffers[0]), first);
  EXPECT_EQ(KU_GetPtrSize(set.buffers[1]), others);
  EXPECT_EQ(KU_GetPtrSize(set.buffers[2]), others);
}

class ScratchTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(VX_FreeUpSomeMemory(), 0); }
};

TEST_F(ScratchTest, GrowsOnDemandAndShrinksOnlyWhenForced) {
  ASSERT_EQ(VX_FreeUpSomeMemory(), 0);
  EXPECT_EQ(VXp_ScratchCapacity(), 4096u);
  VXp_ScratchSet set = Current();
  ExpectBufferSizes(set, 1024, 4096);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(KU_GetPtrSize(set.blocks[i]), kBlockBytes[i]) << i;

  // Fits: nothing moves.
  VXp_ScratchSet same{};
  ASSERT_EQ(VXp_ReallocScratch(512, 2, false, &same), 0);
  EXPECT_EQ(same.buffers[1], set.buffers[1]);

  ASSERT_EQ(VXp_ReallocScratch(5000, 4, false, &set), 0);
  EXPECT_EQ(VXp_ScratchCapacity(), 80000u);
  ExpectBufferSizes(set, 20000, 80000);
  const VXp_ScratchSet grown = set;
  ASSERT_EQ(VXp_ReallocScratch(10, 1, false, &set), 0);
  EXPECT_EQ(set.buffers[2], grown.buffers[2]);
  EXPECT_EQ(set.blocks[6], grown.blocks[6]);  // the blocks never move

  ASSERT_EQ(VX_FreeUpSomeMemory(), 0);
  EXPECT_EQ(VXp_ScratchCapacity(), 4096u);
  ExpectBufferSizes(Current(), 1024, 4096);
}

TEST_F(ScratchTest, FailedReallocationKeepsTheOldBuffers) {
  const VXp_ScratchSet before = Current();
  // Failing at the first, second and third of the new buffers.
  for (long n = 0; n < 3; ++n) {
    SCOPED_TRACE(n);
    {
      vxtest::FailAllocationsScope failing(n);
      VXp_ScratchSet set{};
      EXPECT_EQ(VXp_ReallocScratch(100000, 4, true, &set), 4);
    }
    EXPECT_EQ(VXp_ScratchCapacity(), 4096u);
    const VXp_ScratchSet after = Current();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(after.buffers[i], before.buffers[i]);
    ExpectBufferSizes(after, 1024, 4096);
  }
  vxtest::TakeReports();
}

TEST_F(ScratchTest, UnexpectedDepthIsACheckNotAFailure) {
  vxtest::TakeReports();
  VXp_ScratchSet set{};
  EXPECT_EQ(VXp_ReallocScratch(100000, 3, true, &set), 0);
  EXPECT_EQ(set.buffers[0], nullptr);
  EXPECT_EQ(VXp_ScratchCapacity(), 4096u);
  EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "Unexpected bitdepth in VXp_ReallocScratch()"));
  EXPECT_EQ(VXp_ReallocScratch(-1, 1, false, nullptr), 3);
}

TEST(MotionBlurScratch, AllocatesSevenBlocksOrNone) {
  void* blocks[7];
  ASSERT_EQ(VX_AllocateMotionBlurScratch(blocks), 0);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(KU_GetPtrSize(blocks[i]), kBlockBytes[i]) << i;
  const VXp_ScratchSet pool = Current();
  EXPECT_NE(blocks[0], pool.blocks[0]);  // not the pool's
  EXPECT_EQ(VX_DisposeMotionBlurScratch(blocks), 0);
  for (void* b : blocks) EXPECT_EQ(b, nullptr);

  for (long n = 0; n < 7; ++n) {
    vxtest::FailAllocationsScope fail(n);
    EXPECT_EQ(VX_AllocateMotionBlurScratch(blocks), 4) << n;
    for (void* b : blocks) EXPECT_EQ(b, nullptr);
  }
  EXPECT_EQ(VX_AllocateMotionBlurScratch(nullptr), 3);
  EXPECT_EQ(VX_DisposeMotionBlurScratch(nullptr), 3);
  vxtest::TakeReports();
}

}  // namespace

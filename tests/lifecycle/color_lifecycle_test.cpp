// The colour-management globals across a shut-down and a new start.
#include <gtest/gtest.h>

#include "vx/VX.h"
#include "vxhost/Host.h"

TEST(ColorLifecycle, GlobalsAreReleasedAtShutDownAndMadeAgainAfter) {
  ASSERT_EQ(VX_Birth(), 0);
  const VX_ColorSettings* first = VX_GetEmergencyColorSettings();
  ASSERT_NE(first, nullptr);
  EXPECT_NO_THROW(VX_MakeLinearizationTables(nullptr));
  ASSERT_EQ(VX_Death(), 0);

  ASSERT_EQ(VX_Birth(), 0);
  const VX_ColorSettings* second = VX_GetEmergencyColorSettings();
  ASSERT_NE(second, nullptr);
  EXPECT_TRUE(second->IsValid());
  EXPECT_TRUE(second->GetLinearize());
  EXPECT_NO_THROW(VX_MakeLinearizationTables(nullptr));
  ASSERT_EQ(VX_Death(), 0);
}

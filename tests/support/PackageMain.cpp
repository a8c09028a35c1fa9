// The package's test suites run with the package started, as a host runs it.
#include <gtest/gtest.h>

#include "vx/VX.h"
#include "vxhost/Host.h"

namespace {

class PackageEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    ASSERT_EQ(VX_CheckVersions(0, VX_kPackageVersion), 0);
    ASSERT_EQ(VX_Birth(), 0);
    ASSERT_EQ(ADDN_RunPluginScan(), 0);
    KU_TakeReports();
  }
  void TearDown() override { EXPECT_EQ(VX_Death(), 0); }
};

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  ::testing::AddGlobalTestEnvironment(new PackageEnvironment);
  return RUN_ALL_TESTS();
}

// Acceleration modules end to end: each test starts the package, scans the
// build folders of the modules it wants, checks, and shuts down.
#include <dlfcn.h>

#include <cstring>
#include <string>

#include "core/Lifecycle.h"
#include "support/TestWorlds.h"

namespace {

const std::string kModules = VX_TEST_MODULES_DIR;
const std::string kCount = kModules + "/count";
const std::string kCountFile = kCount + "/vxcount.QMX";
const std::string kFail = kModules + "/fail";
const std::string kFailFile = kFail + "/vxfail.QMX";
const std::string kOldVers = kModules + "/oldvers";
const std::string kOldVersFile = kOldVers + "/vxoldvers.QMX";

bool FileIsOpen(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle != nullptr;
}

// Calls of the counting wrapper, read from the loaded module itself.
long CountedCalls() {
  void* handle = dlopen(kCountFile.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (!handle) return -1;
  auto calls = reinterpret_cast<long (*)()>(dlsym(handle, "vxcount_calls"));
  const long n = calls ? calls() : -2;
  dlclose(handle);
  return n;
}

class ModulesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(VX_CheckVersions(0, VX_kPackageVersion), 0);
    ASSERT_EQ(VX_Birth(), 0);
    std::memcpy(born_, VXp_G_OverFuncs, sizeof born_);
    ADDN_ClearScanDirectories();
    vxtest::TakeReports();
  }
  void TearDown() override {
    if (alive_) {
      EXPECT_EQ(VX_Death(), 0);
    }
    ADDN_ClearScanDirectories();
    ADDN_RemoveAllSuites();
  }
  VX_Err Scan(std::initializer_list<std::string> dirs) {
    for (const std::string& d : dirs) EXPECT_EQ(ADDN_AddScanDirectory(d.c_str()), 0);
    return ADDN_RunPluginScan();
  }
  void Die() {
    alive_ = false;
    EXPECT_EQ(VX_Death(), 0);
  }
  void* born_[VX_kOverFuncCount];  // the table as VX_Birth left it
  bool alive_ = true;
};

TEST_F(ModulesTest, CountingModuleWrapsPremultiplyAndUnloads) {
  ASSERT_EQ(Scan({kCount}), 0);
  EXPECT_EQ(VX_LoadedModuleCount(), 1);
  EXPECT_NE(VXp_G_OverFuncs[VX_Slot_PremulRect], born_[VX_Slot_PremulRect]);
  for (int i = 1; i < VX_kOverFuncCount; ++i) {
    if (i != VX_Slot_PremulRect) {
      EXPECT_EQ(VXp_G_OverFuncs[i], born_[i]) << i;
    }
  }
  EXPECT_EQ(CountedCalls(), 0);

  // The wrapper still premultiplies: 200 x 128 / 255 rounds to 100.
  vxtest::EffectWorld world(3, 2, 8);
  const VX_Pixel8 color{128, 200, 255, 0};
  ASSERT_EQ(VX_Fill(nullptr, &color, nullptr, world.get()), 0);
  ASSERT_EQ(VX_Premul(nullptr, 1, world.get()), 0);
  EXPECT_TRUE(vxtest::SamePixel(*world.At<VX_Pixel8>(2, 1), VX_Pixel8{128, 100, 128, 0}));
  ASSERT_EQ(VX_PremulRect(nullptr, 0, nullptr, world.get()), 0);
  // And so do the suites, which reach it through the thin entry.
  const void* table = nullptr;
  ASSERT_EQ(ADDN_GetHBBasicSuite()->AcquireSuite(VX_kFillMatteSuite, 2, &table), 0);
  static_cast<const VX_FillMatteSuite2*>(table)->premul(nullptr, 1, world.get());
  ADDN_GetHBBasicSuite()->ReleaseSuite(VX_kFillMatteSuite, 2);
  EXPECT_EQ(CountedCalls(), 3);

  EXPECT_TRUE(FileIsOpen(kCountFile));
  EXPECT_EQ(ADDN_RegisteredRoutineCount(), 1);
  Die();
  // Unloaded with selector 1: the module put the original back before going.
  EXPECT_EQ(VXp_G_OverFuncs[VX_Slot_PremulRect], born_[VX_Slot_PremulRect]);
  EXPECT_EQ(VX_LoadedModuleCount(), 0);
  EXPECT_EQ(ADDN_RegisteredRoutineCount(), 0);
  EXPECT_FALSE(FileIsOpen(kCountFile));
}

TEST_F(ModulesTest, FailingModuleLeavesTheTableExactlyAsItWas) {
  EXPECT_EQ(Scan({kFail}), 7);
  EXPECT_EQ(std::memcmp(VXp_G_OverFuncs, born_, sizeof born_), 0);
  EXPECT_EQ(VX_LoadedModuleCount(), 0);
  EXPECT_FALSE(FileIsOpen(kFailFile));
  EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "problem opening plug-in acceleration module."));
  // The suites are registered all the same.
  EXPECT_EQ(ADDN_GetHBBasicSuite()->RoutineCount(VX_kIterate8Suite, 1), 5);
}

TEST_F(ModulesTest, FailureAfterAGoodModuleKeepsTheGoodOnesChanges) {
  EXPECT_EQ(Scan({kCount, kFail, kOldVers}), 7);
  EXPECT_EQ(VX_LoadedModuleCount(), 1);
  void* counting = VXp_G_OverFuncs[VX_Slot_PremulRect];
  EXPECT_NE(counting, born_[VX_Slot_PremulRect]);
  EXPECT_EQ(VXp_G_OverFuncs[VX_Slot_TransferRect], born_[VX_Slot_TransferRect]);
  EXPECT_EQ(VXp_G_OverFuncs[VX_kOverFuncCount - 1], born_[VX_kOverFuncCount - 1]);
  vxtest::EffectWorld world(2, 2, 8);
  ASSERT_EQ(VX_Premul(nullptr, 1, world.get()), 0);
  EXPECT_EQ(CountedCalls(), 1);
}

TEST_F(ModulesTest, ModuleOfAnotherVersionIsLeftOutQuietly) {
  EXPECT_EQ(Scan({kOldVers}), 0);
  EXPECT_EQ(std::memcmp(VXp_G_OverFuncs, born_, sizeof born_), 0);
  EXPECT_EQ(VX_LoadedModuleCount(), 0);
  EXPECT_FALSE(FileIsOpen(kOldVersFile));
  EXPECT_TRUE(vxtest::TakeReports().empty());
}

TEST_F(ModulesTest, ModulePathFindsModulesAndASecondScanLoadsNothingTwice) {
  ASSERT_EQ(setenv("VX_MODULE_PATH", (kOldVers + ":" + kCount).c_str(), 1), 0);
  EXPECT_EQ(ADDN_RunPluginScan(), 0);
  EXPECT_EQ(ADDN_RunPluginScan(), 0);
  unsetenv("VX_MODULE_PATH");
  EXPECT_EQ(VX_LoadedModuleCount(), 1);
  // Wrapping the wrapper would count every call twice.
  vxtest::EffectWorld world(2, 2, 8);
  ASSERT_EQ(VX_Premul(nullptr, 1, world.get()), 0);
  EXPECT_EQ(CountedCalls(), 1);
}

TEST_F(ModulesTest, SuitesTakeWhatTheTableHoldsAtTheEndOfTheScan) {
  void* generic = reinterpret_cast<void*>(&HOST_IterateGeneric);
  ASSERT_EQ(VX_SetOverrideFunc(VX_Slot_IterateGeneric, generic), 0);
  ASSERT_EQ(Scan({kCount}), 0);
  const void* table = nullptr;
  ASSERT_EQ(ADDN_GetHBBasicSuite()->AcquireSuite(VX_kIterate8Suite, 1, &table), 0);
  EXPECT_EQ(reinterpret_cast<void*>(static_cast<const VX_Iterate8Suite1*>(table)->iterate_generic), generic);
  ADDN_GetHBBasicSuite()->ReleaseSuite(VX_kIterate8Suite, 1);
}

// Start and stop twice in one process, with a module each time.
TEST(ModulesLifecycle, PackageStartsAgainAfterShutDown) {
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    ASSERT_EQ(VX_CheckVersions(0, VX_kPackageVersion), 0);
    ASSERT_EQ(VX_Birth(), 0);
    ASSERT_EQ(ADDN_AddScanDirectory(kCount.c_str()), 0);
    ASSERT_EQ(ADDN_RunPluginScan(), 0);
    EXPECT_EQ(VX_LoadedModuleCount(), 1);
    {
      vxtest::EffectWorld world(2, 2, 8);
      ASSERT_EQ(VX_Premul(nullptr, 1, world.get()), 0);
    }
    EXPECT_EQ(CountedCalls(), 1);  // a fresh load each round
    ADDN_ClearScanDirectories();
    EXPECT_EQ(VX_Death(), 0);
    EXPECT_FALSE(FileIsOpen(kCountFile));
  }
  ADDN_RemoveAllSuites();
}

}  // namespace

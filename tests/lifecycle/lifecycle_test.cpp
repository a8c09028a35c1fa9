// Start-up and shut-down, run in a process of their own: order of steps,
// results, version checks and failures part way.
#include <gtest/gtest.h>

#include <cmath>

#include "support/TestWorlds.h"

namespace {

bool HasLog(const std::vector<TLOG_Entry>& entries, const std::string& text) {
  for (const TLOG_Entry& e : entries)
    if (e.text == text) return true;
  return false;
}

class Lifecycle : public ::testing::Test {
 protected:
  void TearDown() override {
    HOST_ResetSiblingVersions();
    HOST_SetBrokerLinkAnswer(true);
    KU_ResetCPUFeatures();
    KU_TakeReports();
  }
};

TEST_F(Lifecycle, VersionsAreCheckedOnceAndTheCallersVersionAlways) {
  // The siblings are asked on the first call only, so a later right call passes.
  ASSERT_EQ(HOST_SetSiblingVersion("SEQ", 8), 0);
  EXPECT_EQ(VX_CheckVersions(1, VX_kPackageVersion), 7);
  HOST_ResetSiblingVersions();
  ASSERT_EQ(HOST_SetSiblingVersion("SEQ", 8), 0);
  EXPECT_EQ(VX_CheckVersions(1, VX_kPackageVersion), 0);

  KU_TakeReports();
  EXPECT_EQ(VX_CheckVersions(0x123, 16), 7);
  const auto reports = KU_TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].kind, KU_ReportKind::Error);
  EXPECT_EQ(reports[0].site, 0x123);
  EXPECT_EQ(reports[0].severity, 16);
  EXPECT_EQ(reports[0].text,
            "Plug-in version mismatch detected (did you install over an older version of Zendra?). Try "
            "uninstalling and re-installing. (VX package v17 != VX.h v16)");
  EXPECT_EQ(KUp_GetThreadLastError(), 0);
  EXPECT_EQ(VX_PkgObjectVersion(), 0x110000);
}

TEST_F(Lifecycle, BirthBuildsTheTablesAndDeathUndoesThem) {
  TLOG_TakeEntries();
  ASSERT_EQ(VX_Birth(), 0);
  ASSERT_NE(VXp_G_fcd_table, nullptr);
  EXPECT_EQ(VXp_G_fcd_table[0], 255) << "row 0 of the divide table";
  EXPECT_NE(VXp_GetSlot<VX_Slot_Iterate>(), nullptr);
  EXPECT_NE(VXp_GetSlot<VX_Slot_PremulRect>(), nullptr);
  EXPECT_NE(VXp_GetSlot<VX_Slot_IterateGeneric>(), nullptr);
  EXPECT_EQ(VXp_SlotAddress(VX_Slot_Reserved0), nullptr);
  EXPECT_EQ(VXp_SlotAddress(VX_Slot_Reserved1), nullptr);
  EXPECT_EQ(VXp_G_FloatRamp[255], 255.0f);
  // Soft light: A = D(x) - x, B = x(1 - x), entry 4096 zero in all four.
  EXPECT_EQ(VXp_G_SoftLightA_F[0], 0.0f);
  EXPECT_EQ(VXp_G_SoftLightA_F[1024], 0.25f);
  EXPECT_EQ(VXp_G_SoftLightA_16[1024], 8192);
  EXPECT_FLOAT_EQ(VXp_G_SoftLightB_F[2048], 0.25f);
  EXPECT_EQ(VXp_G_SoftLightA_F[4096], 0.0f);
  EXPECT_EQ(VXp_G_SoftLightB_F[4096], 0.0f);
  EXPECT_EQ(VXp_G_SoftLightA_16[4096], 0);
  EXPECT_EQ(VXp_G_SoftLightB_16[4096], 0);
  for (int i = 0; i < 4096; i += 37) {
    const double x = i / 4096.0;
    const double d = x <= 0.25 ? ((16 * x - 12) * x + 4) * x : std::sqrt(x);
    EXPECT_EQ(VXp_G_SoftLightA_16[i], static_cast<int>((d - x) * 32768 + 0.5)) << i;
    EXPECT_EQ(VXp_G_SoftLightB_16[i], static_cast<int>(x * (1 - x) * 32768 + 0.5)) << i;
  }
  EXPECT_EQ(VX_G_AlphaMask32.u32[0], 0xFFFFFFFFu);
  EXPECT_EQ(VX_G_BGRMask32.u32[1], 0xFFFFFFFFu);
  EXPECT_EQ(VX_G_viLoWordMask.u32[3], 0xFFFFu);
  EXPECT_EQ(VX_G_vf255.f32[2], 255.0f);
  EXPECT_TRUE(HasLog(TLOG_TakeEntries(), "VX Birth"));

  ASSERT_EQ(VX_Death(), 0);
  EXPECT_TRUE(HasLog(TLOG_TakeEntries(), "VX Death"));
  EXPECT_EQ(VXp_G_fcd_table, nullptr);
}

TEST_F(Lifecycle, WithoutSSE2NoVectorConstantIsSet) {
  KU_SetCPUFeatures(0, 0, 0);
  ASSERT_EQ(VX_Birth(), 0);
  EXPECT_EQ(VX_G_AlphaMask32.u32[0], 0u);
  EXPECT_EQ(VX_G_vfHalf.f32[0], 0.0f);
  // The operations still work, on their plain forms.
  vxtest::EffectWorld w(33, 3, 8);
  const VX_Pixel8 c{255, 9, 8, 7};
  EXPECT_EQ(VX_Fill(nullptr, &c, nullptr, w.get()), 0);
  EXPECT_EQ(w.At<VX_Pixel8>(32, 2)->blue, 7);
  ASSERT_EQ(VX_Death(), 0);
}

TEST_F(Lifecycle, ALinkStepThatAnswersNoGivesOneAndShutDownStillWorks) {
  HOST_SetBrokerLinkAnswer(false);
  EXPECT_EQ(VX_Birth(), 1);
  EXPECT_EQ(VX_Death(), 0);
}

TEST_F(Lifecycle, OutOfMemoryAtStartUpStopsTheLaterSteps) {
  {
    vxtest::FailAllocationsScope failing(0);
    EXPECT_EQ(VX_Birth(), 4);
  }
  EXPECT_EQ(VXp_GetSlot<VX_Slot_Iterate>(), nullptr) << "the table is filled after the failed step";
  VX_Death();
  ASSERT_EQ(VX_Birth(), 0);
  EXPECT_EQ(VX_Death(), 0);
}

TEST_F(Lifecycle, ObsoleteAndOverride) {
  ASSERT_EQ(VX_Birth(), 0);
  KU_TakeReports();
  EXPECT_EQ(VX_OverrideStdFuncs(), 515);
  const auto reports = KU_TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].text, "Obsolete routine");
  EXPECT_EQ(reports[0].site, 0x25002F);

  constexpr int32_t last = VX_kOverFuncCount - 1;
  void* const before = VXp_G_OverFuncs[last];
  EXPECT_EQ(VX_SetOverrideFunc(VX_Slot_Reserved0, reinterpret_cast<void*>(&VX_Birth)), 3);
  EXPECT_EQ(VX_SetOverrideFunc(VX_kOverFuncCount, reinterpret_cast<void*>(&VX_Birth)), 3);
  EXPECT_EQ(VX_SetOverrideFunc(-1, reinterpret_cast<void*>(&VX_Birth)), 3);
  EXPECT_EQ(VX_SetOverrideFunc(last, reinterpret_cast<void*>(&VX_Birth)), 0);
  EXPECT_EQ(VXp_G_OverFuncs[last], reinterpret_cast<void*>(&VX_Birth));
  EXPECT_EQ(VX_SetOverrideFunc(last, before), 0);
  EXPECT_EQ(VX_Death(), 0);
}

TEST_F(Lifecycle, NoWorldOutlivesShutDown) {
  ASSERT_EQ(VX_Birth(), 0);
  {
    vxtest::EffectWorld a(10, 10, 8), b(5, 5, 32);
    EXPECT_EQ(VX_G_LiveWorlds, 2);
  }
  EXPECT_EQ(VX_G_LiveWorlds, 0);
  EXPECT_EQ(KU_AccountedBytes(), 0);
  EXPECT_EQ(VX_Death(), 0);
}

}  // namespace

// The named suites: registration order and contents, and that each is a copy
// of the table taken at the end of the scan.
#include <cstring>
#include <string>

#include "core/Lifecycle.h"
#include "support/TestWorlds.h"

namespace {

struct Expected {
  const char* name;
  int32_t version, internal_version, count;
};
constexpr Expected kSuites[] = {
    {"QM CPU Data Suite", 1, 1, 4},        {"VX ANSI Suite", 1, 1, 19},
    {"VX Handle Suite", 2, 1, 6},          {"VX Color Suite", 1, 1, 8},
    {"VX Color16 Suite", 1, 1, 8},         {"VX ColorFloat Suite", 1, 1, 8},
    {"VX Batch Sampling Suite", 1, 1, 4},  {"VX Sampling8 Suite", 1, 1, 3},
    {"VX Sampling16 Suite", 1, 1, 3},      {"VX SamplingFloat Suite", 1, 1, 3},
    {"VX World Suite", 1, 1, 2},           {"VX Iterate8 Suite", 1, 1, 5},
    {"VX iterate16 Suite", 1, 1, 3},       {"VX iterateFloat Suite", 1, 1, 3},
    {"VX World Transform Suite", 1, 1, 7}, {"VX Fill Matte Suite", 2, 2, 7},
    {"VX Pixel Data Suite", 1, 1, 3},      {"VX World Suite", 2, 2, 3},
};

template <class Suite>
const Suite* Acquire(const char* name, int32_t version) {
  const void* suite = nullptr;
  EXPECT_EQ(ADDN_GetHBBasicSuite()->AcquireSuite(name, version, &suite), 0) << name;
  ADDN_GetHBBasicSuite()->ReleaseSuite(name, version);  // the registry keeps the table
  return static_cast<const Suite*>(suite);
}

void ExpectAllRegistered() {
  ASSERT_EQ(ADDN_GetSuiteCount(), 18);
  for (int32_t i = 0; i < 18; ++i) {
    ADDN_SuiteInfo info{};
    ASSERT_EQ(ADDN_GetSuiteInfo(i, &info), 0);
    EXPECT_EQ(std::string(info.name), kSuites[i].name) << i;
    EXPECT_EQ(info.version, kSuites[i].version) << kSuites[i].name;
    EXPECT_EQ(info.internal_version, kSuites[i].internal_version) << kSuites[i].name;
    EXPECT_EQ(info.routine_count, kSuites[i].count) << kSuites[i].name;
  }
}

TEST(Suites, AreRegisteredInOrderWithTheirVersions) { ExpectAllRegistered(); }

TEST(Suites, HoldTheTableAndThePackageRoutines) {
  auto* it8 = Acquire<VX_Iterate8Suite1>(VX_kIterate8Suite, 1);
  EXPECT_EQ(it8->iterate, VXp_GetSlot<VX_Slot_Iterate>());
  EXPECT_EQ(it8->iterate_origin, VXp_GetSlot<VX_Slot_IterateOrigin>());
  EXPECT_EQ(it8->iterate_lut, VXp_GetSlot<VX_Slot_IterateLUT>());
  EXPECT_EQ(it8->iterate_origin_unclipped, VXp_GetSlot<VX_Slot_IterateOriginUnclipped>());
  EXPECT_EQ(it8->iterate_generic, VXp_GetSlot<VX_Slot_IterateGeneric>());
  auto* it16 = Acquire<VX_Iterate16Suite1>(VX_kIterate16Suite, 1);
  EXPECT_EQ(reinterpret_cast<void*>(it16->iterate_origin_unclipped),
            VXp_SlotAddress(VX_Slot_IterateOriginUnclipped));

  auto* s8 = Acquire<VX_SamplingSuite1>(VX_kSampling8Suite, 1);
  EXPECT_EQ(s8->area_sample, VXp_SlotAddress(VX_Slot_AreaSample_Straight));
  auto* s16 = Acquire<VX_SamplingSuite1>(VX_kSampling16Suite, 1);
  EXPECT_EQ(s16->nn_sample, VXp_SlotAddress(VX_Slot_NNSample16));
  auto* transform = Acquire<VX_WorldTransformSuite1>(VX_kWorldTransformSuite, 1);
  EXPECT_EQ(transform->convolve, VXp_SlotAddress(VX_Slot_Convolve));
  EXPECT_EQ(transform->copy_hq, VXp_SlotAddress(VX_Slot_CopyBits_HQ_Straight));
  EXPECT_EQ(transform->transfer_rect, &VX_TransferRectForPlugin);

  auto* fills = Acquire<VX_FillMatteSuite2>(VX_kFillMatteSuite, 2);
  EXPECT_EQ(fills->fill_float, &VX_FillFloat);
  EXPECT_EQ(fills->premul_color_float, &VX_PremulColorFloat);
  auto* world1 = Acquire<VX_WorldSuite1>(VX_kWorldSuite, 1);
  EXPECT_EQ(world1->new_world, &VX_NewWorldForPlugin);
  auto* pixels = Acquire<VX_PixelDataSuite1>(VX_kPixelDataSuite, 1);
  EXPECT_EQ(pixels->get_pixel_data_float, &VX_GetPixelDataFloat);
  auto* handles = Acquire<VX_HandleSuite2>(VX_kHandleSuite, 2);
  EXPECT_EQ(handles->resize_handle, &VX_ResizeHandle);

  auto* ansi = Acquire<VX_ANSISuite1>(VX_kANSISuite, 1);
  EXPECT_DOUBLE_EQ(ansi->atan2(1, 1), std::atan2(1.0, 1.0));
  EXPECT_DOUBLE_EQ(ansi->acos(0.5), std::acos(0.5));
  char text[16];
  ansi->sprintf(text, "%d-%s", 17, "vx");
  EXPECT_STREQ(text, "17-vx");

  auto* cpu = Acquire<VX_CPUDataSuite1>(VX_kCPUDataSuite, 1);
  VX_CPUFlagProc fields[] = {cpu->field0, cpu->field1, cpu->field2, cpu->field3};
  for (int i = 0; i < 4; ++i) {
    uint8_t flag = 7;
    EXPECT_EQ(fields[i](&flag), 0);
    EXPECT_EQ(flag, (*KU_G_CPU_DataP)[i] ? 1 : 0) << i;
  }
  EXPECT_EQ(cpu->field2(nullptr), 3);

  auto* batch = Acquire<VX_BatchSamplingSuite1>(VX_kBatchSamplingSuite, 1);
  vxtest::TakeReports();
  for (VX_BatchSampleProc stub : batch->stubs) EXPECT_EQ(stub(nullptr, 1, 2), 3);
  const auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 4u);
  EXPECT_EQ(reports[0].site, 0x25002E);
  EXPECT_EQ(reports[0].text, "Batch Sampling has been deprecated; please update your plug-in calling code");
}

// The float world of the version 2 world suite, filled and read through suites.
TEST(Suites, WorkAFloatWorld) {
  auto* worlds = Acquire<VX_WorldSuite2>(VX_kWorldSuite, 2);
  auto* fills = Acquire<VX_FillMatteSuite2>(VX_kFillMatteSuite, 2);
  auto* pixels = Acquire<VX_PixelDataSuite1>(VX_kPixelDataSuite, 1);
  VX_LayerDef world{};
  ASSERT_EQ(worlds->new_world(nullptr, 3, 2, true, VX_PixelFormat_ARGB128, &world), 0);
  VX_PixelFormat format = 0;
  ASSERT_EQ(worlds->get_pixel_format(&world, &format), 0);
  EXPECT_EQ(format, VX_PixelFormat_ARGB128);
  const VX_PixelFloat color{1.0f, 0.25f, -0.5f, 2.0f};  // float is not clamped
  ASSERT_EQ(fills->fill_float(nullptr, &color, nullptr, &world), 0);
  VX_PixelFloat* data = nullptr;
  ASSERT_EQ(pixels->get_pixel_data_float(&world, nullptr, &data), 0);
  EXPECT_TRUE(vxtest::SamePixel(data[2], color));
  EXPECT_EQ(worlds->dispose_world(nullptr, &world), 0);
}

int g_calls = 0;
VX_Err CountingIterate(VX_IterateHost*, int32_t, int32_t, VX_LayerDef*, const GEO_LRect*, void*, VX_IterateFunc,
                       VX_LayerDef*) {
  ++g_calls;
  return VX_Err_None;
}

TEST(Suites, AreACopyThatALaterOverrideDoesNotReach) {
  auto* before = Acquire<VX_Iterate8Suite1>(VX_kIterate8Suite, 1);
  void* original = VXp_SlotAddress(VX_Slot_Iterate);
  ASSERT_EQ(VX_SetOverrideFunc(VX_Slot_Iterate, reinterpret_cast<void*>(&CountingIterate)), 0);
  // The thin entry follows the table ...
  vxtest::EffectWorld world(2, 2, 8);
  g_calls = 0;
  EXPECT_EQ(VX_Iterate(nullptr, 0, 0, nullptr, nullptr, nullptr, VX_IterateFunc{}, world.get()), 0);
  EXPECT_EQ(g_calls, 1);
  // ... the suite keeps what the table held at the end of the scan.
  EXPECT_EQ(reinterpret_cast<void*>(before->iterate), original);
  EXPECT_EQ(reinterpret_cast<void*>(Acquire<VX_Iterate8Suite1>(VX_kIterate8Suite, 1)->iterate), original);
  // A new registration takes the table as it is now.
  ASSERT_EQ(VXp_RegisterSuites(), 0);
  EXPECT_EQ(Acquire<VX_Iterate8Suite1>(VX_kIterate8Suite, 1)->iterate, &CountingIterate);
  VX_SetOverrideFunc(VX_Slot_Iterate, original);
  ASSERT_EQ(VXp_RegisterSuites(), 0);
}

TEST(Suites, AFailedRegistrationStopsTheOnesAfterIt) {
  ADDN_RemoveAllSuites();
  {
    vxtest::FailAllocationsScope fail(5);
    EXPECT_EQ(VXp_RegisterSuites(), 4);
  }
  EXPECT_EQ(ADDN_GetSuiteCount(), 5);
  ADDN_RemoveAllSuites();
  ASSERT_EQ(VXp_RegisterSuites(), 0);
  ExpectAllRegistered();
}

}  // namespace

// The small services beside the block: chunks, handles, destinations, worlds
// by format, platform data, and transfer and transform for plug-ins.
#include <cstring>

#include "support/TestWorlds.h"

namespace {

TEST(Chunks, SampleSizesByType) {
  const std::pair<uint32_t, int32_t> sizes[] = {
      {VX_ChunkType_FIX4, 4}, {VX_ChunkType_FLT4, 4}, {VX_ChunkType_LON4, 4}, {VX_ChunkType_UFX4, 4},
      {VX_ChunkType_DBL8, 8}, {VX_ChunkType_SHT2, 2}, {VX_ChunkType_UST2, 2}, {VX_ChunkType_CHR1, 1},
      {VX_ChunkType_UBT1, 1}, {VX_ChunkType_RGB3, 3}, {HOST_FourCC("RBG "), 3}, {HOST_FourCC("ABCD"), 1},
      {0, 1}};
  for (auto [type, bytes] : sizes) {
    int32_t size = 0;
    EXPECT_EQ(VX_ChunkDataSize(type, &size), 0);
    EXPECT_EQ(size, bytes) << std::hex << type;
  }
  EXPECT_EQ(VX_ChunkDataSize(VX_ChunkType_DBL8, nullptr), 3);
}

TEST(Chunks, LiveFromNewToDispose) {
  const long live = VX_G_LiveChunks;
  VX_Chunk chunk;
  std::memset(&chunk, 0xAB, sizeof chunk);
  ASSERT_EQ(VX_NewChunk(5, 3, 2, VX_ChunkType_RGB3, &chunk), 0);
  EXPECT_EQ(chunk.reserved0, nullptr);
  EXPECT_EQ(chunk.row_stride, 5 * 2 * 3);
  EXPECT_EQ(KU_GetHandleSize(chunk.handle), 3u * 30u);
  ASSERT_NE(chunk.data, nullptr);
  for (int i = 0; i < 90; ++i) EXPECT_EQ(static_cast<uint8_t*>(chunk.data)[i], 0) << i;
  EXPECT_EQ(VX_G_LiveChunks, live + 1);

  EXPECT_EQ(VX_UnlockChunk(&chunk), 0);
  EXPECT_EQ(chunk.data, nullptr);
  EXPECT_EQ(VX_UnlockChunk(&chunk), 516);  // not locked
  EXPECT_EQ(VX_LockChunk(&chunk), 0);
  EXPECT_EQ(chunk.data, *chunk.handle);

  EXPECT_EQ(VX_DisposeChunk(&chunk), 0);
  EXPECT_EQ(chunk.handle, nullptr);
  EXPECT_EQ(chunk.width, 0);
  EXPECT_EQ(VX_G_LiveChunks, live);
  EXPECT_EQ(VX_LockChunk(&chunk), 516);   // no handle any more
  EXPECT_EQ(VX_DisposeChunk(&chunk), 0);  // an empty record is fine
  EXPECT_EQ(VX_G_LiveChunks, live);
}

TEST(Chunks, BadSizesAreReportedOnce) {
  VX_Chunk chunk{};
  vxtest::TakeReports();
  const int32_t bad[][3] = {{0, 1, 1}, {1, 0, 1}, {1, 1, 0}, {-4, 2, 1}, {1 << 20, 1, 1 << 10}};
  for (const auto& b : bad) {
    EXPECT_EQ(VX_NewChunk(b[0], b[1], b[2], VX_ChunkType_FLT4, &chunk), 516);
    const auto reports = vxtest::TakeReports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].site, 0x25004A);
    EXPECT_EQ(reports[0].text, "invalid parameter");
  }
  EXPECT_EQ(chunk.handle, nullptr);
  EXPECT_EQ(VX_NewChunk(1, 1, 1, VX_ChunkType_FLT4, nullptr), 516);
  EXPECT_EQ(VX_DisposeChunk(nullptr), 516);
  EXPECT_EQ(VX_LockChunk(nullptr), 516);
  EXPECT_EQ(VX_UnlockChunk(nullptr), 516);
}

TEST(Chunks, OutOfMemoryLeavesNothingBehind) {
  const long live = VX_G_LiveChunks;
  VX_Chunk chunk{};
  {
    vxtest::FailAllocationsScope fail(0);
    EXPECT_EQ(VX_NewChunk(64, 64, 4, VX_ChunkType_FLT4, &chunk), 4);
  }
  EXPECT_EQ(chunk.handle, nullptr);
  EXPECT_EQ(VX_G_LiveChunks, live);
}

TEST(Handles, GrowKeepTheirBytesAndIgnoreNull) {
  KU_Handle h = VX_NewHandle(8);
  ASSERT_NE(h, nullptr);
  std::memcpy(VX_LockHandle(h), "vxhandle", 8);
  VX_UnlockHandle(h);
  ASSERT_EQ(VX_ResizeHandle(h, 4000), 0);
  EXPECT_EQ(VX_HandleSize(h), 4000u);
  EXPECT_EQ(std::memcmp(VX_LockHandle(h), "vxhandle", 8), 0);
  vxtest::TakeReports();
  {
    vxtest::FailAllocationsScope fail(0);
    EXPECT_EQ(VX_ResizeHandle(h, 1 << 20), 4);
  }
  EXPECT_TRUE(vxtest::TakeReports().empty());  // quiet: the plug-in decides what to say
  EXPECT_EQ(VX_HandleSize(h), 4000u);
  EXPECT_FALSE(KU_ErrorsAreQuietOnCurrentThread());
  VX_DisposeHandle(h);

  EXPECT_EQ(VX_LockHandle(nullptr), nullptr);
  EXPECT_EQ(VX_HandleSize(nullptr), 0u);
  VX_DisposeHandle(nullptr);
  EXPECT_NE(VX_ResizeHandle(nullptr, 4), 0);
  vxtest::FailAllocationsScope fail(0);
  EXPECT_EQ(VX_NewHandle(16), nullptr);
}

VX_Err RecordingOpen(void* a, void* b, void* record[4]) {
  record[0] = b;
  record[1] = a;
  return 9;
}

TEST(Destinations, OpenAndCloseThroughTheirSlots) {
  void* record[4] = {&record, &record, &record, &record};
  int a = 0;
  EXPECT_EQ(VX_OpenDestination(&a, &record, record), 0);
  EXPECT_EQ(record[0], &a);
  EXPECT_EQ(record[1], nullptr);
  EXPECT_EQ(record[3], nullptr);
  EXPECT_EQ(VX_CloseDestination(record), 0);
  EXPECT_EQ(record[0], nullptr);
  EXPECT_EQ(VX_OpenDestination(&a, nullptr, nullptr), 3);
  EXPECT_EQ(VX_CloseDestination(nullptr), 3);

  void* saved = VXp_SlotAddress(VX_Slot_OpenDestination);
  ASSERT_EQ(VX_SetOverrideFunc(VX_Slot_OpenDestination, reinterpret_cast<void*>(&RecordingOpen)), 0);
  EXPECT_EQ(VX_OpenDestination(&a, &record, record), 9);
  EXPECT_EQ(record[0], &record);
  VX_SetOverrideFunc(VX_Slot_OpenDestination, saved);
}

TEST(PluginWorlds, FormatTagsAndVersionOneFlagsChooseTheDepth) {
  const std::pair<VX_PixelFormat, int32_t> formats[] = {
      {VX_PixelFormat_ARGB32, 8}, {VX_PixelFormat_ARGB64, 16}, {VX_PixelFormat_ARGB128, 32}};
  for (auto [format, depth] : formats) {
    VX_LayerDef world{};
    ASSERT_EQ(VX_NewWorldByFormat(nullptr, 4, 4, true, format, &world), 0);
    EXPECT_EQ(VXp_WorldDepth(&world), depth);
    EXPECT_EQ(world.rb_world, nullptr);
    EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &world), 0);
  }
  vxtest::TakeReports();
  VX_LayerDef world{};
  EXPECT_EQ(VX_NewWorldByFormat(nullptr, 4, 4, true, HOST_FourCC("argb"), &world), 3);  // wrong byte order
  EXPECT_TRUE(vxtest::HasReport(vxtest::TakeReports(), "Unsupported VX_PixelFormat"));
  EXPECT_EQ(world.data, nullptr);

  ASSERT_EQ(VX_NewWorldForPlugin(nullptr, 4, 4, VX_NewWorldFlag_Clear, &world), 0);
  EXPECT_EQ(VXp_WorldDepth(&world), 8);
  EXPECT_EQ(static_cast<VX_Pixel8*>(world.data)[15].alpha, 0);
  EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &world), 0);
}

TEST(PluginWorlds, PlatformDataIsRetired) {
  int window = 0;
  HOST_SetMainWindow(&window);
  void* out = nullptr;
  vxtest::TakeReports();
  EXPECT_EQ(VX_GetPlatformData(nullptr, 0, &out), 516);
  EXPECT_EQ(out, &window);
  out = nullptr;
  EXPECT_EQ(VX_GetPlatformData(nullptr, 1, &out), 516);
  EXPECT_EQ(out, nullptr);
  const auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[1].site, 0x250038);
  EXPECT_EQ(reports[1].text, "bad parameter passed to effect callback");
  HOST_SetMainWindow(nullptr);
}

struct Seen {
  VX_CompositeModePlus mode;
  const VX_LinearBlendingTables* tables;
  int32_t dest_x;
  int calls = 0;
} g_seen;

VX_Err FakeTransfer(VX_ProgressInfo*, int32_t, int32_t, int32_t, const GEO_LRect*, VX_LayerDef*,
                    const VX_CompositeModePlus* mode, const VX_LinearBlendingTables* tables, const VX_TrackMatte*,
                    int32_t dest_x, int32_t, VX_LayerDef*) {
  g_seen.mode = *mode;
  g_seen.tables = tables;
  g_seen.dest_x = dest_x;
  ++g_seen.calls;
  return 0;
}

VX_Err FakeTransform(VX_ProgressInfo*, int32_t, int32_t, int32_t, VX_LayerDef*, const VX_CompositeModePlus* mode,
                     const VX_TrackMatte*, const GEO_Matrix3*, int32_t, bool, const GEO_LRect*, VX_LayerDef*) {
  g_seen.mode = *mode;
  ++g_seen.calls;
  return 0;
}

TEST(PluginTransfer, BuildsThePlusRecordAndGoesThroughTheSlotOfTheMoment) {
  const auto saved_transfer = VXp_GetSlot<VX_Slot_TransferRect>();
  const auto saved_transform = VXp_GetSlot<VX_Slot_TransformWorld>();
  VX_CompositeMode mode{5, 77, 128, 9, 16384};
  VXp_Install<VX_Slot_TransferRect>(nullptr);
  VXp_Install<VX_Slot_TransformWorld>(nullptr);
  EXPECT_EQ(VX_TransferRectForPlugin(nullptr, 1, 0, 0, nullptr, nullptr, &mode, nullptr, 0, 0, nullptr), 5);
  EXPECT_EQ(VX_TransformWorldForPlugin(nullptr, 1, 0, 0, nullptr, &mode, nullptr, nullptr, 0, true, nullptr,
                                       nullptr),
            5);

  VXp_Install<VX_Slot_TransferRect>(&FakeTransfer);
  VXp_Install<VX_Slot_TransformWorld>(&FakeTransform);
  // The two opacities agree within a level: the finer one is taken.
  ASSERT_EQ(VX_TransferRectForPlugin(nullptr, 1, 0, 0, nullptr, nullptr, &mode, nullptr, 12, 0, nullptr), 0);
  EXPECT_EQ(g_seen.mode.transfer_mode, 5);
  EXPECT_EQ(g_seen.mode.dissolve_seed, 77);
  EXPECT_TRUE(g_seen.mode.keep_alpha);
  EXPECT_EQ(g_seen.mode.opacity, 0.5f);
  EXPECT_EQ(g_seen.mode.tables, nullptr);
  EXPECT_EQ(g_seen.tables, nullptr);
  EXPECT_EQ(g_seen.dest_x, 12);
  // They disagree: the 8-bit one wins.
  mode = VX_CompositeMode{0, 0, 255, 0, 0};
  ASSERT_EQ(VX_TransformWorldForPlugin(nullptr, 1, 0, 0, nullptr, &mode, nullptr, nullptr, 0, true, nullptr,
                                       nullptr),
            0);
  EXPECT_EQ(g_seen.mode.opacity, 1.0f);
  EXPECT_FALSE(g_seen.mode.keep_alpha);
  EXPECT_EQ(g_seen.calls, 2);

  EXPECT_EQ(VX_TransferRectForPlugin(nullptr, 1, 0, 0, nullptr, nullptr, nullptr, nullptr, 0, 0, nullptr), 3);
  EXPECT_EQ(g_seen.calls, 2);
  VXp_Install<VX_Slot_TransferRect>(saved_transfer);
  VXp_Install<VX_Slot_TransformWorld>(saved_transform);
}

}  // namespace

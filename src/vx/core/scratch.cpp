// The scratch pool and the motion-blur blocks.
#include "core/Internal.h"
#include "vx/Scratch.h"

namespace {

struct BlockSpec {
  const char* name;
  size_t bytes;
};
constexpr BlockSpec kBlocks[7] = {
    {"motion blur scratch data1", 2048}, {"motion blur scratch data2", 2048}, {"motion blur scratch data3", 2048},
    {"motion blur scratch data4", 4096}, {"motion blur scratch data5", 4096}, {"motion blur scratch data6", 18432},
    {"motion blur scratch data7", 26624},
};

void* g_blocks[7];
void* g_buffers[3];
size_t g_capacity = 0;

// Fills the missing blocks; throws 4 at the first that can't be had.
void AllocateBlocks(void* blocks[7]) {
  for (int i = 0; i < 7; ++i) {
    if (blocks[i]) continue;
    blocks[i] = KU_AllocatePtr(0, kBlocks[i].name, kBlocks[i].bytes);
    if (!blocks[i]) throw VX_Err(VX_Err_OutOfMemory);
  }
}

}  // namespace

VX_Err VXp_ReallocScratch(int32_t count, int32_t depth_code, bool force, VXp_ScratchSet* result) {
  if (depth_code != 1 && depth_code != 2 && depth_code != 4) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, __LINE__, 0, "Unexpected bitdepth in VXp_ReallocScratch()");
    return VX_Err_None;
  }
  if (count < 0) return VX_Err_BadParam;
  return VXp_Guard([&]() -> VX_Err {
    // Every missing block, not only the sixth: an earlier failure may have
    // left a later one out.
    AllocateBlocks(g_blocks);
    const size_t need = static_cast<size_t>(count) * 4 * depth_code;
    if (need > g_capacity || force) {
      const char* name = VXp_MessageText(VXp_Msg_BlendingScratch);
      const size_t sizes[3] = {static_cast<size_t>(count) * depth_code, need, need};
      void* fresh[3] = {};
      for (int i = 0; i < 3; ++i) {
        fresh[i] = KU_AllocatePtr(VXp_Site(0x47), name, sizes[i]);
        if (!fresh[i]) {
          for (void* p : fresh) KU_FreePtr(p);
          return VX_Err_OutOfMemory;
        }
      }
      for (int i = 0; i < 3; ++i) {
        KU_FreePtr(g_buffers[i]);
        g_buffers[i] = fresh[i];
      }
      g_capacity = need;
    }
    if (result) {
      for (int i = 0; i < 3; ++i) result->buffers[i] = g_buffers[i];
      for (int i = 0; i < 7; ++i) result->blocks[i] = g_blocks[i];
    }
    return VX_Err_None;
  });
}

size_t VXp_ScratchCapacity() { return g_capacity; }

void VXp_FreeScratch() {
  for (void*& p : g_buffers) {
    KU_FreePtr(p);
    p = nullptr;
  }
  for (void*& p : g_blocks) {
    KU_FreePtr(p);
    p = nullptr;
  }
  g_capacity = 0;
}

VX_Err VX_AllocateMotionBlurScratch(void* blocks[7]) {
  if (!blocks) return VX_Err_BadParam;
  for (int i = 0; i < 7; ++i) blocks[i] = nullptr;
  const VX_Err err = VXp_Guard([&] { AllocateBlocks(blocks); });
  // A caller that sees the failure owns nothing.
  if (err) VX_DisposeMotionBlurScratch(blocks);
  return err;
}

VX_Err VX_DisposeMotionBlurScratch(void* blocks[7]) {
  if (!blocks) return VX_Err_BadParam;
  for (int i = 0; i < 7; ++i) {
    KU_FreePtr(blocks[i]);
    blocks[i] = nullptr;
  }
  return VX_Err_None;
}

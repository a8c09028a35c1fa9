// Chunks: blocks of samples of a named type, held in a cleared handle.
#include "core/Internal.h"
#include "vx/Callbacks.h"

namespace {

int32_t SampleBytes(uint32_t data_type) {
  switch (data_type) {
    case VX_ChunkType_FIX4:
    case VX_ChunkType_FLT4:
    case VX_ChunkType_LON4:
    case VX_ChunkType_UFX4:
      return 4;
    case VX_ChunkType_DBL8:
      return 8;
    case VX_ChunkType_SHT2:
    case VX_ChunkType_UST2:
      return 2;
    case VX_ChunkType_RGB3:
      return 3;
    default:  // CHR1, UBT1 and anything unknown
      return 1;
  }
}

VX_Err InvalidParameter() {
  VXp_ReportMessage(VXp_Site(0x4A), VXp_Msg_InvalidParameter);
  return VX_Err_Reported;
}

}  // namespace

VX_Err VX_ChunkDataSize(uint32_t data_type, int32_t* size_out) {
  if (!size_out) return VXp_BadParameter(0x4A);
  *size_out = SampleBytes(data_type);
  return VX_Err_None;
}

VX_Err VX_NewChunk(int32_t width, int32_t height, int32_t channels, uint32_t data_type, VX_Chunk* chunk) {
  if (width <= 0 || height <= 0 || channels <= 0 || !chunk) return InvalidParameter();
  const int64_t row_stride = int64_t(width) * channels * SampleBytes(data_type);
  if (row_stride > INT32_MAX) return InvalidParameter();
  KU_Handle handle = KU_AllocateHandleClear(VXp_Site(0x4A), VXp_MessageText(VXp_Msg_ChannelChunkMemory),
                                            static_cast<size_t>(height) * static_cast<size_t>(row_stride));
  if (!handle) return VX_Err_OutOfMemory;
  *chunk = VX_Chunk{};
  chunk->width = width;
  chunk->height = height;
  chunk->channels = channels;
  chunk->row_stride = static_cast<int32_t>(row_stride);
  chunk->data_type = data_type;
  chunk->handle = handle;
  chunk->data = *handle;
  ++VX_G_LiveChunks;
  return VX_Err_None;
}

VX_Err VX_DisposeChunk(VX_Chunk* chunk) {
  if (!chunk) return InvalidParameter();
  if (chunk->handle) {
    KU_FreeHandle(chunk->handle);
    --VX_G_LiveChunks;
  }
  *chunk = VX_Chunk{};
  return VX_Err_None;
}

VX_Err VX_LockChunk(VX_Chunk* chunk) {
  if (!chunk || !chunk->handle) return InvalidParameter();
  chunk->data = *chunk->handle;
  return VX_Err_None;
}

VX_Err VX_UnlockChunk(VX_Chunk* chunk) {
  if (!chunk || !chunk->data) return InvalidParameter();
  chunk->data = nullptr;
  return VX_Err_None;
}

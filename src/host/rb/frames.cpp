// Frames: raw pixel blocks, 8-byte aligned and, every other block, not
// 16-byte aligned, so that callers exercise their alignment step.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vxhost/RB.h"

namespace {

// In front of every frame: the raw block and the size asked for, to catch a
// free with the wrong size.
struct FrameHeader {
  void* raw;
  size_t bytes;
  uint64_t magic;
};
constexpr uint64_t kFrameMagic = 0x52424672616D6521ull;  // "RBFrame!"
constexpr size_t kHeaderSpace = 32;  // >= sizeof(FrameHeader), keeps 16-byte phase

std::atomic<unsigned> g_phase{0};
std::atomic<long> g_live_frames{0};

FrameHeader* HeaderOf(void* frame) {
  return reinterpret_cast<FrameHeader*>(static_cast<char*>(frame) - sizeof(FrameHeader));
}

}  // namespace

KU_Err RB_AllocateFrameQuiet(size_t bytes, int32_t zero, void** out) {
  if (!out) return 3;
  *out = nullptr;
  if (!KUp_AllocationPermitted() || bytes > (size_t(1) << 46)) return 4;
  void* raw = nullptr;
  if (posix_memalign(&raw, 16, kHeaderSpace + 8 + bytes) != 0 || !raw) return 4;
  // Alternate between a 16-byte aligned start and one 8 bytes past it.
  const size_t shift = (g_phase++ & 1u) ? 8 : 0;
  char* frame = static_cast<char*>(raw) + kHeaderSpace + shift;
  FrameHeader* header = HeaderOf(frame);
  header->raw = raw;
  header->bytes = bytes;
  header->magic = kFrameMagic;
  if (zero) std::memset(frame, 0, bytes);
  ++g_live_frames;
  *out = frame;
  return 0;
}

void RB_FreeFrame(void* frame, size_t bytes) {
  if (!frame) return;
  FrameHeader* header = HeaderOf(frame);
  if (header->magic != kFrameMagic) {
    KU_ReportFailedVerification(0x0E0001, __LINE__, 0, "RB_FreeFrame: not a frame");
    return;
  }
  if (header->bytes != bytes) {
    char text[128];
    std::snprintf(text, sizeof text, "RB_FreeFrame: size %zu given for a frame of %zu bytes", bytes, header->bytes);
    KU_ReportFailedVerification(0x0E0001, __LINE__, 0, text);
  }
  header->magic = 0;
  --g_live_frames;
  std::free(header->raw);
}

long RB_LiveFrameCount() { return g_live_frames.load(); }

KU_Err RB_ReportWorldAllocationFailure(KU_Err code, int32_t row_stride, int32_t width, int32_t height,
                                       int32_t bits_per_pixel) {
  if (!KU_ErrorsAreQuietOnCurrentThread()) {
    char text[200];
    std::snprintf(text, sizeof text,
                  "not enough memory for an image buffer of %d x %d pixels at %d bits a pixel (%d bytes a row)", width,
                  height, bits_per_pixel, row_stride);
    KUp_ReportErrString(0x0E0002, 8, text);
  }
  return code;
}

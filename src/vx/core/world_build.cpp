// VX_WorldX construction and destruction: allocation with the safety gutter,
// bitmap-backed worlds, references, sub-worlds and stack views.
#include <cstdio>
#include <cstring>

#include "core/Internal.h"
#include "vx/World.h"
#include "vxhost/Misc.h"

namespace {

constexpr int32_t kMaxWorldSide = 30000;
constexpr uint8_t kGutterByte = 0x55;

void ReportBadSize(int32_t width, int32_t height) {
  char w[16], h[16], text[256];
  std::snprintf(w, sizeof w, "%d", width);
  std::snprintf(h, sizeof h, "%d", height);
  const char* values[2] = {w, h};
  VX_Err err = KU_SubString(text, sizeof text,
                            "$$$/QM/VX/VX_WorldX/Constructor/InvalidSizeError=invalid image buffer size (^L1x^L2).",
                            values, 2);
  if (err) throw err;
  KUp_ReportErrString(VXp_Site(0x66), 8, text);
  throw VX_Err(VX_Err_Reported);
}

void* AttemptFrame(size_t bytes, void*) {
  void* frame = nullptr;
  return RB_AllocateFrameQuiet(bytes, 0, &frame) == 0 ? frame : nullptr;
}

}  // namespace

size_t VX_World::FrameBytes(int32_t alloc_width, int32_t alloc_height, int32_t row_stride, int32_t pixel_size) {
  return static_cast<size_t>(alloc_height - 1) * row_stride + static_cast<size_t>(alloc_width) * pixel_size +
         (row_stride - pixel_size) + 8;
}

void* VX_World::AlignedFrameStart(void* frame) {
  auto address = reinterpret_cast<uintptr_t>(frame);
  return reinterpret_cast<void*>(address & 8 ? address + 8 : address);
}

VX_World::VX_World() : VX_LayerDef{} {}

VX_World::~VX_World() = default;

void VX_WorldDebugger(const VX_World*) {}

template <class Pixel>
void VX_WorldX<Pixel>::Allocate(int32_t w, int32_t h, int32_t flags) {
  if (w < 1 || w > kMaxWorldSide || h < 1 || h > kMaxWorldSide) ReportBadSize(w, h);
  if (flags & VX_WorldFlag_RBBacked) {
    AllocateRB(w, h);
  } else {
    const int32_t ps = sizeof(Pixel);
    const int32_t stride = (w * ps + 15) & ~15;
    void* frame = VXp_AllocateUnderPressure(FrameBytes(w, h, stride, ps), AttemptFrame, nullptr);
    if (!frame) {
      RB_ReportWorldAllocationFailure(VX_Err_OutOfMemory, stride, w, h, ps * 8);
      throw VX_Err(VX_Err_OutOfMemory);
    }
    allocation = frame;
    data = AlignedFrameStart(frame);
    row_stride = stride;
    // The gutter after the last pixel takes what runs past the end.
    char* gutter = static_cast<char*>(data) + static_cast<size_t>(h - 1) * stride + static_cast<size_t>(w) * ps;
    std::memset(gutter, kGutterByte, stride - ps);
  }
  width = w;
  height = h;
  alloc_width = static_cast<uint16_t>(w);
  alloc_height = static_cast<uint16_t>(h);
  depth_flags = VX_PixelTraits<Pixel>::kDepthFlags;
  content_rect = GEO_LRect{0, 0, w, h};
  world_object = this;
  ++VX_G_LiveWorlds;
  if (flags & VX_WorldFlag_Clear) {
    for (int32_t y = 0; y < h; ++y) std::memset(Row(y), 0, static_cast<size_t>(w) * sizeof(Pixel));
  }
}

template <class Pixel>
void VX_WorldX<Pixel>::AllocateRB(int32_t w, int32_t h) {
  GDIW_BeginGdiMinimalisticWindowCreationMode();
  const GEO_Rect bounds{0, 0, static_cast<int16_t>(h), static_cast<int16_t>(w)};
  RB_WorldH rb = nullptr;
  VX_Err err = RB_NewWorld(0, 8, &bounds, static_cast<int16_t>(sizeof(Pixel) * 8), 0, 0, &rb);
  if (!err) {
    err = RB_LoadLockPixels(rb, 1);
    if (err) RB_DisposeWorld(rb);
  }
  GDIW_EndGdiMinimalisticWindowCreationMode();
  if (err) throw err;
  rb_world = rb;
  allocation = reinterpret_cast<void*>(1);
  data = (*rb)->pixels ? (*rb)->pixels : RBp_GetPixBaseAddr(rb);
  row_stride = (*rb)->row_stride;
}

template <class Pixel>
VX_WorldX<Pixel>::VX_WorldX(int32_t w, int32_t h, int32_t flags) {
  Allocate(w, h, flags);
}

template <class Pixel>
VX_WorldX<Pixel>::VX_WorldX(VX_WorldX* parent, const GEO_LRect& rect) {
  TakeSubWorldOf(*parent, rect);
}

template <class Pixel>
void VX_WorldX<Pixel>::ReferToBitmap(RB_WorldH rb, const GEO_Rect* rect) {
  const RB_World& bitmap = **rb;
  void* pixels = bitmap.pixels ? bitmap.pixels : RBp_GetPixBaseAddr(rb);
  row_stride = bitmap.row_stride;
  depth_flags = VX_PixelTraits<Pixel>::kDepthFlags;
  world_object = this;
  if (rect) {
    // A part of the bitmap: the record doesn't name the bitmap.
    data = OffsetData(pixels, rect->left, rect->top, row_stride);
    width = rect->right - rect->left;
    height = rect->bottom - rect->top;
  } else {
    data = pixels;
    width = bitmap.width;
    height = bitmap.height;
    rb_world = rb;
  }
  content_rect = GEO_LRect{0, 0, width, height};
}

template <class Pixel>
VX_WorldX<Pixel>::VX_WorldX(RB_WorldH rb, const GEO_Rect* rect) {
  ReferToBitmap(rb, rect);
}

template <class Pixel>
VX_WorldX<Pixel>::VX_WorldX(void* pixels, int32_t w, int32_t h, int32_t stride) {
  data = pixels;
  width = w;
  height = h;
  row_stride = stride;
  depth_flags = VX_PixelTraits<Pixel>::kDepthFlags;
  content_rect = GEO_LRect{0, 0, w, h};
  world_object = this;
}

template <class Pixel>
VX_WorldX<Pixel>::VX_WorldX(VX_LayerDef* world, bool keep_fields) {
  if (keep_fields && world) {
    // The reserved words and the inherited word come along; ownership doesn't.
    static_cast<VX_LayerDef&>(*this) = *world;
    ownership_tag = 0;
  }
  if (world) {
    width = world->width;
    height = world->height;
    row_stride = world->row_stride;
    data = world->data;
    depth_flags = world->depth_flags;
    content_rect = world->content_rect;
  }
  world_object = this;
  rb_world = nullptr;
  allocation = nullptr;
}

template <class Pixel>
VX_WorldX<Pixel>::~VX_WorldX() {
  if (allocation) {
    if (rb_world) {
      RB_UnlockPixels(rb_world);
      RB_DisposeWorld(rb_world);
    } else {
      const size_t bytes = FrameBytes(alloc_width, alloc_height, row_stride, sizeof(Pixel));
      RB_FreeFrame(allocation, bytes);
      VXp_ReleaseBooked(bytes);
    }
    --VX_G_LiveWorlds;
  }
  ownership_tag = VX_kDeadWorld;
}

template <class Pixel>
void* VX_WorldX<Pixel>::DetachMemory() {
  void* former = allocation;
  if (former) {
    --VX_G_LiveWorlds;
    if (!rb_world) VXp_ReleaseBooked(FrameBytes(alloc_width, alloc_height, row_stride, sizeof(Pixel)));
  }
  allocation = nullptr;
  return former;
}

template <class Pixel>
bool VX_WorldX<Pixel>::SubWorldSafetyGutterHasBeenOverWritten() const {
  if (!allocation) return false;
  const auto* p = static_cast<const uint8_t*>(AlignedFrameStart(allocation)) +
                  static_cast<size_t>(alloc_height - 1) * row_stride + static_cast<size_t>(alloc_width) * sizeof(Pixel);
  for (int32_t i = 0; i < row_stride - static_cast<int32_t>(sizeof(Pixel)); ++i)
    if (p[i] != kGutterByte) return true;
  return false;
}

template class VX_WorldX<VX_Pixel8>;
template class VX_WorldX<VX_Pixel16>;
template class VX_WorldX<VX_PixelFloat>;

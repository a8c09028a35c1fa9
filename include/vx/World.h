// World objects: an image buffer and the VX_LayerDef that describes it.
// Members throw a plain VX_Err on failure; plain entry points catch it.
#pragma once

#include "vx/PixelTraits.h"
#include "vx/Types.h"
#include "vxhost/KU.h"

class VX_PixelContainerBase : public KU_MemTrackedObject {
 public:
  int16_t PixelSize() const { return static_cast<int16_t>(Depth() / 2); }
  virtual ~VX_PixelContainerBase() = default;
  virtual int16_t Depth() const = 0;
};

// Ties the three concrete world types together.
template <class World8, class World16, class WorldFloat>
class VX_PixelContainer : public VX_PixelContainerBase {
 public:
  typedef World8 World8Type;
  typedef World16 World16Type;
  typedef WorldFloat WorldFloatType;
};

template <class Pixel>
class VX_WorldX;

// World flags of the allocating constructors and New().
enum : int32_t {
  VX_WorldFlag_Clear = 0x1,
  VX_WorldFlag_Deep = 0x2,      // informative: the depth argument decides
  VX_WorldFlag_RBBacked = 0x4   // pixels come from an RB_World
};

class VX_World : public VX_PixelContainer<VX_WorldX<VX_Pixel8>, VX_WorldX<VX_Pixel16>, VX_WorldX<VX_PixelFloat>>,
                 public VX_LayerDef {
 public:
  // Virtual operations, in their slot order.
  ~VX_World() override;
  int16_t Depth() const override = 0;
  virtual bool IsReference() const = 0;
  virtual void Clear(const GEO_LRect* rect) = 0;
  virtual void ClearExceptRect(const GEO_LRect& rect) = 0;
  virtual void Fill(const VX_PixelFloat& color, const GEO_LRect* rect) = 0;
  virtual void Fill(const VX_Pixel16& color, const GEO_LRect* rect) = 0;
  virtual void FillAlpha() = 0;
  virtual void InvertAlpha() = 0;
  virtual void Premultiply() = 0;
  virtual void Unmultiply() = 0;
  virtual void PremulColor(const VX_Pixel16& color) = 0;
  virtual void UnmulColor(const VX_Pixel16& color) = 0;
  virtual void CopyRect(const VX_World* src, const GEO_LRect& rect, int32_t x, int32_t y) = 0;
  virtual void CopyRectPossiblyDifferentBitdepth(const VX_World* src, const GEO_LRect& rect, bool dither,
                                                 int32_t x, int32_t y, VX_ProgressInfo* progress) = 0;
  virtual void CopyRectPossiblyDifferentBitdepthWithField(const VX_World* src, const GEO_LRect& rect,
                                                          int32_t field) = 0;
  virtual bool SubWorldSafetyGutterHasBeenOverWritten() const = 0;
  virtual void* DetachMemory() = 0;

  // Factories. A failed operator new gives null.
  static VX_World* New(int32_t width, int32_t height, int16_t depth, int32_t flags);
  static VX_World* New(const GEO_LRect& rect, int16_t depth, int32_t flags);
  static VX_World* NewMatchingWorld(const VX_World* model, int32_t flags);
  static VX_World* NewReference(VX_World* parent, const GEO_LRect& rect);
  static VX_World* NewReference(VX_World* parent, const GEO_Rect& rect);
  static VX_World* NewReference(RB_WorldH rb);
  static VX_World* NewReference(RB_WorldH rb, const GEO_Rect& rect);
  static VX_World* NewReference(VX_LayerDef* world);
  static VX_World* NewReference(void* data, int32_t width, int32_t height, int16_t depth, int32_t row_stride);

  bool HasRBWorld() const { return rb_world != nullptr; }
  RB_WorldH GetRBWorld();  // throws 513 without a bitmap
  void CopyWorld(const VX_World* src);
  void ShrinkToSubRect(const GEO_LRect& rect);
  void ReReference(VX_World* parent, const GEO_LRect& rect);
  bool RefersTo(const VX_World* other) const;
  void FillOutEffectWorld(VX_LayerDef* world) const;

  // Byte size of the frame an owning world of this geometry allocates.
  static size_t FrameBytes(int32_t alloc_width, int32_t alloc_height, int32_t row_stride, int32_t pixel_size);
  // The frame's first pixel: the frame, or the frame + 8 when bit 3 is set.
  static void* AlignedFrameStart(void* frame);

  uint16_t alloc_width = 0;   // width when the memory was allocated; 0 in a reference
  uint16_t alloc_height = 0;  // height when the memory was allocated; 0 in a reference
  void* allocation = nullptr; // the frame; (void*)1 for an owned RB_World; null for a reference

 protected:
  VX_World();
  // The sub-world steps: geometry, flags and content hint taken from `rect`
  // of the parent; owns nothing.
  void TakeSubWorldOf(const VX_World& parent, const GEO_LRect& rect);
  // The address of pixel (x, y) of a world with these data and row stride.
  void* OffsetData(void* base, int32_t x, int32_t y, int32_t stride) const;
  VX_World(const VX_World&) = delete;
  VX_World& operator=(const VX_World&) = delete;
};

// A breakpoint site for debuggers.
void VX_WorldDebugger(const VX_World* world);

template <class Pixel>
class VX_WorldX final : public VX_World {
 public:
  typedef Pixel PixelType;
  typedef typename VX_PixelTraits<Pixel>::Channel Channel;

  // Allocates width x height pixels; see VX_WorldFlag_*.
  VX_WorldX(int32_t width, int32_t height, int32_t flags);
  // Sub-world of a parent.
  VX_WorldX(VX_WorldX* parent, const GEO_LRect& rect);
  // Reference to a whole bitmap (rect null) or to part of one.
  VX_WorldX(RB_WorldH rb, const GEO_Rect* rect);
  // Reference to raw memory.
  VX_WorldX(void* data, int32_t width, int32_t height, int32_t row_stride);
  // The view used by plain entry points: copies the record, owns nothing.
  VX_WorldX(VX_LayerDef* world, bool keep_fields);
  ~VX_WorldX() override;

  int16_t Depth() const override { return VX_PixelTraits<Pixel>::kDepth; }
  bool IsReference() const override { return allocation == nullptr; }
  void Clear(const GEO_LRect* rect) override;
  void ClearExceptRect(const GEO_LRect& rect) override;
  void Fill(const VX_PixelFloat& color, const GEO_LRect* rect) override;
  void Fill(const VX_Pixel16& color, const GEO_LRect* rect) override;
  void FillAlpha() override;
  void InvertAlpha() override;
  void Premultiply() override;
  void Unmultiply() override;
  void PremulColor(const VX_Pixel16& color) override;
  void UnmulColor(const VX_Pixel16& color) override;
  void CopyRect(const VX_World* src, const GEO_LRect& rect, int32_t x, int32_t y) override;
  void CopyRectPossiblyDifferentBitdepth(const VX_World* src, const GEO_LRect& rect, bool dither, int32_t x,
                                         int32_t y, VX_ProgressInfo* progress) override;
  void CopyRectPossiblyDifferentBitdepthWithField(const VX_World* src, const GEO_LRect& rect,
                                                  int32_t field) override;
  bool SubWorldSafetyGutterHasBeenOverWritten() const override;
  void* DetachMemory() override;

  Pixel* Row(int32_t y) const {
    return reinterpret_cast<Pixel*>(static_cast<char*>(data) + static_cast<ptrdiff_t>(y) * row_stride);
  }
  Pixel* PixelAt(int32_t x, int32_t y) const { return Row(y) + x; }

  // Fills `rect` (already clipped, non-empty) with one pixel value.
  void FillPixel(const Pixel& value, const GEO_LRect& rect);

 private:
  void Allocate(int32_t width, int32_t height, int32_t flags);
  void AllocateRB(int32_t width, int32_t height);
  void ReferToBitmap(RB_WorldH rb, const GEO_Rect* rect);
};

extern template class VX_WorldX<VX_Pixel8>;
extern template class VX_WorldX<VX_Pixel16>;
extern template class VX_WorldX<VX_PixelFloat>;

typedef VX_WorldX<VX_Pixel8> VX_World8;
typedef VX_WorldX<VX_Pixel16> VX_World16;
typedef VX_WorldX<VX_PixelFloat> VX_WorldFloat;

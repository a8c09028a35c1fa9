// Basic types of the VX package: error codes, pixels, the plain world record,
// progress records and fixed-point numbers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vxhost/GEO.h"
#include "vxhost/RB.h"

// ---------------------------------------------------------------------------
// Error codes: signed 32 bits. Inside the package a failure is thrown as a
// plain VX_Err; plain entry points return it.

typedef int32_t VX_Err;

enum : VX_Err {
  VX_Err_None = 0,
  VX_Err_BirthFailed = 1,
  VX_Err_BadParam = 3,
  VX_Err_OutOfMemory = 4,
  VX_Err_Unimplemented = 5,
  VX_Err_VersionMismatch = 7,
  VX_Err_NoBacking = 513,
  VX_Err_ParamRange = 514,
  VX_Err_Obsolete = 515,
  VX_Err_Reported = 516,
  VX_Err_Interrupted = 517
};

// The package's version, and the one a caller must have been built against.
constexpr int32_t VX_kPackageVersion = 17;

// ---------------------------------------------------------------------------
// Pixels: alpha first. White is 255, 32768 and 1.0.

struct VX_Pixel8 {
  uint8_t alpha, red, green, blue;
};
struct VX_Pixel16 {
  uint16_t alpha, red, green, blue;
};
struct VX_PixelFloat {
  float alpha, red, green, blue;
};
// Sums and intermediate results only, never a world.
struct VX_PixelDouble {
  double alpha, red, green, blue;
};

constexpr uint8_t VX_kWhite8 = 255;
constexpr uint16_t VX_kWhite16 = 32768;

// Depth of a world: bits a channel. The pixel size in bytes is depth / 2.
enum : int16_t { VX_Depth8 = 8, VX_Depth16 = 16, VX_Depth32 = 32 };

// Pixel-format tags of the world suite: four characters, lowest byte first.
typedef uint32_t VX_PixelFormat;
constexpr VX_PixelFormat VX_PixelFormat_ARGB32 = 0x62677261;     // "argb"
constexpr VX_PixelFormat VX_PixelFormat_ARGB64 = 0x36316D71;     // "qm16"
constexpr VX_PixelFormat VX_PixelFormat_ARGB128 = 0x32336D71;    // "qm32"

// ---------------------------------------------------------------------------
// Fixed point: 16 integer and 16 fraction bits. The integer part is the
// arithmetic shift right by 16.

typedef int32_t VX_Fix16;
constexpr VX_Fix16 VX_kFix16One = 0x10000;
inline VX_Fix16 VX_DoubleToFix16(double v) {
  return static_cast<VX_Fix16>(v * 65536.0 + (v < 0 ? -0.5 : 0.5));
}
inline double VX_Fix16ToDouble(VX_Fix16 v) { return v / 65536.0; }

// ---------------------------------------------------------------------------
// The plain world record. It crosses the plug-in boundary, so every filler
// zeroes it whole first.

class VX_World;

// depth_flags: bit 0 set exactly for 16-bit; bits 24..31 the format code.
enum : uint32_t {
  VX_DepthFlag_Deep = 0x1,
  VX_DepthFlags_8 = 0x0,
  VX_DepthFlags_16 = 0x1000001,
  VX_DepthFlags_Float = 0x2000000
};

// ownership_tag values.
enum : uint32_t {
  VX_kOwnedByEffect = 0xAAAABBBB,  // made by VX_NewEffectWorld: may be disposed
  VX_kDeadWorld = 0xDEAD           // body of a destroyed VX_World
};

struct VX_LayerDef {
  void* reserved0;
  void* reserved1;
  uint32_t depth_flags;
  void* data;           // top-left pixel; row y starts y x row_stride bytes after it
  int32_t row_stride;   // bytes between row starts
  int32_t width;
  int32_t height;
  GEO_LRect content_rect;  // the part known to hold non-empty pixels
  void* reserved_ref;
  uint32_t ownership_tag;
  VX_World* world_object;  // object that owns or describes this memory, or null
  void* inherited_ref;     // opaque word a sub-world copies from its parent
  RB_WorldH rb_world;      // the bitmap behind the pixels, or null
  void* reserved2;
  void* reserved3;
};
typedef VX_LayerDef VX_EffectWorld;

// ---------------------------------------------------------------------------
// Progress. Class operations take a VX_ProgressInfo and ask it once in 64
// rows; plain iterators take the host's record.

typedef VX_Err (*VX_AbortFunc)(void* refcon);
typedef VX_Err (*VX_ProgressFunc)(void* refcon, int32_t current, int32_t total);

struct VX_ProgressInfo {
  void* refcon;
  VX_AbortFunc abort;
  VX_ProgressFunc progress;
};

// The host's record for the plain iterators; the package reads `progress`
// and `caller_ref` only.
struct VX_IterateHost {
  void* unread0[4];
  VX_ProgressFunc progress;  // called as progress(caller_ref, current, total)
  void* unread1[18];
  void* caller_ref;
};

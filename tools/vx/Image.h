// Images in files and in worlds: PNG (8 and 16 bits, with or without alpha)
// and OpenEXR (half or float RGBA). Files hold straight alpha, as worlds do.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "vx/VX.h"

namespace vxtool {

struct WorldDeleter {
  void operator()(VX_World* w) const { delete w; }
};
typedef std::unique_ptr<VX_World, WorldDeleter> WorldPtr;

// A world of the depth that keeps the file's precision: 8-bit PNG -> 8,
// 16-bit PNG -> 16, OpenEXR -> float. Refuses images whose world would pass
// the limit on image bytes or that the file is too small to hold.
WorldPtr ReadImage(const std::string& path);

struct WriteOptions {
  bool exr_half = false;  // OpenEXR: half channels instead of float
};

// The format comes from the extension (.png or .exr). PNG stores 8-bit worlds
// at 8 bits and other depths at 16 bits; OpenEXR stores float. The file is
// written beside its final name and renamed, so a failure or an interrupt
// never leaves a half-written image nor replaces an existing one.
void WriteImage(const std::string& path, const VX_World& world, const WriteOptions& options = {});

// The most bytes one image's world may take: VX_MAX_IMAGE_BYTES when set,
// else a quarter of physical memory, until SetImageByteLimit.
uint64_t ImageByteLimit();
void SetImageByteLimit(uint64_t bytes);

// A new owning world of the depth; `clear` zeroes it (else its pages stay
// untouched until written).
WorldPtr NewWorld(int32_t width, int32_t height, int16_t depth, bool clear = true);
// A copy of `world` at another depth by the package's standard conversions.
WorldPtr ConvertDepth(const VX_World& world, int16_t depth);

bool HasExtension(const std::string& path, const char* extension);
// Throws when `path` can't name an output image, before any work is done.
void CheckOutputPath(const std::string& path);

}  // namespace vxtool

// Between files and worlds: depth, channel order, 16-bit levels, and writing
// through a temporary file.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <strings.h>

#include "Image.h"
#include "ImageFormats.h"
#include "Levels.h"
#include "ToolError.h"

namespace vxtool {
namespace {

template <class Pixel>
Pixel* RowOf(const VX_World& w, int32_t y) {
  return reinterpret_cast<Pixel*>(static_cast<char*>(w.data) + static_cast<ptrdiff_t>(y) * w.row_stride);
}

WorldPtr WorldFromRgba(const RgbaImage& image) {
  const int16_t depth = static_cast<int16_t>(image.depth);
  WorldPtr world = NewWorld(static_cast<int32_t>(image.width), static_cast<int32_t>(image.height), depth);
  const size_t n = image.width;
  for (uint32_t y = 0; y < image.height; ++y) {
    if (depth == 8) {
      const uint8_t* s = image.bytes.data() + y * n * 4;
      VX_Pixel8* d = RowOf<VX_Pixel8>(*world, y);
      for (size_t x = 0; x < n; ++x) d[x] = VX_Pixel8{s[4 * x + 3], s[4 * x], s[4 * x + 1], s[4 * x + 2]};
    } else if (depth == 16) {
      const auto* s = reinterpret_cast<const uint16_t*>(image.bytes.data()) + y * n * 4;
      VX_Pixel16* d = RowOf<VX_Pixel16>(*world, y);
      for (size_t x = 0; x < n; ++x)
        d[x] = VX_Pixel16{FileToWorld16(s[4 * x + 3]), FileToWorld16(s[4 * x]), FileToWorld16(s[4 * x + 1]),
                          FileToWorld16(s[4 * x + 2])};
    } else {
      const auto* s = reinterpret_cast<const float*>(image.bytes.data()) + y * n * 4;
      VX_PixelFloat* d = RowOf<VX_PixelFloat>(*world, y);
      for (size_t x = 0; x < n; ++x) d[x] = VX_PixelFloat{s[4 * x + 3], s[4 * x], s[4 * x + 1], s[4 * x + 2]};
    }
  }
  return world;
}

RgbaImage RgbaFromWorld(const VX_World& world, int depth) {
  RgbaImage image{static_cast<uint32_t>(world.width), static_cast<uint32_t>(world.height), depth, {}};
  const size_t n = image.width;
  image.bytes.resize(n * image.height * 4 * (depth / 8));
  for (uint32_t y = 0; y < image.height; ++y) {
    if (depth == 8) {
      uint8_t* d = image.bytes.data() + y * n * 4;
      const VX_Pixel8* s = RowOf<VX_Pixel8>(world, y);
      for (size_t x = 0; x < n; ++x) {
        d[4 * x] = s[x].red;
        d[4 * x + 1] = s[x].green;
        d[4 * x + 2] = s[x].blue;
        d[4 * x + 3] = s[x].alpha;
      }
    } else if (depth == 16) {
      auto* d = reinterpret_cast<uint16_t*>(image.bytes.data()) + y * n * 4;
      const VX_Pixel16* s = RowOf<VX_Pixel16>(world, y);
      for (size_t x = 0; x < n; ++x) {
        d[4 * x] = WorldToFile16(s[x].red);
        d[4 * x + 1] = WorldToFile16(s[x].green);
        d[4 * x + 2] = WorldToFile16(s[x].blue);
        d[4 * x + 3] = WorldToFile16(s[x].alpha);
      }
    } else {
      auto* d = reinterpret_cast<float*>(image.bytes.data()) + y * n * 4;
      const VX_PixelFloat* s = RowOf<VX_PixelFloat>(world, y);
      for (size_t x = 0; x < n; ++x) {
        d[4 * x] = s[x].red;
        d[4 * x + 1] = s[x].green;
        d[4 * x + 2] = s[x].blue;
        d[4 * x + 3] = s[x].alpha;
      }
    }
  }
  return image;
}

// A temporary name in the same folder, so the rename stays on one file system.
std::string TemporaryBeside(const std::string& path) {
  return path + ".tmp-" + std::to_string(getpid());
}

}  // namespace

bool HasExtension(const std::string& path, const char* extension) {
  const size_t n = std::strlen(extension);
  return path.size() > n && strcasecmp(path.c_str() + path.size() - n, extension) == 0;
}

WorldPtr NewWorld(int32_t width, int32_t height, int16_t depth) {
  VX_World* w = nullptr;
  VX_Err err = VX_Err_None;
  try {
    w = VX_World::New(width, height, depth, VX_WorldFlag_Clear);
  } catch (VX_Err e) {
    err = e;
  }
  if (!w) {
    if (err == VX_Err_None || err == VX_Err_OutOfMemory) throw ToolError("not enough memory for the image");
    throw ToolError("cannot make an image of " + std::to_string(width) + " x " + std::to_string(height));
  }
  return WorldPtr(w);
}

WorldPtr ConvertDepth(const VX_World& world, int16_t depth) {
  WorldPtr out = NewWorld(world.width, world.height, depth);
  out->CopyRectPossiblyDifferentBitdepth(&world, GEO_LRect{0, 0, world.width, world.height}, false, 0, 0, nullptr);
  return out;
}

WorldPtr ReadImage(const std::string& path) {
  if (HasExtension(path, ".exr")) {
    if (access(path.c_str(), R_OK) != 0) throw ToolError(path + ": " + std::strerror(errno));
    return WorldFromRgba(ReadExr(path));
  }
  FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) throw ToolError(path + ": " + std::strerror(errno));
  unsigned char signature[8] = {};
  const bool is_png = std::fread(signature, 1, 8, file) == 8 && LooksLikePng(signature);
  if (!is_png) {
    std::fclose(file);
    throw ToolError(path + ": not a PNG or OpenEXR file");
  }
  std::rewind(file);
  try {
    RgbaImage image = ReadPng(path, file);
    std::fclose(file);
    return WorldFromRgba(image);
  } catch (...) {
    std::fclose(file);
    throw;
  }
}

void CheckOutputPath(const std::string& path) {
  if (!HasExtension(path, ".exr") && !HasExtension(path, ".png"))
    throw ToolError(path + ": the output must end in .png or .exr");
}

void WriteImage(const std::string& path, const VX_World& world, const WriteOptions& options) {
  CheckOutputPath(path);
  const bool exr = HasExtension(path, ".exr");
  const std::string temporary = TemporaryBeside(path);
  try {
    if (exr) {
      WorldPtr as_float;
      const VX_World* source = &world;
      if (world.Depth() != 32) {
        as_float = ConvertDepth(world, 32);
        source = as_float.get();
      }
      WriteExr(temporary, RgbaFromWorld(*source, 32), options.exr_half);
    } else {
      WorldPtr converted;
      const VX_World* source = &world;
      if (world.Depth() == 32) {
        converted = ConvertDepth(world, 16);
        source = converted.get();
      }
      FILE* file = std::fopen(temporary.c_str(), "wb");
      if (!file) throw ToolError(path + ": " + std::strerror(errno));
      try {
        WritePng(path, file, RgbaFromWorld(*source, source->Depth()));
      } catch (...) {
        std::fclose(file);
        throw;
      }
      if (std::fclose(file) != 0) throw ToolError(path + ": " + std::strerror(errno));
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) throw ToolError(path + ": " + std::strerror(errno));
  } catch (...) {
    std::remove(temporary.c_str());
    throw;
  }
}

}  // namespace vxtool

// Between files and worlds: the limit on image bytes, depth conversion by
// bands, and writing through a temporary file.
#include <ImfStdIO.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "Args.h"
#include "Image.h"
#include "ImageFormats.h"
#include "Interrupt.h"
#include "ToolError.h"

namespace vxtool {
namespace {

uint64_t g_limit = 0;  // 0: not decided yet

uint64_t DefaultLimit() {
  if (const char* text = std::getenv("VX_MAX_IMAGE_BYTES")) return ParseByteCount(text, "VX_MAX_IMAGE_BYTES");
  const long pages = sysconf(_SC_PHYS_PAGES), page = sysconf(_SC_PAGESIZE);
  return pages > 0 && page > 0 ? static_cast<uint64_t>(pages) * static_cast<uint64_t>(page) / 4 : uint64_t(1) << 32;
}

// A temporary name in the same folder, so the rename stays on one file system.
std::string TemporaryBeside(const std::string& path) {
  return path + ".tmp-" + std::to_string(getpid());
}

VX_Err StopWhenInterrupted(void*, int32_t, int32_t) { return Interrupted() ? VX_Err_Interrupted : VX_Err_None; }

void CopyAtDepth(VX_World& to, const VX_World& from, const GEO_LRect& rect) {
  VX_ProgressInfo progress{nullptr, nullptr, StopWhenInterrupted};
  try {
    to.CopyRectPossiblyDifferentBitdepth(&from, rect, false, 0, 0, &progress);
  } catch (VX_Err err) {
    Check(err, "converting the depth");
  }
}

// A pipe or a device has no size to bound the image by; the limit on image
// bytes still holds there.
uint64_t FileBytes(FILE* file) {
  struct stat s {};
  if (fstat(fileno(file), &s) != 0 || !S_ISREG(s.st_mode)) return uint64_t(1) << 40;
  return static_cast<uint64_t>(s.st_size);
}

}  // namespace

uint64_t ImageByteLimit() {
  if (!g_limit) g_limit = DefaultLimit();
  return g_limit;
}

void SetImageByteLimit(uint64_t bytes) { g_limit = bytes; }

void CheckImageBytes(const std::string& name, int64_t width, int64_t height, int depth) {
  const uint64_t bytes = static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * 4 * (depth / 8);
  if (bytes > ImageByteLimit())
    throw ToolError(name + ": a " + std::to_string(width) + " x " + std::to_string(height) + " image at " +
                    std::to_string(depth) + " bits needs " + ByteText(bytes) + ", more than the limit of " +
                    ByteText(ImageByteLimit()) + " (--max-memory, VX_MAX_IMAGE_BYTES)");
}

BandsAtDepth::BandsAtDepth(const VX_World& world, int16_t depth, int32_t band_rows)
    : world_(world), band_rows_(std::max(band_rows, 1)) {
  if (world.Depth() != depth) band_ = NewWorld(world.width, std::min(band_rows_, world.height), depth, false);
}

const void* BandsAtDepth::Row(int32_t y) {
  const VX_World& from = band_ ? *band_ : world_;
  if (band_ && (first_ < 0 || y < first_ || y >= first_ + band_rows_)) {
    first_ = y - y % band_rows_;
    CopyAtDepth(*band_, world_, GEO_LRect{0, first_, world_.width, std::min(world_.height, first_ + band_rows_)});
  }
  const int32_t row = band_ ? y - first_ : y;
  return static_cast<const char*>(from.data) + static_cast<ptrdiff_t>(row) * from.row_stride;
}

bool HasExtension(const std::string& path, const char* extension) {
  const size_t n = std::strlen(extension);
  return path.size() > n && strcasecmp(path.c_str() + path.size() - n, extension) == 0;
}

WorldPtr NewWorld(int32_t width, int32_t height, int16_t depth, bool clear) {
  CheckImageBytes("the image", width, height, depth);
  VX_World* w = nullptr;
  VX_Err err = VX_Err_None;
  try {
    w = VX_World::New(width, height, depth, clear ? VX_WorldFlag_Clear : 0);
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
  WorldPtr out = NewWorld(world.width, world.height, depth, false);
  CopyAtDepth(*out, world, GEO_LRect{0, 0, world.width, world.height});
  return out;
}

WorldPtr ReadImage(const std::string& path) {
  FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) throw ToolError(path + ": " + std::strerror(errno));
  const uint64_t bytes = FileBytes(file);
  if (HasExtension(path, ".exr")) {
    std::fclose(file);
    Imf::StdIFStream stream(path.c_str());
    return ReadExr(path, stream, bytes);
  }
  unsigned char signature[8] = {};
  const bool is_png = std::fread(signature, 1, 8, file) == 8 && LooksLikePng(signature);
  if (!is_png) {
    std::fclose(file);
    throw ToolError(path + ": not a PNG or OpenEXR file");
  }
  try {
    WorldPtr world = ReadPng(path, file, bytes);
    std::fclose(file);
    return world;
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
  const std::string temporary = TemporaryBeside(path);
  SetTemporaryFile(temporary.c_str());
  try {
    if (HasExtension(path, ".exr")) {
      WriteExr(temporary, world, options.exr_half);
    } else {
      FILE* file = std::fopen(temporary.c_str(), "wb");
      if (!file) throw ToolError(path + ": " + std::strerror(errno));
      try {
        WritePng(path, file, world);
      } catch (...) {
        std::fclose(file);
        throw;
      }
      if (std::fclose(file) != 0) throw ToolError(path + ": " + std::strerror(errno));
    }
    // The last moment a signal can still keep the old file.
    ThrowIfInterrupted("writing " + path);
    if (std::rename(temporary.c_str(), path.c_str()) != 0) throw ToolError(path + ": " + std::strerror(errno));
    SetTemporaryFile(nullptr);
  } catch (...) {
    std::remove(temporary.c_str());
    SetTemporaryFile(nullptr);
    throw;
  }
}

}  // namespace vxtool

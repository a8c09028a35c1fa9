// PNG files through libpng. libpng reports errors by longjmp, so the reading
// and writing loops keep only plain data in their frames; the world and the
// rows live in objects of their callers, whose methods throw nothing.
#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <exception>
#include <vector>

#include "ImageFormats.h"
#include "Interrupt.h"
#include "Levels.h"
#include "ToolError.h"

namespace vxtool {
namespace {

// Deflate expands at most about 1032 times, so a file's size bounds the
// image data it can hold.
constexpr uint64_t kDeflateMaxRatio = 1032;
// Ancillary chunks that get read at all are small; the rest are skipped.
constexpr png_alloc_size_t kChunkMallocMax = 8u << 20;
constexpr png_uint_32 kChunkCacheMax = 128;
constexpr png_uint_32 kMaxSide = 30000;

struct PngErrors {
  char message[256];
  bool interrupted;
};

void OnError(png_structp png, png_const_charp text) {
  auto* errors = static_cast<PngErrors*>(png_get_error_ptr(png));
  std::snprintf(errors->message, sizeof errors->message, "%s", text ? text : "error");
  png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

// Where the pixels go. Begin checks the header and makes the world; its
// failure is kept and rethrown once libpng is gone.
class WorldTarget {
 public:
  WorldTarget(const std::string& name, uint64_t file_bytes) : name_(name), file_bytes_(file_bytes) {}

  bool Begin(uint32_t width, uint32_t height, int depth, uint64_t filtered_bytes) noexcept {
    try {
      if (filtered_bytes > file_bytes_ * kDeflateMaxRatio)
        throw ToolError(name_ + ": the header claims " + std::to_string(width) + " x " + std::to_string(height) +
                        " pixels, more than " + std::to_string(file_bytes_) + " bytes of PNG can hold");
      CheckImageBytes(name_, width, height, depth);
      world_ = NewWorld(static_cast<int32_t>(width), static_cast<int32_t>(height), static_cast<int16_t>(depth), false);
      return true;
    } catch (...) {
      failure_ = std::current_exception();
      return false;
    }
  }
  unsigned char* Row(uint32_t y) const {
    return static_cast<unsigned char*>(world_->data) + static_cast<ptrdiff_t>(y) * world_->row_stride;
  }
  // From the file's RGBA, in the file's levels, to the world's ARGB in place.
  void Finish(uint32_t y) const noexcept {
    const size_t n = static_cast<size_t>(world_->width);
    if (world_->Depth() == 8) {
      auto* p = reinterpret_cast<VX_Pixel8*>(Row(y));
      for (size_t x = 0; x < n; ++x) {
        const auto* c = reinterpret_cast<const uint8_t*>(p + x);
        p[x] = VX_Pixel8{c[3], c[0], c[1], c[2]};
      }
    } else {
      auto* p = reinterpret_cast<VX_Pixel16*>(Row(y));
      for (size_t x = 0; x < n; ++x) {
        const auto* c = reinterpret_cast<const uint16_t*>(p + x);
        p[x] = VX_Pixel16{FileToWorld16(c[3]), FileToWorld16(c[0]), FileToWorld16(c[1]), FileToWorld16(c[2])};
      }
    }
  }
  WorldPtr Take() {
    if (failure_) std::rethrow_exception(failure_);
    return std::move(world_);
  }

 private:
  std::string name_;
  uint64_t file_bytes_;
  WorldPtr world_;
  std::exception_ptr failure_;
};

// The image data's size before deflate: a filter byte and the packed
// samples of each row.
uint64_t FilteredBytes(png_structp png, png_infop info) {
  const uint64_t bits = uint64_t(png_get_image_width(png, info)) * png_get_channels(png, info) *
                        png_get_bit_depth(png, info);
  return uint64_t(png_get_image_height(png, info)) * (1 + (bits + 7) / 8);
}

void Limit(png_structp png) {
  png_set_user_limits(png, kMaxSide, kMaxSide);
  png_set_chunk_cache_max(png, kChunkCacheMax);
  png_set_chunk_malloc_max(png, kChunkMallocMax);
  // Only transparency matters among the ancillary chunks; unknown ones and
  // the rest are skipped without being kept.
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, 0);
  static const png_byte kSkipped[] =
      "bKGD\0cHRM\0eXIf\0gAMA\0hIST\0iCCP\0iTXt\0oFFs\0pCAL\0pHYs\0sBIT\0sCAL\0sPLT\0sRGB\0sTER\0tEXt\0tIME\0zTXt";
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, kSkipped, static_cast<int>(sizeof kSkipped / 5));
}

// Reads the header, has the target check it and make the world, and reads
// the rows into it (RGBA, 8 or 16 bits a channel, native byte order), each
// turned into the world's layout once complete. Returns null or the reason
// it failed.
const char* ReadPngPixels(FILE* file, PngErrors* errors, WorldTarget* target) {
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, errors, OnError, OnWarning);
  if (!png) return "out of memory";
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_read_struct(&png, nullptr, nullptr);
    return "out of memory";
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_read_struct(&png, &info, nullptr);
    return errors->message;
  }
  png_init_io(png, file);
  png_set_sig_bytes(png, 8);
  Limit(png);
  png_read_info(png, info);
  const uint64_t filtered_bytes = FilteredBytes(png, info);
  const int color_type = png_get_color_type(png, info);
  const int bit_depth = png_get_bit_depth(png, info);
  if (color_type == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
  if (bit_depth < 8) png_set_expand(png);
  if (png_get_valid(png, info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(png);
  if (color_type == PNG_COLOR_TYPE_GRAY || color_type == PNG_COLOR_TYPE_GRAY_ALPHA) png_set_gray_to_rgb(png);
  const int depth = bit_depth == 16 ? 16 : 8;
  if (!(color_type & PNG_COLOR_MASK_ALPHA) && !png_get_valid(png, info, PNG_INFO_tRNS))
    png_set_filler(png, depth == 16 ? 0xFFFF : 0xFF, PNG_FILLER_AFTER);
  if (depth == 16) png_set_swap(png);
  const int passes = png_set_interlace_handling(png);
  png_read_update_info(png, info);
  const uint32_t width = png_get_image_width(png, info), height = png_get_image_height(png, info);
  const size_t row_bytes = png_get_rowbytes(png, info);
  if (row_bytes != static_cast<size_t>(width) * 4 * (depth / 8)) png_error(png, "unsupported pixel layout");
  if (!target->Begin(width, height, depth, filtered_bytes)) png_error(png, "refused");
  for (int pass = 0; pass < passes; ++pass)
    for (uint32_t y = 0; y < height; ++y) {
      if (Interrupted()) {
        errors->interrupted = true;
        png_error(png, "interrupted");
      }
      png_read_row(png, target->Row(y), nullptr);
      if (pass + 1 == passes) target->Finish(y);
      if (y == 0) PauseForTest("reading");
    }
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
  return nullptr;
}

// Rows for the writer in the file's layout, one at a time.
class FileRows {
 public:
  FileRows(const VX_World& world, int depth) : bands_(world, static_cast<int16_t>(depth), 64), depth_(depth) {
    row_.resize(static_cast<size_t>(world.width) * 4 * (depth / 8));
  }
  // Null when the row can't be had; the failure is kept.
  unsigned char* Row(int32_t y, size_t width) noexcept {
    try {
      const void* source = bands_.Row(y);
      if (depth_ == 8) {
        const auto* s = static_cast<const VX_Pixel8*>(source);
        for (size_t x = 0; x < width; ++x) {
          unsigned char* d = row_.data() + 4 * x;
          d[0] = s[x].red, d[1] = s[x].green, d[2] = s[x].blue, d[3] = s[x].alpha;
        }
      } else {
        const auto* s = static_cast<const VX_Pixel16*>(source);
        auto* d = reinterpret_cast<uint16_t*>(row_.data());
        for (size_t x = 0; x < width; ++x) {
          d[4 * x] = WorldToFile16(s[x].red);
          d[4 * x + 1] = WorldToFile16(s[x].green);
          d[4 * x + 2] = WorldToFile16(s[x].blue);
          d[4 * x + 3] = WorldToFile16(s[x].alpha);
        }
      }
      return row_.data();
    } catch (...) {
      failure_ = std::current_exception();
      return nullptr;
    }
  }
  void RethrowFailure() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  BandsAtDepth bands_;
  int depth_;
  std::vector<unsigned char> row_;
  std::exception_ptr failure_;
};

const char* WritePngPixels(FILE* file, PngErrors* errors, uint32_t width, uint32_t height, int depth,
                           FileRows* rows) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, errors, OnError, OnWarning);
  if (!png) return "out of memory";
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    return "out of memory";
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return errors->message;
  }
  png_init_io(png, file);
  png_set_IHDR(png, info, width, height, depth, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  if (depth == 16) png_set_swap(png);
  for (uint32_t y = 0; y < height; ++y) {
    if (Interrupted()) {
      errors->interrupted = true;
      png_error(png, "interrupted");
    }
    unsigned char* row = rows->Row(static_cast<int32_t>(y), width);
    if (!row) png_error(png, "no row");
    png_write_row(png, row);
    if (y == 0) PauseForTest("writing");
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return nullptr;
}

}  // namespace

bool LooksLikePng(const unsigned char signature[8]) { return png_sig_cmp(signature, 0, 8) == 0; }

WorldPtr ReadPng(const std::string& name, FILE* file, uint64_t file_bytes) {
  PngErrors errors{};
  WorldTarget target(name, file_bytes);
  const char* why = ReadPngPixels(file, &errors, &target);
  if (errors.interrupted) ThrowIfInterrupted("reading " + name);
  WorldPtr world = target.Take();
  if (why) throw ToolError(name + ": not a readable PNG file (" + why + ")");
  return world;
}

void WritePng(const std::string& name, FILE* file, const VX_World& world) {
  PngErrors errors{};
  const int depth = world.Depth() == 8 ? 8 : 16;
  FileRows rows(world, depth);
  const char* why = WritePngPixels(file, &errors, static_cast<uint32_t>(world.width),
                                   static_cast<uint32_t>(world.height), depth, &rows);
  if (errors.interrupted) ThrowIfInterrupted("writing " + name);
  rows.RethrowFailure();
  if (why) throw ToolError(name + ": could not write PNG (" + why + ")");
}

}  // namespace vxtool

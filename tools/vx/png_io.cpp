// PNG files through libpng. libpng reports errors by longjmp, so the reading
// and writing loops keep only plain data in their frames; pixels go through
// buffers that their callers own.
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

#include "ImageFormats.h"
#include "ToolError.h"

namespace vxtool {
namespace {

struct PngErrors {
  char message[256];
};

void OnError(png_structp png, png_const_charp text) {
  auto* errors = static_cast<PngErrors*>(png_get_error_ptr(png));
  std::snprintf(errors->message, sizeof errors->message, "%s", text ? text : "error");
  png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

// Reads the header, asks for a buffer of `rows` x `row_bytes` (RGBA, 8 or 16
// bits a channel, native byte order) and reads the pixels into it. Returns
// null or the reason it failed.
const char* ReadPngPixels(FILE* file, PngErrors* errors, RasterSink* sink) {
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
  png_read_info(png, info);
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
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  const uint32_t width = png_get_image_width(png, info), height = png_get_image_height(png, info);
  const size_t row_bytes = png_get_rowbytes(png, info);
  if (row_bytes != static_cast<size_t>(width) * 4 * (depth / 8)) png_error(png, "unsupported pixel layout");
  unsigned char** rows = sink->Begin(width, height, depth);
  if (!rows) png_error(png, "image too large");
  png_read_image(png, rows);
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
  return nullptr;
}

const char* WritePngPixels(FILE* file, PngErrors* errors, uint32_t width, uint32_t height, int depth,
                           unsigned char** rows) {
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
  png_write_image(png, rows);
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return nullptr;
}

// Holds the whole raster while libpng reads it.
class Raster : public RasterSink {
 public:
  unsigned char** Begin(uint32_t width, uint32_t height, int depth) override {
    if (width == 0 || height == 0 || width > 30000 || height > 30000) return nullptr;
    width_ = width;
    height_ = height;
    depth_ = depth;
    const size_t row_bytes = static_cast<size_t>(width) * 4 * (depth / 8);
    bytes_.resize(row_bytes * height);
    rows_.resize(height);
    for (uint32_t y = 0; y < height; ++y) rows_[y] = bytes_.data() + row_bytes * y;
    return rows_.data();
  }
  uint32_t width_ = 0, height_ = 0;
  int depth_ = 8;
  std::vector<unsigned char> bytes_;
  std::vector<unsigned char*> rows_;
};

}  // namespace

bool LooksLikePng(const unsigned char signature[8]) { return png_sig_cmp(signature, 0, 8) == 0; }

RgbaImage ReadPng(const std::string& path, FILE* file) {
  PngErrors errors{};
  Raster raster;
  if (const char* why = ReadPngPixels(file, &errors, &raster))
    throw ToolError(path + ": not a readable PNG file (" + why + ")");
  RgbaImage image{raster.width_, raster.height_, raster.depth_, std::move(raster.bytes_)};
  return image;
}

void WritePng(const std::string& path, FILE* file, const RgbaImage& image) {
  PngErrors errors{};
  const size_t row_bytes = static_cast<size_t>(image.width) * 4 * (image.depth / 8);
  std::vector<unsigned char*> rows(image.height);
  for (uint32_t y = 0; y < image.height; ++y)
    rows[y] = const_cast<unsigned char*>(image.bytes.data()) + row_bytes * y;
  if (const char* why = WritePngPixels(file, &errors, image.width, image.height, image.depth, rows.data()))
    throw ToolError(path + ": could not write PNG (" + why + ")");
}

}  // namespace vxtool

// The file formats' own pixel layouts, between files and worlds.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace vxtool {

// RGBA interleaved, straight alpha. depth 8 or 16 (native-endian uint16) for
// PNG; 32 (float) for OpenEXR.
struct RgbaImage {
  uint32_t width = 0, height = 0;
  int depth = 8;
  std::vector<unsigned char> bytes;
};

class RasterSink {
 public:
  virtual ~RasterSink() = default;
  // Row pointers for the whole image, or null when it can't be had.
  virtual unsigned char** Begin(uint32_t width, uint32_t height, int depth) = 0;
};

bool LooksLikePng(const unsigned char signature[8]);
RgbaImage ReadPng(const std::string& path, FILE* file);
void WritePng(const std::string& path, FILE* file, const RgbaImage& image);
RgbaImage ReadExr(const std::string& path);
void WriteExr(const std::string& path, const RgbaImage& image, bool half);

}  // namespace vxtool

// The file formats, between files and worlds. Readers check what the header
// claims against the limit on image bytes and against what the file's size
// can possibly hold before they allocate, then read rows straight into the
// world as they come, looking for an interrupt between rows. Writers take a
// world's rows a band at a time, so no whole-image copy is made.
#pragma once

#include <ImfIO.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "Image.h"

namespace vxtool {

bool LooksLikePng(const unsigned char signature[8]);
// 8-bit (and fewer) files give 8-bit worlds, 16-bit files 16-bit worlds.
// `file` is past the signature, which the caller has checked (a pipe can't
// be rewound).
WorldPtr ReadPng(const std::string& name, FILE* file, uint64_t file_bytes);
// 8-bit worlds go out at 8 bits, the others at 16.
void WritePng(const std::string& name, FILE* file, const VX_World& world);
// Float worlds; `name` is for messages.
WorldPtr ReadExr(const std::string& name, Imf::IStream& stream, uint64_t file_bytes);
void WriteExr(const std::string& path, const VX_World& world, bool half);

// Throws unless a width x height world at `depth` fits the limit on image
// bytes; `name` is for the message.
void CheckImageBytes(const std::string& name, int64_t width, int64_t height, int depth);

// The rows of a world at another depth, converted by the package a band at a
// time.
class BandsAtDepth {
 public:
  BandsAtDepth(const VX_World& world, int16_t depth, int32_t band_rows);
  // Row y at the wanted depth; valid until a row of another band is asked for.
  const void* Row(int32_t y);

 private:
  const VX_World& world_;
  WorldPtr band_;
  int32_t band_rows_, first_ = -1;
};

}  // namespace vxtool

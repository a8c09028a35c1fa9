// OpenEXR files: RGBA in half or float channels. A file without alpha reads
// as opaque; a luminance-only file (Y) reads as grey. Pixels are read straight
// into the world and written straight from it (or from a band converted to
// float or half), a band of rows at a time.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <ImfTileDescription.h>
#include <ImfVersion.h>
#include <half.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "ImageFormats.h"
#include "Interrupt.h"
#include "ToolError.h"

namespace vxtool {
namespace {

constexpr int64_t kMaxSide = 30000;

// Rows a chunk holds under each compression.
int LinesPerChunk(Imf::Compression compression) {
  switch (compression) {
    case Imf::ZIP_COMPRESSION:
    case Imf::PXR24_COMPRESSION:
      return 16;
    case Imf::PIZ_COMPRESSION:
    case Imf::B44_COMPRESSION:
    case Imf::B44A_COMPRESSION:
    case Imf::DWAA_COMPRESSION:
      return 32;
    case Imf::DWAB_COMPRESSION:
      return 256;
    default:
      return 1;
  }
}

// The most a compressed byte can stand for: run lengths give 64, deflate
// about 1032 (a little more for 24-bit floats widened to 32), B44 packs a
// flat 4 x 4 block of halves in 3 bytes, and DWA's run lengths are deflated
// in turn. PIZ's Huffman runs stay well under deflate's bound.
uint64_t MaxExpansion(Imf::Compression compression) {
  switch (compression) {
    case Imf::NO_COMPRESSION:
      return 1;
    case Imf::RLE_COMPRESSION:
      return 64;
    case Imf::B44_COMPRESSION:
    case Imf::B44A_COMPRESSION:
      return 11;
    case Imf::PXR24_COMPRESSION:
      return 1376;
    case Imf::DWAA_COMPRESSION:
    case Imf::DWAB_COMPRESSION:
      return 64 * 1032;
    default:
      return 1032;
  }
}

// Refuses a header whose pixels can't fit in the file: the uncompressed
// channel data against what the file's bytes can expand to, and the chunk
// offset table (8 bytes a chunk) against the file's size.
void CheckFileCanHold(const std::string& name, const Imf::Header& header, int64_t w, int64_t h,
                      uint64_t file_bytes) {
  uint64_t data_bytes = 0;
  for (auto c = header.channels().begin(); c != header.channels().end(); ++c) {
    const Imf::Channel& channel = c.channel();
    const uint64_t sample = channel.type == Imf::HALF ? 2 : 4;
    const int64_t xs = std::max(channel.xSampling, 1), ys = std::max(channel.ySampling, 1);
    data_bytes += sample * static_cast<uint64_t>((w + xs - 1) / xs) * static_cast<uint64_t>((h + ys - 1) / ys);
  }
  uint64_t chunks = static_cast<uint64_t>((h + LinesPerChunk(header.compression()) - 1) / LinesPerChunk(header.compression()));
  if (header.hasTileDescription()) {
    const Imf::TileDescription& tiles = header.tileDescription();
    const int64_t tx = std::max<int64_t>(tiles.xSize, 1), ty = std::max<int64_t>(tiles.ySize, 1);
    chunks = static_cast<uint64_t>((w + tx - 1) / tx) * static_cast<uint64_t>((h + ty - 1) / ty);
  }
  if (data_bytes > file_bytes * MaxExpansion(header.compression()) || chunks * 8 > file_bytes)
    throw ToolError(name + ": the header claims " + std::to_string(w) + " x " + std::to_string(h) +
                    " pixels, more than " + std::to_string(file_bytes) + " bytes of OpenEXR can hold");
}

// A pointer that addresses pixel (x0, y0) at `base`, computed without
// pointer overflow; OpenEXR only ever adds the offsets back.
char* Origin(void* base, int64_t x0, int64_t y0, size_t xs, size_t ys) {
  return reinterpret_cast<char*>(reinterpret_cast<uintptr_t>(base) - static_cast<uintptr_t>(x0) * xs -
                                 static_cast<uintptr_t>(y0) * ys);
}

// Walks the headers' attributes (name, type, size, value), refusing one
// whose size passes the end of the file before OpenEXR allocates it.
void CheckAttributeSizes(const std::string& name, Imf::IStream& stream, uint64_t file_bytes, bool multipart) {
  auto text = [&stream] {
    std::string s;
    char c;
    for (stream.read(&c, 1); c && s.size() < 256; stream.read(&c, 1)) s += c;
    return s;
  };
  for (bool first = true;; first = false) {
    int attributes = 0;
    for (std::string attribute = text(); !attribute.empty(); attribute = text(), ++attributes) {
      text();
      char size_bytes[4];
      stream.read(size_bytes, 4);
      int32_t size;
      std::memcpy(&size, size_bytes, 4);
      if (size < 0 || static_cast<uint64_t>(size) > file_bytes - stream.tellg())
        throw ToolError(name + ": the attribute '" + attribute + "' claims " + std::to_string(size) +
                        " bytes, more than the file has");
      stream.seekg(stream.tellg() + static_cast<uint64_t>(size));
    }
    if (!multipart || (attributes == 0 && !first)) return;
  }
}

// The first part's header, read and checked before OpenEXR sizes its line
// buffers and offset table by it.
void CheckHeader(const std::string& name, Imf::IStream& stream, uint64_t file_bytes) {
  char start[8];
  stream.read(start, 8);
  int32_t magic, version;
  std::memcpy(&magic, start, 4);
  std::memcpy(&version, start + 4, 4);
  if (magic != Imf::MAGIC) throw ToolError(name + ": not an OpenEXR file");
  CheckAttributeSizes(name, stream, file_bytes, version & Imf::MULTI_PART_FILE_FLAG);
  stream.seekg(8);
  Imf::Header header;
  header.readFrom(stream, version);
  const Imath::Box2i window = header.dataWindow();
  const int64_t w = int64_t(window.max.x) - window.min.x + 1, h = int64_t(window.max.y) - window.min.y + 1;
  if (w < 1 || h < 1 || w > kMaxSide || h > kMaxSide) throw ToolError(name + ": image size not supported");
  CheckFileCanHold(name, header, w, h, file_bytes);
  CheckImageBytes(name, w, h, 32);
  stream.seekg(0);
}

}  // namespace

WorldPtr ReadExr(const std::string& name, Imf::IStream& stream, uint64_t file_bytes) {
  try {
    CheckHeader(name, stream, file_bytes);
    Imf::InputFile file(stream);
    const Imf::Header& header = file.header();
    const Imath::Box2i window = header.dataWindow();
    const int64_t w = int64_t(window.max.x) - window.min.x + 1, h = int64_t(window.max.y) - window.min.y + 1;
    if (w < 1 || h < 1 || w > kMaxSide || h > kMaxSide) throw ToolError(name + ": image size not supported");
    CheckFileCanHold(name, header, w, h, file_bytes);
    CheckImageBytes(name, w, h, 32);
    WorldPtr world = NewWorld(static_cast<int32_t>(w), static_cast<int32_t>(h), 32, false);
    const Imf::ChannelList& channels = header.channels();
    const bool luminance = !channels.findChannel("R") && channels.findChannel("Y");
    // World pixels are alpha, red, green, blue floats.
    const size_t xs = sizeof(VX_PixelFloat), ys = static_cast<size_t>(world->row_stride);
    char* origin = Origin(world->data, window.min.x, window.min.y, xs, ys);
    Imf::FrameBuffer frame;
    frame.insert("A", Imf::Slice(Imf::FLOAT, origin, xs, ys, 1, 1, 1.0));
    if (luminance) {
      frame.insert("Y", Imf::Slice(Imf::FLOAT, origin + 4, xs, ys, 1, 1, 0.0));
    } else {
      const char* names[3] = {"R", "G", "B"};
      for (int c = 0; c < 3; ++c) frame.insert(names[c], Imf::Slice(Imf::FLOAT, origin + 4 * (c + 1), xs, ys, 1, 1, 0.0));
    }
    file.setFrameBuffer(frame);
    const int64_t band = header.hasTileDescription() ? std::max<int64_t>(header.tileDescription().ySize, 1)
                                                     : std::max(LinesPerChunk(header.compression()), 16);
    for (int64_t y0 = 0; y0 < h; y0 += band) {
      ThrowIfInterrupted("reading " + name);
      const int64_t y1 = std::min(h, y0 + band);
      file.readPixels(static_cast<int>(window.min.y + y0), static_cast<int>(window.min.y + y1 - 1));
      if (luminance)
        for (int64_t y = y0; y < y1; ++y) {
          VX_PixelFloat* row = static_cast<VX_WorldFloat&>(*world).Row(static_cast<int32_t>(y));
          for (int64_t x = 0; x < w; ++x) row[x].green = row[x].blue = row[x].red;
        }
      if (y0 == 0) PauseForTest("reading");
    }
    return world;
  } catch (const ToolError&) {
    throw;
  } catch (const std::exception& e) {
    throw ToolError(name + ": not a readable OpenEXR file (" + e.what() + ")");
  }
}

void WriteExr(const std::string& path, const VX_World& world, bool half) {
  try {
    Imf::Header header(world.width, world.height);
    const Imf::PixelType type = half ? Imf::HALF : Imf::FLOAT;
    for (const char* name : {"R", "G", "B", "A"}) header.channels().insert(name, Imf::Channel(type));
    Imf::OutputFile file(path.c_str(), header);
    const int32_t band = LinesPerChunk(header.compression());
    BandsAtDepth floats(world, 32, band);
    std::vector<Imath::half> halves(half ? static_cast<size_t>(world.width) * band * 4 : 0);
    for (int32_t y0 = 0; y0 < world.height; y0 += band) {
      ThrowIfInterrupted("writing " + path);
      const int32_t y1 = std::min(world.height, y0 + band);
      // Each band is a frame buffer of its own: the world's float rows as they
      // are, or their halves.
      const auto* first = static_cast<const VX_PixelFloat*>(floats.Row(y0));
      void* base = const_cast<VX_PixelFloat*>(first);
      size_t xs = sizeof(VX_PixelFloat), ys = y1 - y0 > 1 ? static_cast<const char*>(floats.Row(y0 + 1)) -
                                                                static_cast<const char*>(floats.Row(y0))
                                                          : 0;
      if (half) {
        for (int32_t y = y0; y < y1; ++y) {
          const auto* row = static_cast<const VX_PixelFloat*>(floats.Row(y));
          Imath::half* out = halves.data() + static_cast<size_t>(y - y0) * world.width * 4;
          for (int32_t x = 0; x < world.width; ++x) {
            out[4 * x] = row[x].alpha;
            out[4 * x + 1] = row[x].red;
            out[4 * x + 2] = row[x].green;
            out[4 * x + 3] = row[x].blue;
          }
        }
        base = halves.data();
        xs = 4 * sizeof(Imath::half);
        ys = xs * static_cast<size_t>(world.width);
      }
      const size_t channel = half ? sizeof(Imath::half) : sizeof(float);
      char* origin = Origin(base, 0, y0, xs, ys);
      Imf::FrameBuffer frame;
      const char* names[4] = {"A", "R", "G", "B"};
      for (int c = 0; c < 4; ++c) frame.insert(names[c], Imf::Slice(type, origin + c * channel, xs, ys));
      file.setFrameBuffer(frame);
      file.writePixels(y1 - y0);
      if (y0 == 0) PauseForTest("writing");
    }
  } catch (const ToolError&) {
    throw;
  } catch (const std::exception& e) {
    throw ToolError(path + ": could not write OpenEXR (" + e.what() + ")");
  }
}

}  // namespace vxtool

// OpenEXR files: RGBA in half or float channels. A file without alpha reads
// as opaque; a luminance-only file (Y) reads as grey.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <half.h>

#include <cstring>

#include "ImageFormats.h"
#include "ToolError.h"

namespace vxtool {

RgbaImage ReadExr(const std::string& path) {
  try {
    Imf::InputFile file(path.c_str());
    const Imath::Box2i window = file.header().dataWindow();
    const int64_t w = int64_t(window.max.x) - window.min.x + 1, h = int64_t(window.max.y) - window.min.y + 1;
    if (w < 1 || h < 1 || w > 30000 || h > 30000) throw ToolError(path + ": image size not supported");
    RgbaImage image{static_cast<uint32_t>(w), static_cast<uint32_t>(h), 32, {}};
    image.bytes.resize(static_cast<size_t>(w * h) * 4 * sizeof(float));
    auto* pixels = reinterpret_cast<float*>(image.bytes.data());
    const Imf::ChannelList& channels = file.header().channels();
    const bool luminance = !channels.findChannel("R") && channels.findChannel("Y");
    const char* names[4] = {luminance ? "Y" : "R", luminance ? "Y" : "G", luminance ? "Y" : "B", "A"};
    const float fill[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    Imf::FrameBuffer frame;
    const size_t xs = 4 * sizeof(float), ys = xs * static_cast<size_t>(w);
    // Slices address pixel (0, 0) of the data window.
    char* origin = reinterpret_cast<char*>(pixels) - window.min.x * xs - window.min.y * ys;
    if (luminance) {
      frame.insert("Y", Imf::Slice(Imf::FLOAT, origin, xs, ys, 1, 1, 0.0));
    } else {
      for (int c = 0; c < 3; ++c)
        frame.insert(names[c], Imf::Slice(Imf::FLOAT, origin + c * sizeof(float), xs, ys, 1, 1, fill[c]));
    }
    frame.insert("A", Imf::Slice(Imf::FLOAT, origin + 3 * sizeof(float), xs, ys, 1, 1, fill[3]));
    file.setFrameBuffer(frame);
    file.readPixels(window.min.y, window.max.y);
    if (luminance)
      for (int64_t i = 0; i < w * h; ++i) pixels[4 * i + 1] = pixels[4 * i + 2] = pixels[4 * i];
    return image;
  } catch (const ToolError&) {
    throw;
  } catch (const std::exception& e) {
    throw ToolError(path + ": not a readable OpenEXR file (" + e.what() + ")");
  }
}

void WriteExr(const std::string& path, const RgbaImage& image, bool half) {
  try {
    Imf::Header header(static_cast<int>(image.width), static_cast<int>(image.height));
    const Imf::PixelType type = half ? Imf::HALF : Imf::FLOAT;
    for (const char* name : {"R", "G", "B", "A"}) header.channels().insert(name, Imf::Channel(type));
    Imf::OutputFile file(path.c_str(), header);
    const auto* floats = reinterpret_cast<const float*>(image.bytes.data());
    const size_t count = static_cast<size_t>(image.width) * image.height * 4;
    std::vector<Imath::half> halves;
    const char* base = reinterpret_cast<const char*>(floats);
    size_t channel_bytes = sizeof(float);
    if (half) {
      halves.assign(floats, floats + count);
      base = reinterpret_cast<const char*>(halves.data());
      channel_bytes = sizeof(Imath::half);
    }
    const size_t xs = 4 * channel_bytes, ys = xs * image.width;
    Imf::FrameBuffer frame;
    const char* names[4] = {"R", "G", "B", "A"};
    for (int c = 0; c < 4; ++c)
      frame.insert(names[c], Imf::Slice(type, const_cast<char*>(base) + c * channel_bytes, xs, ys));
    file.setFrameBuffer(frame);
    file.writePixels(static_cast<int>(image.height));
  } catch (const std::exception& e) {
    throw ToolError(path + ": could not write OpenEXR (" + e.what() + ")");
  }
}

}  // namespace vxtool

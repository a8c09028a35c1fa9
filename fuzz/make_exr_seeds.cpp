// make_exr_seeds DIR: small OpenEXR files for the fuzz corpus, one for each
// compression, and the layouts the reader treats apart: no alpha, luminance
// only, a data window off the origin, decreasing rows, tiles, float and half.
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfTiledOutputFile.h>
#include <half.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kWidth = 13, kHeight = 9;

struct Seed {
  std::string name;
  Imf::Compression compression;
  Imf::PixelType type;
  std::string channels;  // one letter a channel
  bool tiled, offset, decreasing;
};

void Write(const std::string& dir, const Seed& seed) {
  const Imath::Box2i window(Imath::V2i(seed.offset ? -3 : 0, seed.offset ? 5 : 0),
                            Imath::V2i((seed.offset ? -3 : 0) + kWidth - 1, (seed.offset ? 5 : 0) + kHeight - 1));
  Imf::Header header(window, window);
  header.compression() = seed.compression;
  if (seed.decreasing) header.lineOrder() = Imf::DECREASING_Y;
  const size_t size = seed.type == Imf::HALF ? 2 : 4;
  std::vector<char> pixels(kWidth * kHeight * seed.channels.size() * size);
  for (size_t i = 0; i < pixels.size() / size; ++i) {
    const float v = float(i % 37) / 36.0f;
    if (seed.type == Imf::HALF) {
      const Imath::half h(v);
      std::memcpy(&pixels[i * size], &h, size);
    } else {
      std::memcpy(&pixels[i * size], &v, size);
    }
  }
  Imf::FrameBuffer frame;
  const size_t xs = seed.channels.size() * size, ys = xs * kWidth;
  char* origin = pixels.data() - window.min.x * long(xs) - window.min.y * long(ys);
  for (size_t c = 0; c < seed.channels.size(); ++c) {
    const std::string name(1, seed.channels[c]);
    header.channels().insert(name, Imf::Channel(seed.type));
    frame.insert(name, Imf::Slice(seed.type, origin + c * size, xs, ys));
  }
  const std::string path = dir + "/" + seed.name + ".exr";
  if (seed.tiled) {
    header.setTileDescription(Imf::TileDescription(8, 4));
    Imf::TiledOutputFile file(path.c_str(), header);
    file.setFrameBuffer(frame);
    file.writeTiles(0, file.numXTiles() - 1, 0, file.numYTiles() - 1);
  } else {
    Imf::OutputFile file(path.c_str(), header);
    file.setFrameBuffer(frame);
    file.writePixels(kHeight);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_exr_seeds DIR\n");
    return 2;
  }
  const std::pair<const char*, Imf::Compression> compressions[] = {
      {"none", Imf::NO_COMPRESSION}, {"rle", Imf::RLE_COMPRESSION},     {"zips", Imf::ZIPS_COMPRESSION},
      {"zip", Imf::ZIP_COMPRESSION},  {"piz", Imf::PIZ_COMPRESSION},     {"pxr24", Imf::PXR24_COMPRESSION},
      {"b44", Imf::B44_COMPRESSION},  {"b44a", Imf::B44A_COMPRESSION},   {"dwaa", Imf::DWAA_COMPRESSION},
      {"dwab", Imf::DWAB_COMPRESSION}};
  std::vector<Seed> seeds;
  for (const auto& [name, compression] : compressions)
    seeds.push_back({std::string("rgba-half-") + name, compression, Imf::HALF, "ABGR", false, false, false});
  seeds.push_back({"rgba-float-zip", Imf::ZIP_COMPRESSION, Imf::FLOAT, "ABGR", false, false, false});
  seeds.push_back({"rgb-float-none", Imf::NO_COMPRESSION, Imf::FLOAT, "BGR", false, false, false});
  seeds.push_back({"luminance-half-zip", Imf::ZIP_COMPRESSION, Imf::HALF, "Y", false, false, false});
  seeds.push_back({"offset-window-rle", Imf::RLE_COMPRESSION, Imf::HALF, "ABGR", false, true, false});
  seeds.push_back({"decreasing-y-piz", Imf::PIZ_COMPRESSION, Imf::HALF, "ABGR", false, false, true});
  seeds.push_back({"tiled-zip", Imf::ZIP_COMPRESSION, Imf::HALF, "ABGR", true, false, false});
  seeds.push_back({"tiled-offset-float", Imf::NO_COMPRESSION, Imf::FLOAT, "ABGR", true, true, false});
  for (const Seed& seed : seeds) Write(argv[1], seed);
  return 0;
}

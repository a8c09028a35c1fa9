// The open-source peers as benchmarks use them: package worlds and peer
// buffers seen as the peers' own images, without copying. Each peer is here
// only when the build found it (VX_BENCH_HAVE_PIXMAN, VX_BENCH_HAVE_OPENCV,
// VX_BENCH_HAVE_VIPS); a benchmark row against a peer sits under the same
// test, so the benchmarks build and run without any of them.
#pragma once

#include <string>

#include "support/PeerPixels.h"
#include "vx/VX.h"

#ifdef VX_BENCH_HAVE_PIXMAN
#include <pixman.h>
#endif
#ifdef VX_BENCH_HAVE_OPENCV
#include <opencv2/core/mat.hpp>
#endif
#ifdef VX_BENCH_HAVE_VIPS
#include <vips/vips8>
#endif

namespace vxbench {

// The peers this program was built with and their versions, or "none".
std::string PeersLinked();

// Starts the peers that need it, each on one thread, since the package's
// rows are timed on one.
void StartPeers(const char* argv0);

#ifdef VX_BENCH_HAVE_PIXMAN
// A pixman image over rows packed by PremultipliedCopy: a8r8g8b8 words at
// 8 bits, rgba_float at float. The pixels stay the caller's.
class PixmanImage {
 public:
  PixmanImage(int32_t width, int32_t height, uint32_t* words)
      : image_(pixman_image_create_bits(PIXMAN_a8r8g8b8, width, height, words, width * 4)) {}
  PixmanImage(int32_t width, int32_t height, RgbaF* pixels)
      : image_(pixman_image_create_bits(PIXMAN_rgba_float, width, height, reinterpret_cast<uint32_t*>(pixels),
                                        width * static_cast<int>(sizeof(RgbaF)))) {}
  ~PixmanImage() {
    if (image_) pixman_image_unref(image_);
  }
  PixmanImage(const PixmanImage&) = delete;
  PixmanImage& operator=(const PixmanImage&) = delete;
  pixman_image_t* get() const { return image_; }

 private:
  pixman_image_t* image_;
};
#endif

#ifdef VX_BENCH_HAVE_OPENCV
// A world's pixels as a 4-channel matrix (8U, 16U or 32F) over its rows.
// Channels stay in the package's order, alpha first.
cv::Mat MatOf(const VX_LayerDef& world);
#endif

#ifdef VX_BENCH_HAVE_VIPS
// A world's pixels as a 4-band image (uchar, ushort or float) over its
// rows; the world must outlive it. Bands stay in the package's order, alpha
// first, where libvips expects alpha last.
vips::VImage VipsOf(const VX_LayerDef& world);
#endif

}  // namespace vxbench

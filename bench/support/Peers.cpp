#include "support/Peers.h"

#ifdef VX_BENCH_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#endif

namespace vxbench {

std::string PeersLinked() {
  std::string peers;
  const auto add = [&peers](const std::string& name) { peers += (peers.empty() ? "" : ", ") + name; };
#ifdef VX_BENCH_HAVE_PIXMAN
  add(std::string("pixman ") + pixman_version_string());
#endif
#ifdef VX_BENCH_HAVE_OPENCV
  add(std::string("OpenCV ") + CV_VERSION);
#endif
#ifdef VX_BENCH_HAVE_VIPS
  add(std::string("libvips ") + vips_version_string());
#endif
  (void)add;
  return peers.empty() ? "none" : peers;
}

void StartPeers(const char* argv0) {
#ifdef VX_BENCH_HAVE_OPENCV
  cv::setNumThreads(1);
#endif
#ifdef VX_BENCH_HAVE_VIPS
  if (VIPS_INIT(argv0) == 0) vips_concurrency_set(1);
#endif
  (void)argv0;
}

#ifdef VX_BENCH_HAVE_OPENCV
cv::Mat MatOf(const VX_LayerDef& world) {
  const int32_t depth = VXp_WorldDepth(&world);
  const int type = depth == 8 ? CV_8UC4 : depth == 16 ? CV_16UC4 : CV_32FC4;
  return cv::Mat(world.height, world.width, type, world.data, static_cast<size_t>(world.row_stride));
}
#endif

#ifdef VX_BENCH_HAVE_VIPS
vips::VImage VipsOf(const VX_LayerDef& world) {
  const int32_t depth = VXp_WorldDepth(&world);
  const VipsBandFormat format = depth == 8 ? VIPS_FORMAT_UCHAR : depth == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_FLOAT;
  const int32_t pixel = depth == 8 ? 4 : depth == 16 ? 8 : 16;
  // libvips takes packed rows: the view spans whole strides, then is cut to
  // the world's width.
  const int32_t span = world.row_stride / pixel;
  const size_t bytes = static_cast<size_t>(world.row_stride) * world.height;
  return vips::VImage::new_from_memory(world.data, bytes, span, world.height, 4, format)
      .crop(0, 0, world.width, world.height);
}
#endif

}  // namespace vxbench

// The quality of in-between frames: for each clip, frames 0 and 2 make
// frame 1 at t = 0.5, compared with the real frame 1 by PSNR (colour) and
// SSIM (luminance): the package's tween at two proxy sizes, a plain
// cross-fade of 0 and 2, and a warp along OpenCV's DIS fields (preset
// medium, at full size). The synthetic scene of bench/support/FlowScene.h,
// with known motion and occlusion, comes first. scripts/flow-quality runs it
// on footage that Debian packages ship.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#include <opencv2/videoio.hpp>

#include "support/FlowScene.h"
#include "vx/OpticalFlow.h"
#include "vx/VX.h"
#include "vxhost/Host.h"

namespace {

void ToTexture(const cv::Mat& bgr, FnTexture8* t) {
  t->reallocate(bgr.cols, bgr.rows);
  for (int y = 0; y < bgr.rows; ++y)
    for (int x = 0; x < bgr.cols; ++x) {
      const cv::Vec3b c = bgr.at<cv::Vec3b>(y, x);
      FnPixel8& p = t->rawRow(y)[x];
      p.alpha = 255, p.red = c[2], p.green = c[1], p.blue = c[0];
    }
  t->setEdgeMode(FnEdge_Clamp, FnEdge_Clamp);
}

cv::Mat ToMat(const FnTexture8& t) {
  cv::Mat m(t.height(), t.width(), CV_8UC3);
  for (int y = 0; y < m.rows; ++y)
    for (int x = 0; x < m.cols; ++x) {
      const FnPixel8& p = t.rawRow(y)[x];
      m.at<cv::Vec3b>(y, x) = cv::Vec3b(p.blue, p.green, p.red);
    }
  return m;
}

double Psnr(const cv::Mat& a, const cv::Mat& b) {
  cv::Mat d;
  cv::absdiff(a, b, d);
  d.convertTo(d, CV_64F);
  const cv::Scalar s = cv::sum(d.mul(d));
  const double mse = (s[0] + s[1] + s[2]) / (double(a.total()) * 3.0);
  return mse <= 1e-12 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

// SSIM of the luminance: Gaussian windows of 11 taps, sigma 1.5.
double Ssim(const cv::Mat& a, const cv::Mat& b) {
  cv::Mat ga, gb;
  cv::cvtColor(a, ga, cv::COLOR_BGR2GRAY);
  cv::cvtColor(b, gb, cv::COLOR_BGR2GRAY);
  ga.convertTo(ga, CV_64F);
  gb.convertTo(gb, CV_64F);
  const double c1 = 6.5025, c2 = 58.5225;
  auto blur = [](const cv::Mat& m) {
    cv::Mat o;
    cv::GaussianBlur(m, o, cv::Size(11, 11), 1.5);
    return o;
  };
  const cv::Mat ma = blur(ga), mb = blur(gb);
  const cv::Mat saa = blur(ga.mul(ga)) - ma.mul(ma), sbb = blur(gb.mul(gb)) - mb.mul(mb), sab = blur(ga.mul(gb)) - ma.mul(mb);
  cv::Mat num = (2 * ma.mul(mb) + c1).mul(2 * sab + c2), den = (ma.mul(ma) + mb.mul(mb) + c1).mul(saa + sbb + c2), q;
  cv::divide(num, den, q);
  return cv::mean(q)[0];
}

cv::Mat Tween(const cv::Mat& f0, const cv::Mat& f2, float detail) {
  FnTexture8 a, b, out(f0.cols, f0.rows);
  ToTexture(f0, &a);
  ToTexture(f2, &b);
  FnFlowPair pair;
  FnVectorTexture va, vb;
  FnIntTexture labels;
  const FnTweenSettings settings;
  if (FnEstimatePair(&a, &b, detail, FnEstimateSettings{}, nullptr, &pair) ||
      tween(settings, 0.5, &pair.lumaA, &pair.lumaB, &pair.fieldA, &pair.fieldB, nullptr, &va, &vb, &labels) ||
      buildPicture(settings, 0.5, &a, &b, &va, &vb, &labels, nullptr, &out))
    return cv::Mat();
  return ToMat(out);
}

cv::Mat DisWarp(const cv::Mat& f0, const cv::Mat& f2) {
  cv::Mat g0, g2, f02, f20;
  cv::cvtColor(f0, g0, cv::COLOR_BGR2GRAY);
  cv::cvtColor(f2, g2, cv::COLOR_BGR2GRAY);
  auto dis = cv::DISOpticalFlow::create(cv::DISOpticalFlow::PRESET_MEDIUM);
  dis->calc(g0, g2, f02);
  dis->calc(g2, g0, f20);
  // Content of the middle frame at x comes from f0 at x - F02/2 and from f2
  // at x - F20/2.
  cv::Mat map0(f0.size(), CV_32FC2), map2(f0.size(), CV_32FC2);
  for (int y = 0; y < f0.rows; ++y)
    for (int x = 0; x < f0.cols; ++x) {
      const cv::Vec2f a = f02.at<cv::Vec2f>(y, x), b = f20.at<cv::Vec2f>(y, x);
      map0.at<cv::Vec2f>(y, x) = cv::Vec2f(x - 0.5f * a[0], y - 0.5f * a[1]);
      map2.at<cv::Vec2f>(y, x) = cv::Vec2f(x - 0.5f * b[0], y - 0.5f * b[1]);
    }
  cv::Mat w0, w2, mid;
  cv::remap(f0, w0, map0, cv::noArray(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
  cv::remap(f2, w2, map2, cv::noArray(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
  cv::addWeighted(w0, 0.5, w2, 0.5, 0.0, mid);
  return mid;
}

void Evaluate(const std::string& name, const cv::Mat& f0, const cv::Mat& f1, const cv::Mat& f2) {
  cv::Mat fade;
  cv::addWeighted(f0, 0.5, f2, 0.5, 0.0, fade);
  const cv::Mat ours = Tween(f0, f2, 0.2f), ours5 = Tween(f0, f2, 0.5f), dis = DisWarp(f0, f2);
  auto cell = [&](const cv::Mat& m) {
    if (m.empty()) return std::string("   failed    ");
    char text[40];
    std::snprintf(text, sizeof text, "%5.2f / %.3f", Psnr(m, f1), Ssim(m, f1));
    return std::string(text);
  };
  std::printf("| %-22s | %4dx%-4d | %s | %s | %s | %s |\n", name.c_str(), f0.cols, f0.rows, cell(ours).c_str(),
              cell(ours5).c_str(), cell(fade).c_str(), cell(dis).c_str());
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  if (VX_CheckVersions(0, VX_kPackageVersion) || VX_Birth()) return 1;
  ADDN_RunPluginScan();
  cv::setNumThreads(1);
  std::printf("| clip | size | tween, proxy 0.2 | tween, proxy 0.5 | cross-fade | DIS warp |\n");
  std::printf("|---|---|---|---|---|---|\n");
  {
    FnTexture8 t0(960, 540), t1(960, 540), t2(960, 540);
    vxbench::PaintScene(t0, 0.0f);
    vxbench::PaintScene(t1, 0.5f);
    vxbench::PaintScene(t2, 1.0f);
    Evaluate("synthetic (occlusion)", ToMat(t0), ToMat(t1), ToMat(t2));
  }
  int status = 0;
  for (int i = 1; i < argc; ++i) {
    cv::VideoCapture clip(argv[i]);
    cv::Mat f[3];
    bool ok = clip.isOpened();
    for (int k = 0; k < 3 && ok; ++k) ok = clip.read(f[k]) && !f[k].empty();
    std::string name = argv[i];
    name = name.substr(name.find_last_of('/') + 1);
    if (!ok) {
      std::fprintf(stderr, "%s: could not read three frames\n", argv[i]);
      status = 1;
      continue;
    }
    for (cv::Mat& m : f)
      if (m.type() != CV_8UC3) cv::cvtColor(m, m, cv::COLOR_GRAY2BGR);
    Evaluate(name, f[0], f[1], f[2]);
  }
  VX_Death();
  return status;
}

#include <unistd.h>

#include <cstdio>

#include "Progress.h"

namespace vxtool {

ProgressBar::ProgressBar(std::string label, bool enabled)
    : label_(std::move(label)), draw_(enabled && isatty(STDERR_FILENO)), info_{this, OnAbort, OnProgress} {}

ProgressBar::~ProgressBar() { Finish(); }

void ProgressBar::SetSpan(double start, double share) {
  start_ = start;
  share_ = share;
}

VX_Err ProgressBar::OnAbort(void*) { return Interrupted() ? VX_Err_Interrupted : VX_Err_None; }

VX_Err ProgressBar::OnProgress(void* refcon, int32_t current, int32_t total) {
  auto* bar = static_cast<ProgressBar*>(refcon);
  PauseForTest(bar->label_.c_str());
  if (Interrupted()) return VX_Err_Interrupted;
  if (total > 0) bar->Draw(bar->start_ + bar->share_ * current / total);
  return VX_Err_None;
}

void ProgressBar::Draw(double fraction) {
  if (!draw_) return;
  const int percent = static_cast<int>(fraction * 100);
  if (percent == last_drawn_) return;
  last_drawn_ = percent;
  constexpr int kWidth = 30;
  const int filled = percent * kWidth / 100;
  std::fprintf(stderr, "\r%s [%.*s%*s] %3d%%", label_.c_str(), filled, "##############################",
               kWidth - filled, "", percent);
  std::fflush(stderr);
}

void ProgressBar::Finish() {
  if (draw_ && last_drawn_ >= 0) {
    std::fprintf(stderr, "\r%*s\r", static_cast<int>(label_.size()) + 40, "");
    std::fflush(stderr);
  }
  last_drawn_ = -1;
}

}  // namespace vxtool

// Progress on standard error while long operations run. The package's
// progress callbacks answer VX_Err_Interrupted (517) once a signal asked the tool to stop.
#pragma once

#include <string>

#include "Interrupt.h"
#include "vx/Types.h"

namespace vxtool {

class ProgressBar {
 public:
  // Draws only when `enabled` and standard error is a terminal.
  ProgressBar(std::string label, bool enabled);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  VX_ProgressInfo* info() { return &info_; }
  // For operations made of several calls: the share each call covers.
  void SetSpan(double start, double share);
  void Finish();

 private:
  static VX_Err OnProgress(void* refcon, int32_t current, int32_t total);
  static VX_Err OnAbort(void* refcon);
  void Draw(double fraction);

  std::string label_;
  bool draw_;
  int last_drawn_ = -1;
  double start_ = 0, share_ = 1;
  VX_ProgressInfo info_;
};

}  // namespace vxtool

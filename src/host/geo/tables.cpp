// The fast colour multiply/divide tables and the trigonometry table, built on
// first prepare and released on the last unprepare.
#include <cmath>
#include <mutex>

#include "vxhost/GEO.h"

namespace {

std::mutex g_lock;
uint8_t* g_fcm = nullptr;
uint8_t* g_fcd = nullptr;
int g_fcmd_refs = 0;

float* g_sine = nullptr;
float* g_cosine = nullptr;
GEO_FTrigTable g_trig{};
int g_trig_refs = 0;
constexpr int32_t kTrigSteps = 4096;

void BuildFCMD() {
  for (uint32_t a = 0; a < 256; ++a) {
    for (uint32_t v = 0; v < 256; ++v) {
      const uint32_t t = a * v + 128;
      g_fcm[a * 256 + v] = static_cast<uint8_t>((t + (t >> 8)) >> 8);  // a x v / 255, rounded
      g_fcd[a * 256 + v] = v >= a ? 255 : static_cast<uint8_t>((v * 255 + (a >> 1)) / a);
    }
  }
}

}  // namespace

KU_Err GEO_PrepareFCMD(int32_t, int32_t, int32_t, const uint8_t** fcm, const uint8_t** fcd) {
  std::lock_guard<std::mutex> guard(g_lock);
  if (g_fcmd_refs == 0) {
    if (!KUp_AllocationPermitted()) return 4;
    g_fcm = new uint8_t[65536];
    g_fcd = new uint8_t[65536];
    BuildFCMD();
  }
  ++g_fcmd_refs;
  if (fcm) *fcm = g_fcm;
  if (fcd) *fcd = g_fcd;
  return 0;
}

KU_Err GEO_UnprepareFCMD() {
  std::lock_guard<std::mutex> guard(g_lock);
  if (g_fcmd_refs == 0) return 3;
  if (--g_fcmd_refs == 0) {
    delete[] g_fcm;
    delete[] g_fcd;
    g_fcm = g_fcd = nullptr;
  }
  return 0;
}

KU_Err GEO_PrepareFTrig(int32_t, int32_t, int32_t, const GEO_FTrigTable** table) {
  std::lock_guard<std::mutex> guard(g_lock);
  if (g_trig_refs == 0) {
    if (!KUp_AllocationPermitted()) return 4;
    g_sine = new float[kTrigSteps + 1];
    g_cosine = new float[kTrigSteps + 1];
    for (int32_t i = 0; i <= kTrigSteps; ++i) {
      const double angle = 2.0 * M_PI * i / kTrigSteps;
      g_sine[i] = static_cast<float>(std::sin(angle));
      g_cosine[i] = static_cast<float>(std::cos(angle));
    }
    g_trig = GEO_FTrigTable{kTrigSteps, g_sine, g_cosine};
  }
  ++g_trig_refs;
  if (table) *table = &g_trig;
  return 0;
}

KU_Err GEO_UnprepareFTrig() {
  std::lock_guard<std::mutex> guard(g_lock);
  if (g_trig_refs == 0) return 3;
  if (--g_trig_refs == 0) {
    delete[] g_sine;
    delete[] g_cosine;
    g_sine = g_cosine = nullptr;
    g_trig = GEO_FTrigTable{};
  }
  return 0;
}

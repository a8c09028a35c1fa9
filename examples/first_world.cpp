// A first host of the package: start it as a host does, make a world, fill
// it, walk it pixel by pixel with progress, then sum its rows on the worker
// pool through the generic iterator, and shut down.
#include <atomic>
#include <cstdio>
#include <vector>

#include "vx/VX.h"
#include "vxhost/Host.h"

namespace {

constexpr int32_t kWidth = 1920, kHeight = 1080;

// Host side of progress: print a tenth at a time.
VX_Err PrintProgress(void* refcon, int32_t current, int32_t total) {
  int* last_tenth = static_cast<int*>(refcon);
  const int tenth = static_cast<int>(10LL * current / total);
  if (tenth != *last_tenth) {
    *last_tenth = tenth;
    std::printf("  progress %3d%%\n", tenth * 10);
  }
  return VX_Err_None;
}

// A per-pixel operation: a horizontal ramp in red over the fill.
VX_Err Ramp(void* refcon, int32_t x, int32_t, VX_Pixel8* in, VX_Pixel8* out) {
  *out = *in;
  out->red = static_cast<uint8_t>(x * 255 / (*static_cast<int32_t*>(refcon) - 1));
  return VX_Err_None;
}

struct RowSums {
  const VX_LayerDef* world;
  std::vector<long long> per_thread;  // one slot per worker; each touches its own
};

VX_Err SumRow(void* refcon, int32_t thread_index, int32_t y, int32_t) {
  auto* sums = static_cast<RowSums*>(refcon);
  const auto* row = reinterpret_cast<const VX_Pixel8*>(static_cast<const char*>(sums->world->data) +
                                                       static_cast<ptrdiff_t>(y) * sums->world->row_stride);
  long long s = 0;
  for (int32_t x = 0; x < sums->world->width; ++x) s += row[x].red + row[x].green + row[x].blue;
  sums->per_thread[thread_index] += s;
  return VX_Err_None;
}

int Fail(const char* what, VX_Err err) {
  std::fprintf(stderr, "vx_first_world: %s failed with %d\n", what, err);
  for (const KU_ReportRecord& r : KU_TakeReports()) std::fprintf(stderr, "  report: %s\n", r.text.c_str());
  return 1;
}

}  // namespace

int main() {
  if (VX_Err err = VX_CheckVersions(0, VX_kPackageVersion)) return Fail("version check", err);
  if (VX_Err err = VX_Birth()) return Fail("start-up", err);
  HOST_StartWorkers(0);
  VX_SetOverrideFunc(VX_Slot_IterateGeneric, reinterpret_cast<void*>(&HOST_IterateGeneric));
  ADDN_RunPluginScan();
  std::printf("VX package version 0x%X started, %d worker threads\n", VX_PkgObjectVersion(), HOST_WorkerCount());

  VX_LayerDef world{};
  if (VX_Err err = VX_NewEffectWorld(nullptr, kWidth, kHeight, 8, true, false, &world))
    return Fail("making the world", err);
  std::printf("made an 8-bit world of %d x %d, row stride %d bytes\n", world.width, world.height, world.row_stride);

  const VX_Pixel8 teal{255, 0, 128, 128};
  VX_Fill(nullptr, &teal, nullptr, &world);
  std::printf("filled it with (alpha 255, red 0, green 128, blue 128)\n");

  int last_tenth = -1;
  VX_IterateHost host{};
  host.progress = PrintProgress;
  host.caller_ref = &last_tenth;
  int32_t width = kWidth;
  std::printf("iterating over every pixel to put a red ramp in:\n");
  if (VX_Err err = VX_Iterate(&host, 0, kHeight, nullptr, nullptr, &width, Ramp, &world))
    return Fail("iterating", err);

  int32_t threads = 1;
  KU_GetNumThreads(&threads);
  RowSums sums{&world, std::vector<long long>(threads, 0)};
  if (VX_Err err = VX_IterateGeneric(kHeight, &sums, SumRow)) return Fail("summing rows", err);
  long long total = 0;
  for (long long s : sums.per_thread) total += s;
  std::printf("summed %d rows on %d threads: mean colour value %.3f\n", kHeight, threads,
              static_cast<double>(total) / (3.0 * kWidth * kHeight));

  VX_DisposeEffectWorld(nullptr, &world);
  VX_Err err = VX_Death();
  HOST_StopWorkers();
  std::printf("shut down with %d, live worlds %ld\n", err, VX_G_LiveWorlds);
  return err == 0 ? 0 : 1;
}

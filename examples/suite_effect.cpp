// An effect plug-in that reaches the package only as a third-party effect
// does: through suites acquired by name from the host's basic suite. It is
// built as a library of its own that doesn't link to the package.
//
// It makes a world, fills it, paints a ramp into it pixel by pixel, sums its
// rows with the generic iterator (on the host's workers when the host put them
// in the table before its plug-in scan), checks the sum and disposes it.
#include <atomic>
#include <cstdint>
#include <cstdio>

#include "vx/Suites.h"
#include "vxhost/ADDN.h"

namespace {

// Acquires a suite for the scope and releases it at the end.
template <class Suite>
class SuiteRef {
 public:
  SuiteRef(const ADDN_HBBasicSuite* basic, const char* name, int32_t version)
      : basic_(basic), name_(name), version_(version) {
    const void* table = nullptr;
    if (basic_->AcquireSuite(name, version, &table) == 0) suite_ = static_cast<const Suite*>(table);
  }
  ~SuiteRef() {
    if (suite_) basic_->ReleaseSuite(name_, version_);
  }
  SuiteRef(const SuiteRef&) = delete;
  SuiteRef& operator=(const SuiteRef&) = delete;
  const Suite* operator->() const { return suite_; }
  explicit operator bool() const { return suite_ != nullptr; }

 private:
  const ADDN_HBBasicSuite* basic_;
  const char* name_;
  int32_t version_;
  const Suite* suite_ = nullptr;
};

// The per-pixel step: green rises along the row.
VX_Err Ramp(void*, int32_t x, int32_t, VX_Pixel8* in, VX_Pixel8* out) {
  *out = *in;
  out->green = static_cast<uint8_t>(x & 0xFF);
  return VX_Err_None;
}

struct RowSum {
  const VX_LayerDef* world;
  std::atomic<long long> total{0};
  std::atomic<int32_t> threads_seen{0};
};

VX_Err SumRow(void* refcon, int32_t thread_index, int32_t y, int32_t) {
  auto* job = static_cast<RowSum*>(refcon);
  const auto* row = reinterpret_cast<const VX_Pixel8*>(static_cast<const char*>(job->world->data) +
                                                       static_cast<ptrdiff_t>(y) * job->world->row_stride);
  long long sum = 0;
  for (int32_t x = 0; x < job->world->width; ++x) sum += row[x].alpha + row[x].red + row[x].green + row[x].blue;
  job->total += sum;
  int32_t seen = job->threads_seen.load();
  while (thread_index + 1 > seen && !job->threads_seen.compare_exchange_weak(seen, thread_index + 1)) {
  }
  return VX_Err_None;
}

}  // namespace

// The effect's render call. Returns 0 when every step worked and the sum is
// what the pixels must hold.
extern "C" int VXExampleEffect_Render(const ADDN_HBBasicSuite* basic, int32_t width, int32_t height) {
  SuiteRef<VX_WorldSuite2> worlds(basic, VX_kWorldSuite, 2);
  SuiteRef<VX_FillMatteSuite2> fills(basic, VX_kFillMatteSuite, 2);
  SuiteRef<VX_Iterate8Suite1> iterate(basic, VX_kIterate8Suite, 1);
  if (!worlds || !fills || !iterate) {
    std::fprintf(stderr, "effect: a suite is missing\n");
    return 1;
  }

  VX_LayerDef world{};
  if (VX_Err err = worlds->new_world(nullptr, width, height, true, VX_PixelFormat_ARGB32, &world)) {
    std::fprintf(stderr, "effect: new world failed with %d\n", err);
    return 1;
  }
  VX_PixelFormat format = 0;
  worlds->get_pixel_format(&world, &format);

  const VX_Pixel8 color{255, 10, 0, 200};
  VX_Err err = fills->fill(nullptr, &color, nullptr, &world);
  if (!err) err = iterate->iterate(nullptr, 0, 0, nullptr, nullptr, nullptr, Ramp, &world);
  RowSum job;
  job.world = &world;
  if (!err) err = iterate->iterate_generic(height, &job, SumRow);

  long long expected = 0;
  for (int32_t x = 0; x < width; ++x) expected += 255 + 10 + (x & 0xFF) + 200;
  expected *= height;

  std::printf("effect: %d x %d world (format 0x%08X), sum %lld of %lld, rows summed on %d thread(s)\n", width,
              height, format, job.total.load(), expected, job.threads_seen.load());
  const VX_Err disposed = worlds->dispose_world(nullptr, &world);
  if (err || disposed) {
    std::fprintf(stderr, "effect: failed with %d, dispose %d\n", err, disposed);
    return 1;
  }
  return job.total.load() == expected && format == VX_PixelFormat_ARGB32 ? 0 : 1;
}

// The CPU record, filled from the processor when the library loads.
#include <atomic>

#include "vxhost/KU.h"

namespace {

int32_t g_fields[KU_CPU_FieldCount];
int32_t g_hardware[KU_CPU_FieldCount];
int32_t* g_record = g_fields;

void ReadProcessor() {
  __builtin_cpu_init();
  g_hardware[KU_CPU_MMX] = __builtin_cpu_supports("mmx") ? 1 : 0;
  g_hardware[KU_CPU_SSE] = __builtin_cpu_supports("sse") ? 1 : 0;
  g_hardware[KU_CPU_SSE2] = __builtin_cpu_supports("sse2") ? 1 : 0;
  g_hardware[KU_CPU_SSE3] = __builtin_cpu_supports("sse3") ? 1 : 0;
  g_hardware[KU_CPU_SSE41] = __builtin_cpu_supports("sse4.1") ? 1 : 0;
  g_hardware[KU_CPU_SSE42] = __builtin_cpu_supports("sse4.2") ? 1 : 0;
  g_hardware[KU_CPU_SSSE3] = __builtin_cpu_supports("ssse3") ? 1 : 0;
  g_hardware[KU_CPU_AVX] = __builtin_cpu_supports("avx") ? 1 : 0;
  g_hardware[KU_CPU_AVX2] = __builtin_cpu_supports("avx2") ? 1 : 0;
  // The runtime's check covers the OS saving the wide registers too.
  g_hardware[KU_CPU_AVX512] = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                                      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi")
                                  ? 1
                                  : 0;
  for (int i = 0; i < KU_CPU_FieldCount; ++i) g_fields[i] = g_hardware[i];
}

// Runs before the constructors of ordinary static objects, so every reader
// sees a filled record.
__attribute__((constructor(101))) void FillRecordAtLoad() { ReadProcessor(); }

}  // namespace

int32_t** KU_G_CPU_DataP = &g_record;

void KU_SetCPUFeatures(int sse2, int ssse3, int avx2, int avx512) {
  // Each set builds on the one before: without SSE2 no vector form may run.
  g_fields[KU_CPU_SSE2] = (sse2 && g_hardware[KU_CPU_SSE2]) ? 1 : 0;
  g_fields[KU_CPU_SSSE3] = (ssse3 && g_fields[KU_CPU_SSE2] && g_hardware[KU_CPU_SSSE3]) ? 1 : 0;
  g_fields[KU_CPU_AVX2] = (avx2 && g_fields[KU_CPU_SSSE3] && g_hardware[KU_CPU_AVX2]) ? 1 : 0;
  g_fields[KU_CPU_AVX512] = (avx512 && g_fields[KU_CPU_AVX2] && g_hardware[KU_CPU_AVX512]) ? 1 : 0;
}

void KU_ResetCPUFeatures() {
  for (int i = 0; i < KU_CPU_FieldCount; ++i) g_fields[i] = g_hardware[i];
}

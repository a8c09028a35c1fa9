// The host's worker pool (oneTBB) and the generic iterator that runs on it.
#pragma once

#include <cstdint>

// Same signature as the package's generic callback:
// (refcon, thread_index, i, iterations) -> error code.
typedef int32_t (*HOST_IterateGenericFunc)(void* refcon, int32_t thread_index, int32_t i, int32_t iterations);

// Starts the pool with n workers (n <= 0: one per core) and tells KU its size.
// A running pool of another size is replaced; call it while no iteration runs.
int32_t HOST_StartWorkers(int n);
void HOST_StopWorkers();
int32_t HOST_WorkerCount();  // 0 when not started

// The generic-iteration contract on the pool:
//   iterations == -1: once per worker, func(refcon, t, t, n) for t in 0..n-1;
//   iterations < 1 otherwise: no call, 0;
//   else every i in 0..iterations-1 once, func(refcon, thread, i, iterations),
//   thread in 0..n-1 and unique among calls running at the same time.
// The first non-zero result stops further calls and is returned. Without a
// started pool it runs serially on the calling thread. A host installs it with
// VX_SetOverrideFunc(VX_Slot_IterateGeneric, ...).
int32_t HOST_IterateGeneric(int32_t iterations, void* refcon, HOST_IterateGenericFunc func);

// Pointer and handle memory, the allocation-failure switch, the memory
// account, the purge loop and memory-tracked objects.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

#include "vxhost/KU.h"

namespace {

// -1: off. n >= 0: n more allocations succeed, then every one fails until the
// switch is turned off.
std::atomic<long> g_allocations_left{-1};
std::atomic<long long> g_accounted_bytes{0};

// Every pointer block carries its size in front, so the layer can tell it.
struct alignas(16) BlockHeader {
  size_t bytes;
  size_t magic;
};
constexpr size_t kBlockMagic = 0x4B55426C6F636B21ull;  // "KUBlock!"

BlockHeader* HeaderOf(const void* ptr) {
  return reinterpret_cast<BlockHeader*>(const_cast<char*>(static_cast<const char*>(ptr)) - sizeof(BlockHeader));
}

void* RawAllocate(size_t bytes, bool clear) {
  if (!KUp_AllocationPermitted()) return nullptr;
  if (bytes > (size_t(1) << 46)) return nullptr;
  void* raw = clear ? std::calloc(1, sizeof(BlockHeader) + bytes) : std::malloc(sizeof(BlockHeader) + bytes);
  if (!raw) return nullptr;
  auto* header = static_cast<BlockHeader*>(raw);
  header->bytes = bytes;
  header->magic = kBlockMagic;
  return header + 1;
}

void RawFree(void* ptr) {
  if (!ptr) return;
  BlockHeader* header = HeaderOf(ptr);
  if (header->magic != kBlockMagic) {
    KU_ReportFailedVerification(0x0D0001, __LINE__, 0, "KU_FreePtr: not a block of this allocator");
    return;
  }
  header->magic = 0;
  std::free(header);
}

void ReportAllocationFailure(int32_t site, const char* name, size_t bytes) {
  if (KU_ErrorsAreQuietOnCurrentThread()) return;
  char text[256];
  std::snprintf(text, sizeof text, "out of memory allocating %zu bytes for %s", bytes, name ? name : "memory");
  KUp_ReportErrString(site, 8, text);
}

struct PurgeEntry {
  KU_PurgeProc proc;
  void* refcon;
};
std::mutex g_purge_lock;
std::vector<PurgeEntry>& PurgeCallbacks() {
  static auto* callbacks = new std::vector<PurgeEntry>;
  return *callbacks;
}

}  // namespace

void KU_FailAllocationsAfter(long n) { g_allocations_left.store(n < 0 ? -1 : n); }

bool KUp_AllocationPermitted() {
  long left = g_allocations_left.load();
  while (true) {
    if (left < 0) return true;
    if (left == 0) return false;
    if (g_allocations_left.compare_exchange_weak(left, left - 1)) return true;
  }
}

void* KU_AllocatePtr(int32_t site, const char* name, size_t bytes) {
  void* p = RawAllocate(bytes, false);
  if (!p) ReportAllocationFailure(site, name, bytes);
  return p;
}

void* KU_AllocatePtrClear(int32_t site, const char* name, size_t bytes) {
  void* p = RawAllocate(bytes, true);
  if (!p) ReportAllocationFailure(site, name, bytes);
  return p;
}

KU_Err KU_ResizePtr(int32_t site, void** ptr, const char* name, size_t bytes) {
  if (!ptr) return 3;
  void* fresh = RawAllocate(bytes, false);
  if (!fresh) {
    ReportAllocationFailure(site, name, bytes);
    return 4;
  }
  if (*ptr) {
    std::memcpy(fresh, *ptr, std::min(bytes, KU_GetPtrSize(*ptr)));
    RawFree(*ptr);
  }
  *ptr = fresh;
  return 0;
}

void KU_FreePtr(void* ptr) { RawFree(ptr); }

size_t KU_GetPtrSize(const void* ptr) { return ptr ? HeaderOf(ptr)->bytes : 0; }

namespace {

KU_Handle NewHandle(int32_t site, const char* name, size_t bytes, bool clear, bool quiet) {
  // The master pointer and the block count as one allocation.
  if (!KUp_AllocationPermitted()) {
    if (!quiet) ReportAllocationFailure(site, name, bytes);
    return nullptr;
  }
  auto* master = static_cast<void**>(std::malloc(sizeof(void*)));
  void* raw = master ? (clear ? std::calloc(1, sizeof(BlockHeader) + bytes)
                              : std::malloc(sizeof(BlockHeader) + bytes))
                     : nullptr;
  if (!raw) {
    std::free(master);
    if (!quiet) ReportAllocationFailure(site, name, bytes);
    return nullptr;
  }
  auto* header = static_cast<BlockHeader*>(raw);
  header->bytes = bytes;
  header->magic = kBlockMagic;
  *master = header + 1;
  return master;
}

}  // namespace

KU_Handle KU_AllocateHandle(int32_t site, const char* name, size_t bytes) {
  return NewHandle(site, name, bytes, false, false);
}
KU_Handle KU_AllocateHandleClear(int32_t site, const char* name, size_t bytes) {
  return NewHandle(site, name, bytes, true, false);
}
KU_Handle KU_AllocateHandleQuiet(size_t bytes) { return NewHandle(0, nullptr, bytes, false, true); }

void KU_FreeHandle(KU_Handle handle) {
  if (!handle) return;
  RawFree(*handle);
  std::free(handle);
}

size_t KU_GetHandleSize(KU_Handle handle) { return handle && *handle ? HeaderOf(*handle)->bytes : 0; }

KU_Err KU_ResizeHandle(int32_t site, KU_Handle handle, const char* name, size_t bytes) {
  if (!handle) return 3;
  return KU_ResizePtr(site, handle, name, bytes);
}

void KUp_Memset16(void* dst, uint16_t value, size_t count) {
  auto* p = static_cast<uint16_t*>(dst);
  std::fill(p, p + count, value);
}

void KUp_Memset32(void* dst, uint32_t value, size_t count) {
  auto* p = static_cast<uint32_t*>(dst);
  std::fill(p, p + count, value);
}

uint32_t KU_LongSwap(uint32_t value) { return __builtin_bswap32(value); }

void KU_AccountAllocationEx(long long bytes, int32_t add) {
  if (add)
    g_accounted_bytes += bytes;
  else
    g_accounted_bytes -= bytes;
}

long long KU_AccountedBytes() { return g_accounted_bytes.load(); }

void KU_AddPurgeCallback(KU_PurgeProc proc, void* refcon) {
  std::lock_guard<std::mutex> guard(g_purge_lock);
  PurgeCallbacks().push_back({proc, refcon});
}

void KU_RemovePurgeCallback(KU_PurgeProc proc, void* refcon) {
  std::lock_guard<std::mutex> guard(g_purge_lock);
  auto& callbacks = PurgeCallbacks();
  callbacks.erase(std::remove_if(callbacks.begin(), callbacks.end(),
                                 [&](const PurgeEntry& e) { return e.proc == proc && e.refcon == refcon; }),
                  callbacks.end());
}

KU_Err KU_PurgeLoop(size_t bytes, KU_PurgeTryProc try_proc, void* context, int32_t) {
  if (!try_proc) return 3;
  while (true) {
    bool succeeded = false;
    KU_Err err = try_proc(context, &succeeded);
    if (err) return err;
    if (succeeded) return 0;
    std::vector<PurgeEntry> callbacks;
    {
      std::lock_guard<std::mutex> guard(g_purge_lock);
      callbacks = PurgeCallbacks();
    }
    size_t freed = 0;
    for (const PurgeEntry& e : callbacks) {
      freed += e.proc(e.refcon, bytes);
      if (freed >= bytes) break;
    }
    if (freed == 0) return 4;
  }
}

void* KU_MemTrackedObject::operator new(size_t bytes) noexcept { return RawAllocate(bytes, false); }

void KU_MemTrackedObject::operator delete(void* ptr) noexcept { RawFree(ptr); }

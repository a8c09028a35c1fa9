// KU: the host's utility library — reporting, memory, handles, the CPU record,
// localised strings and the memory account.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

typedef int32_t KU_Err;
typedef void** KU_Handle;

constexpr int32_t KU_kVersion = 61;
KU_Err KU_CheckVersions(int32_t site, int32_t version);

// ---------------------------------------------------------------------------
// Reporting. Every report lands in a process-wide journal (unless the thread
// is in quiet mode) and goes to the installed handler, if any.

enum class KU_ReportKind : int32_t { Text = 0, Error = 1, Verification = 2, Exception = 3 };

struct KU_ReportRecord {
  KU_ReportKind kind;
  int32_t site;
  int32_t line;
  int32_t severity;
  std::string text;
};

// Returns and clears the journal of every report made so far on any thread.
std::vector<KU_ReportRecord> KU_TakeReports();

// A host may watch reports as they are made (for example to print them).
typedef void (*KU_ReportHandler)(const KU_ReportRecord& record, void* refcon);
void KU_SetReportHandler(KU_ReportHandler handler, void* refcon);

// Shows a text to the user. Returns 0.
KU_Err KUp_ReportErrString(int32_t site, int32_t severity, const char* text);
// Reports the text in the thread's logging buffer.
KU_Err KUp_ReportError(int32_t site, int32_t severity);
void KUp_SetThreadLastError(KU_Err code);
KU_Err KUp_GetThreadLastError();
constexpr size_t KU_kLoggingBufferSize = 1024;
char* KUp_GetThreadLoggingBuffer();  // KU_kLoggingBufferSize bytes, per thread

// A failed internal check: logged, execution goes on.
void KU_ReportFailedVerification(int32_t site, int32_t line, int32_t flags, const char* text);

// Exceptions of the host libraries that carry an error code derive from this.
class KU_CodedException : public std::exception {
 public:
  virtual KU_Err Code() const noexcept = 0;
};
// Reports a standard exception; returns 4 for bad_alloc, the code of a
// KU_CodedException, 3 for anything else.
KU_Err KU_TranslateAndReportException(const std::exception& e);

// Between start and end, reports made on this thread stay out of the journal.
// Nests; the start fails with 3 when nested absurdly deep.
KU_Err KU_StartQuietErrorsOnCurrentThread();
KU_Err KU_EndQuietErrorsOnCurrentThread();
bool KU_ErrorsAreQuietOnCurrentThread();

// ---------------------------------------------------------------------------
// Memory. All allocators of the layer honour the allocation-failure switch.

void* KU_AllocatePtr(int32_t site, const char* name, size_t bytes);       // null on failure
void* KU_AllocatePtrClear(int32_t site, const char* name, size_t bytes);  // zeroed
KU_Err KU_ResizePtr(int32_t site, void** ptr, const char* name, size_t bytes);
void KU_FreePtr(void* ptr);  // null is ignored
size_t KU_GetPtrSize(const void* ptr);

KU_Handle KU_AllocateHandle(int32_t site, const char* name, size_t bytes);
KU_Handle KU_AllocateHandleClear(int32_t site, const char* name, size_t bytes);
KU_Handle KU_AllocateHandleQuiet(size_t bytes);
void KU_FreeHandle(KU_Handle handle);  // null is ignored
size_t KU_GetHandleSize(KU_Handle handle);
KU_Err KU_ResizeHandle(int32_t site, KU_Handle handle, const char* name, size_t bytes);

void KUp_Memset16(void* dst, uint16_t value, size_t count);
void KUp_Memset32(void* dst, uint32_t value, size_t count);
uint32_t KU_LongSwap(uint32_t value);

// After n more successful allocations through the layer's allocators the next
// one fails; -1 turns this off.
void KU_FailAllocationsAfter(long n);
// Used by every allocator of the layer: false means this allocation must fail.
bool KUp_AllocationPermitted();

// The host's memory account.
void KU_AccountAllocationEx(long long bytes, int32_t add);
long long KU_AccountedBytes();

// Allocation under memory pressure: calls try_proc; while it does not succeed,
// asks the purge callbacks to free memory and tries again. Returns 0 once the
// routine succeeded, 4 when nothing more could be freed, or the routine's code.
typedef KU_Err (*KU_PurgeTryProc)(void* context, bool* succeeded);
KU_Err KU_PurgeLoop(size_t bytes, KU_PurgeTryProc try_proc, void* context, int32_t flags);
// A purge callback frees what it can and returns the number of bytes freed.
typedef size_t (*KU_PurgeProc)(void* refcon, size_t bytes_wanted);
void KU_AddPurgeCallback(KU_PurgeProc proc, void* refcon);
void KU_RemovePurgeCallback(KU_PurgeProc proc, void* refcon);

// Objects whose storage goes through the host's tracked memory. A failed
// allocation gives a null object, not an exception.
class KU_MemTrackedObject {
 public:
  static void* operator new(size_t bytes) noexcept;
  static void operator delete(void* ptr) noexcept;
};

// ---------------------------------------------------------------------------
// Threads.

KU_Err KU_GetNumThreads(int32_t* count);
void KU_SetNumThreads(int32_t count);  // the host's worker pool tells its size

// ---------------------------------------------------------------------------
// Localised strings. A table holds "key=English text" entries; lookups give
// the English text with the table's escapes (#{rsquo}) put in.

typedef struct KU_ZTable** KU_ZRef;
KU_ZRef KU_NewZStringTable(const char* const* entries, int32_t count);
void KU_DisposeZStringTable(KU_ZRef table);
const char* KU_ZLookupLStrCache(KU_ZRef table, int32_t index, int32_t, int32_t);
// "$$$/key=text" gives "text" with escapes put in; a plain string is unchanged.
std::string KU_ZStringToMBString(const char* zstring);
// Puts values[0] into ^L1, values[1] into ^L2 ... of the localised pattern.
// Returns 3 for bad arguments or a result that does not fit.
KU_Err KU_SubString(char* buffer, size_t size, const char* pattern, const char* const* values,
                    int32_t count);

// ---------------------------------------------------------------------------
// The CPU record: a pointer to a pointer to 32-bit flags, filled from the
// processor at load.

enum KU_CPUField : int32_t {
  KU_CPU_MMX = 0,
  KU_CPU_SSE = 1,
  KU_CPU_SSE2 = 2,
  KU_CPU_SSE3 = 3,
  KU_CPU_SSE41 = 4,
  KU_CPU_SSE42 = 5,
  KU_CPU_SSSE3 = 6,
  KU_CPU_AVX = 7,
  KU_CPU_AVX2 = 8,
  KU_CPU_AVX512 = 9,  // AVX-512 F, BW, VL and VBMI together, with the OS saving their state
  KU_CPU_FieldCount = 16
};
extern int32_t** KU_G_CPU_DataP;
// Overrides fields 2 (SSE2), 6 (SSSE3), 8 (AVX2) and 9 (AVX-512); a feature
// the processor lacks stays off, and each set needs the one before it (SSSE3
// needs SSE2, AVX2 needs SSSE3, AVX-512 needs AVX2). Routines chosen
// afterwards see it.
void KU_SetCPUFeatures(int sse2, int ssse3, int avx2, int avx512 = 1);
void KU_ResetCPUFeatures();  // back to what the processor has
inline bool KU_CPUHas(KU_CPUField field) { return (*KU_G_CPU_DataP)[field] != 0; }

// Private frame of the package: the guard, reporting helpers, message
// indexes, the noise cursor and the CPU record.
#pragma once

#include <exception>
#include <type_traits>
#include <utility>

#include "core/DepthDispatch.h"
#include "vx/Globals.h"
#include "vx/OverFuncs.h"
#include "vx/PixelTraits.h"
#include "vx/Types.h"
#include "vxhost/KU.h"

// Indexes of the message table VX_G_zref.
enum VXp_Message : int32_t {
  VXp_Msg_InvalidSelector = 0,
  VXp_Msg_InvalidParameter = 1,
  VXp_Msg_DisposeForeignWorld = 2,
  VXp_Msg_PlaneBuffer = 3,
  VXp_Msg_BadCallbackParameter = 4,
  VXp_Msg_ModuleProblem = 5,
  VXp_Msg_UnimplementedBlendingMode = 6,
  VXp_Msg_NoiseTable = 7,
  VXp_Msg_CantGuessAlpha = 8,
  VXp_Msg_Obsolete = 9,
  VXp_Msg_BlurMemory = 10,
  VXp_Msg_MaskBufferMemory = 11,
  VXp_Msg_DamagedMaskBuffer = 12,
  VXp_Msg_CantUnlockMaskBuffer = 13,
  VXp_Msg_GaussianWeights = 14,
  VXp_Msg_BlendingScratch = 15,
  VXp_Msg_CantCopyChannelWorlds = 16,
  VXp_Msg_ChannelChunkMemory = 17,
  VXp_Msg_ImageBuffer = 18,
  VXp_Msg_InvalidPlatformWorld = 19,
  VXp_kMessageCount = 20
};

// The English text of a message-table entry; null before VX_Birth.
const char* VXp_MessageText(int32_t index);
// Reports a message-table entry with KUp_ReportErrString at severity 8.
// Returns what the report returned.
VX_Err VXp_ReportMessage(int32_t site, int32_t index);
// Reports text 4 at 0x250000 | number and returns 3.
VX_Err VXp_BadParameter(int32_t number);
// Builds and disposes of the message table (start-up and shut-down).
VX_Err VXp_CreateMessageTable();
void VXp_DisposeMessageTable();

// The common guard of plain entry points: a thrown VX_Err becomes the result,
// a standard exception is reported and translated.
template <class Body>
VX_Err VXp_Guard(Body&& body) noexcept {
  try {
    if constexpr (std::is_void_v<decltype(body())>) {
      body();
      return VX_Err_None;
    } else {
      return body();
    }
  } catch (VX_Err code) {
    return code;
  } catch (const std::exception& e) {
    return KU_TranslateAndReportException(e);
  } catch (...) {
    KU_ReportFailedVerification(VXp_kSiteCatchAll, __LINE__, 0, "unknown exception");
    return VX_Err_BadParam;
  }
}

// Throws a non-zero code.
inline void VXp_ThrowIf(VX_Err err) {
  if (err) throw err;
}

// The VX_ProgressInfo rule: after rows 63, 127, ... ask progress, or else
// abort; a non-zero answer is thrown.
inline void VXp_CheckProgress64(const VX_ProgressInfo* progress, int32_t row, int32_t total) {
  if (!progress || (row & 63) != 63) return;
  VX_Err err = 0;
  if (progress->progress)
    err = progress->progress(progress->refcon, row, total);
  else if (progress->abort)
    err = progress->abort(progress->refcon);
  VXp_ThrowIf(err);
}

// The noise cursor over RNG_GetPrimeSizedTable: each value taken moves it one
// entry; it wraps to the base at the end. Shared and unlocked on purpose.
uint32_t VXp_NextNoise();
void VXp_ResetNoise();
void VXp_SetNoiseTable(const uint32_t* base, int32_t count);

// CPU record fields.
inline bool VXp_HasSSE2() { return (*KU_G_CPU_DataP)[KU_CPU_SSE2] != 0; }
inline bool VXp_HasSSSE3() { return (*KU_G_CPU_DataP)[KU_CPU_SSSE3] != 0; }
inline bool VXp_HasAVX2() { return (*KU_G_CPU_DataP)[KU_CPU_AVX2] != 0; }
inline bool VXp_HasAVX512() { return (*KU_G_CPU_DataP)[KU_CPU_AVX512] != 0; }
// The widest vector forms the CPU record allows, read once per call and
// carried into its kernels, so that a call never mixes instruction sets.
enum class VXp_Isa : int32_t { Scalar, SSE2, SSSE3, AVX2, AVX512 };
inline VXp_Isa VXp_WidestIsa() {
  if (VXp_HasAVX2()) return VXp_HasAVX512() ? VXp_Isa::AVX512 : VXp_Isa::AVX2;
  if (VXp_HasSSSE3()) return VXp_Isa::SSSE3;
  return VXp_HasSSE2() ? VXp_Isa::SSE2 : VXp_Isa::Scalar;
}

// Start-up pieces.
void VXp_BuildSoftLightTables();
void VXp_SetVectorConstants();
void VXp_ClearVectorConstants();
// Fills VXp_G_OverFuncs (start-up step 8): every subsystem installs its slots.
void VXp_FillOverFuncs();

// The alpha of every pixel outside `rect` (sorted and clamped) becomes 0.
template <class Pixel>
class VX_WorldX;
template <class Pixel>
void VXp_ClearAlphaExceptRect(VX_WorldX<Pixel>& world, const GEO_LRect& rect);

// Allocation under memory pressure: `attempt` runs quietly inside the host's
// purge loop, so the host can free caches between tries, until it gives a
// block or nothing more can be freed (null then). A block that was had is
// booked in the host's memory account; VXp_ReleaseBooked takes it off.
typedef void* (*VXp_AllocateAttempt)(size_t bytes, void* refcon);
void* VXp_AllocateUnderPressure(size_t bytes, VXp_AllocateAttempt attempt, void* refcon);
void VXp_ReleaseBooked(size_t bytes);

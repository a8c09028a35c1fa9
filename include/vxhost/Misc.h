// The host's small sibling libraries: file-type map, log, random table, text
// and effects version checks, window-creation mode.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vxhost/KU.h"

// FIO: file layer.
constexpr int32_t FIO_kVersion = 39;
KU_Err FIO_CheckVersions(int32_t site, int32_t version);
// Maps a file extension (".QMX") to a four-character type with flag bits.
KU_Err FIO_AddExtensionMap(const char* extension, uint32_t type, uint32_t flags);
// The type mapped for a file name's extension (case-insensitive), or 0.
uint32_t FIO_TypeForFileName(const char* file_name);

// TLOG: the host's event log.
struct TLOG_Entry {
  int32_t level;
  std::string module;
  std::string event;
  std::string text;
};
void TLOG_Log(int32_t level, const char* module, const char* event, const char* text);
std::vector<TLOG_Entry> TLOG_TakeEntries();

// RNG: a prime-sized table of random 32-bit values from a fixed seed; the same
// in every process.
constexpr int32_t RNG_kPrimeTableSize = 4093;
KU_Err RNG_GetPrimeSizedTable(const uint32_t** base, int32_t* count);

// TXT and QMFX: only their version checks are needed.
constexpr int32_t TXT_kVersion = 3;
constexpr int32_t QMFX_kVersion = 8;
KU_Err TXT_CheckVersions(int32_t site, int32_t version);
KU_Err QMFX_CheckVersions(int32_t site, int32_t version);

// GDIW: a bracket around bitmap creation; nests.
void GDIW_BeginGdiMinimalisticWindowCreationMode();
void GDIW_EndGdiMinimalisticWindowCreationMode();
int32_t GDIW_CreationModeDepth();

// Four-character codes as the host writes them: the first character in the
// top byte.
constexpr uint32_t HOST_FourCC(const char (&s)[5]) {
  return (uint32_t(uint8_t(s[0])) << 24) | (uint32_t(uint8_t(s[1])) << 16) |
         (uint32_t(uint8_t(s[2])) << 8) | uint32_t(uint8_t(s[3]));
}

// Test and host control over the sibling libraries' versions: a host that
// carries an older library reports its version here, and the checks fail.
// name is "KU", "TXT", "RB", "GEO", "FIO", "SEQ", "QMFX" or "ADDN".
KU_Err HOST_SetSiblingVersion(const char* name, int32_t version);
void HOST_ResetSiblingVersions();
// The version checks share this: 0 when `wanted` is what the library has,
// else a report and 7.
KU_Err HOSTp_CheckSiblingVersion(const char* name, int32_t site, int32_t wanted);

// The host's main window, as an opaque handle (null when it has none).
void HOST_SetMainWindow(void* window);
void* HOST_GetMainWindow();

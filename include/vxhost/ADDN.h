// ADDN: the host's plug-in library — a scan of module files, their routines
// and property lists, and the registry of named suites.
//
// How a module file describes itself: a shared object whose name ends in
// ".QMX" exports the C function
//     extern "C" const ADDN_ModuleDescription* ADDN_DescribeModule(void);
// returning a table of routines. Each routine has a four-character type, flag
// bits, an entry point and a property list of (key, value) pairs.
#pragma once

#include <cstdint>

#include "vxhost/KU.h"

constexpr int32_t ADDN_kVersion = 11;
KU_Err ADDN_CheckVersions(int32_t site, int32_t version);

constexpr const char* ADDN_kDescribeSymbol = "ADDN_DescribeModule";

// ---------------------------------------------------------------------------
// What a module exports.

struct ADDN_Property {
  uint32_t key;  // four-character code, first character in the top byte
  int32_t value;
};

struct ADDN_RoutineDescription {
  uint32_t type;   // four-character code, e.g. 'eFST'
  uint32_t flags;  // flag bits; their meaning is the client's
  const char* name;
  void* entry;     // the routine's entry point
  const ADDN_Property* properties;
  int32_t property_count;
};

constexpr int32_t ADDN_kDescriptionVersion = 1;

struct ADDN_ModuleDescription {
  int32_t description_version;  // ADDN_kDescriptionVersion
  int32_t routine_count;
  const ADDN_RoutineDescription* routines;
};

typedef const ADDN_ModuleDescription* (*ADDN_DescribeModuleProc)(void);

// ---------------------------------------------------------------------------
// The scan. A client installs a scan for file types; for each module file the
// scan calls module_found, and when all files are done scan_finished.

typedef struct ADDN_ModuleRec* ADDN_Module;     // a module file being scanned
typedef struct ADDN_RoutineRec* ADDN_Routine;   // a registered routine
typedef struct ADDN_TagListRec* ADDN_TagList;   // a routine's property list

typedef KU_Err (*ADDN_ModuleFoundProc)(void* refcon, ADDN_Module module);
typedef KU_Err (*ADDN_ScanFinishedProc)(void* refcon);

// types: type_count four-character codes; a module is offered to a scan when
// one of its routines has one of the types, or the file's type is one of them.
KU_Err ADDN_InstallScan(int32_t flags, int32_t type_count, const uint32_t* types, ADDN_ModuleFoundProc module_found,
                        ADDN_ScanFinishedProc scan_finished, void* refcon);
// Removes every scan installed with these callbacks.
KU_Err ADDN_RemoveScan(ADDN_ModuleFoundProc module_found, ADDN_ScanFinishedProc scan_finished);

// Adds a directory to look in. Returns 3 for null or empty.
KU_Err ADDN_AddScanDirectory(const char* dir);
void ADDN_ClearScanDirectories();
// Looks in the added directories and in VX_MODULE_PATH (colon-separated) for
// files ending in ".QMX", offers each to the installed scans, then finishes
// them. Broken files are reported and skipped. Returns 0 or the first error a
// scan callback returned.
KU_Err ADDN_RunPluginScan();

// Routines of the module being offered.
KU_Err ADDN_GetRoutineCount(ADDN_Module module, int32_t* count);
struct ADDN_RoutineInfo {
  uint32_t type;
  uint32_t flags;
  const char* name;
};
KU_Err ADDN_GetRoutineInfo(ADDN_Module module, int32_t index, ADDN_RoutineInfo* info);
KU_Err ADDN_GetRoutineTagList(ADDN_Module module, int32_t index, ADDN_TagList* list);
// Reads a property as a value of `size` bytes (1, 2 or 4). Returns 3 when the
// key is missing.
KU_Err ADDN_GetTagLProp(ADDN_TagList list, uint32_t key, int32_t size, void* value);
KU_Err ADDN_DisposeTagL(ADDN_TagList list);

// Keeps a routine (and its file) beyond the scan.
KU_Err ADDN_RegisterRoutine(ADDN_Module module, int32_t index, ADDN_Routine* routine);
// Makes the routine callable and gives its entry point.
KU_Err ADDN_PrepRoutine(ADDN_Routine routine, void** entry);
KU_Err ADDN_UnprepRoutine(ADDN_Routine routine);
// Releases the routine; the file is closed with its last routine.
KU_Err ADDN_UnregisterRoutine(ADDN_Routine routine);
int32_t ADDN_RegisteredRoutineCount();

// ---------------------------------------------------------------------------
// Suites: named, versioned tables of routines.

KU_Err ADDN_AddHBSuite(int32_t flags, int32_t reserved, const char* name, int32_t version, int32_t internal_version,
                       int32_t count, const void* table);
// Forgets every suite (a host shutting down its libraries).
void ADDN_RemoveAllSuites();

// The registered suites in the order of their first registration (a later
// registration of the same name and version replaces the table in place).
struct ADDN_SuiteInfo {
  const char* name;  // valid until ADDN_RemoveAllSuites
  int32_t version;
  int32_t internal_version;
  int32_t routine_count;
};
int32_t ADDN_GetSuiteCount();
// Returns 3 for an index out of range or a null info.
KU_Err ADDN_GetSuiteInfo(int32_t index, ADDN_SuiteInfo* info);

struct ADDN_HBBasicSuite {
  // Exact name and version. Returns 3 for null arguments, and a non-zero
  // code with *suite null when there is no such suite.
  KU_Err (*AcquireSuite)(const char* name, int32_t version, const void** suite);
  KU_Err (*ReleaseSuite)(const char* name, int32_t version);
  // How many acquisitions of the suite are outstanding; -1 for no such suite.
  int32_t (*AcquireCount)(const char* name, int32_t version);
  // Routines in the suite; -1 for no such suite.
  int32_t (*RoutineCount)(const char* name, int32_t version);
};
const ADDN_HBBasicSuite* ADDN_GetHBBasicSuite();

// Error of a suite that isn't registered.
constexpr KU_Err ADDN_kErrNoSuchSuite = 0x6E6F7375;  // "nosu"

// Acceleration modules: plug-in files (".QMX") found by the host's scan whose
// routines of type 'eFST' with flag bit 3 and property 'vers' = 2 may replace
// slots of VXp_G_OverFuncs at load.
//
// A module's routine entry point is a VX_ModuleEntryProc. It is called with
// selector 0 at load and may write the table given in the table block; a
// non-zero result makes the package restore every slot as it was. It is called
// with selector 1 (and null records) when the package shuts down.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vx/Types.h"

constexpr uint32_t VX_kModuleRoutineType = 0x65465354;  // 'eFST'
constexpr uint32_t VX_kModuleRoutineFlag = 1u << 3;
constexpr uint32_t VX_kModuleVersionKey = 0x76657273;   // 'vers'
constexpr int32_t VX_kModuleVersion = 2;

enum : int32_t { VX_ModuleSelector_Load = 0, VX_ModuleSelector_Unload = 1 };

// The standard maths and string routines handed to plug-ins, in this order;
// the last word is spare.
struct VX_ANSICallbacks {
  double (*atan)(double);
  double (*atan2)(double, double);
  double (*ceil)(double);
  double (*cos)(double);
  double (*exp)(double);
  double (*fabs)(double);
  double (*floor)(double);
  double (*fmod)(double, double);
  double (*hypot)(double, double);
  double (*log)(double);
  double (*log10)(double);
  double (*pow)(double, double);
  double (*sin)(double);
  double (*sqrt)(double);
  double (*tan)(double);
  int (*sprintf)(char*, const char*, ...);
  char* (*strcpy)(char*, const char*);
  double (*asin)(double);
  double (*acos)(double);
  void* spare;
};
void VXp_FillANSICallbacks(VX_ANSICallbacks* table);

// What the package gives a module at load.
struct VX_ModuleHostBlock {
  VX_Err (*report)(int32_t number, const char* text);  // reports at 0x250000 | number; returns 0
  VX_ANSICallbacks ansi[2];
  void* (*calloc)(size_t, size_t);
  void (*free)(void*);
  void* (*malloc)(size_t);
  void* (*realloc)(void*, size_t);
  void (*exit)(int);
  const uint8_t* fcm_table;
  const uint8_t* fcd_table;
};

struct VX_ModuleTableBlock {
  int32_t version;  // 2
  int32_t minor;    // 1
  void** over_funcs;  // VXp_G_OverFuncs, VX_kOverFuncCount slots
};

typedef VX_Err (*VX_ModuleEntryProc)(int32_t selector, const int32_t* word, const VX_ModuleHostBlock* host,
                                     VX_ModuleTableBlock* table);

// Modules loaded and in use.
int32_t VX_LoadedModuleCount();

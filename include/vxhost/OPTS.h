// OPTS: the host's preference store. Each owner (a library or plug-in) has a
// handle; texts are filed under a section and a key.
//
// How a host sets a preference of the package:
//   OPTS_SetTextPrefData(OPTS_GetPrefsHandle("VX"), "Display Transform Section",
//       "Clip over range in Display Transform when not Theater Preview", "true");
// Boolean preferences read "1", "true", "yes" or "on" (any case) as true.
#pragma once

#include <string>

#include "vxhost/KU.h"

typedef struct OPTS_Store* OPTS_PrefsH;

// The store of an owner, made on first use; null for a null name.
OPTS_PrefsH OPTS_GetPrefsHandle(const char* owner);

// Reads a text: 0 with *found set (and *text filled when found); 3 for a null
// argument, or the failure a host has asked for with OPTS_SetReadFailure.
KU_Err OPTS_GetTextPrefData(OPTS_PrefsH prefs, const char* section, const char* key, std::string* text,
                            bool* found);
// Writes a text; 3 for a null argument.
KU_Err OPTS_SetTextPrefData(OPTS_PrefsH prefs, const char* section, const char* key, const char* text);
// Forgets a key; absent keys are no error.
KU_Err OPTS_RemovePrefData(OPTS_PrefsH prefs, const char* section, const char* key);
// A boolean reading of a preference text, `fallback` for other texts.
bool OPTS_TextIsTrue(const std::string& text, bool fallback);

// Host and test control: every read fails with `code` until it is set to 0.
void OPTS_SetReadFailure(KU_Err code);

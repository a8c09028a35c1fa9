// SEQ: the host's list library — growable arrays of fixed-size records.
#pragma once

#include <cstdint>

#include "vxhost/KU.h"

constexpr int32_t SEQ_kVersion = 9;
KU_Err SEQ_CheckVersions(int32_t site, int32_t version);

typedef struct SEQ_ListRec* SEQ_List;

constexpr int32_t SEQ_kAppend = -1;

// kind and the two flags are the caller's tags, kept but not interpreted.
KU_Err SEQ_New(int32_t kind, int32_t element_size, int32_t flags1, int32_t flags2, SEQ_List* out);
KU_Err SEQ_Dispose(SEQ_List list, int32_t flags);
int32_t SEQ_Count(SEQ_List list);
// Inserts a copy of the element before `index`, or at the end for SEQ_kAppend.
KU_Err SEQ_Insert(SEQ_List list, int32_t index, const void* element);
KU_Err SEQ_Delete(SEQ_List list, int32_t index);
KU_Err SEQ_Get(SEQ_List list, int32_t index, void* element_out);
KU_Err SEQ_Set(SEQ_List list, int32_t index, const void* element);
// Locks the list and gives the address of its first element; the list may not
// grow while locked.
KU_Err SEQ_GetAddress(SEQ_List list, void** address_out);
KU_Err SEQ_Lock(SEQ_List list);
KU_Err SEQ_Unlock(SEQ_List list);

// Lists: growable arrays of fixed-size records.
#include <cstring>
#include <vector>

#include "vxhost/SEQ.h"

struct SEQ_ListRec {
  int32_t kind;
  int32_t element_size;
  int32_t lock_count = 0;
  std::vector<unsigned char> bytes;
  int32_t Count() const { return static_cast<int32_t>(bytes.size() / element_size); }
};

KU_Err SEQ_New(int32_t kind, int32_t element_size, int32_t, int32_t, SEQ_List* out) {
  if (!out) return 3;
  *out = nullptr;
  if (element_size <= 0) return 3;
  if (!KUp_AllocationPermitted()) return 4;
  *out = new SEQ_ListRec{kind, element_size, 0, {}};
  return 0;
}

KU_Err SEQ_Dispose(SEQ_List list, int32_t) {
  if (!list) return 3;
  delete list;
  return 0;
}

int32_t SEQ_Count(SEQ_List list) { return list ? list->Count() : 0; }

KU_Err SEQ_Insert(SEQ_List list, int32_t index, const void* element) {
  if (!list || !element) return 3;
  if (list->lock_count > 0) return 3;  // the address handed out must stay valid
  const int32_t count = list->Count();
  if (index == SEQ_kAppend) index = count;
  if (index < 0 || index > count) return 3;
  if (!KUp_AllocationPermitted()) return 4;
  const auto* p = static_cast<const unsigned char*>(element);
  list->bytes.insert(list->bytes.begin() + static_cast<size_t>(index) * list->element_size, p,
                     p + list->element_size);
  return 0;
}

KU_Err SEQ_Delete(SEQ_List list, int32_t index) {
  if (!list || index < 0 || index >= list->Count() || list->lock_count > 0) return 3;
  auto at = list->bytes.begin() + static_cast<size_t>(index) * list->element_size;
  list->bytes.erase(at, at + list->element_size);
  return 0;
}

KU_Err SEQ_Get(SEQ_List list, int32_t index, void* element_out) {
  if (!list || !element_out || index < 0 || index >= list->Count()) return 3;
  std::memcpy(element_out, list->bytes.data() + static_cast<size_t>(index) * list->element_size, list->element_size);
  return 0;
}

KU_Err SEQ_Set(SEQ_List list, int32_t index, const void* element) {
  if (!list || !element || index < 0 || index >= list->Count()) return 3;
  std::memcpy(list->bytes.data() + static_cast<size_t>(index) * list->element_size, element, list->element_size);
  return 0;
}

KU_Err SEQ_GetAddress(SEQ_List list, void** address_out) {
  if (!list || !address_out) return 3;
  ++list->lock_count;
  *address_out = list->bytes.empty() ? nullptr : list->bytes.data();
  return 0;
}

KU_Err SEQ_Lock(SEQ_List list) {
  if (!list) return 3;
  ++list->lock_count;
  return 0;
}

KU_Err SEQ_Unlock(SEQ_List list) {
  if (!list) return 3;
  if (list->lock_count > 0) --list->lock_count;
  return 0;
}

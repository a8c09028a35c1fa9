// Large allocations go through the host's purge loop, quietly, and are booked
// in its memory account.
#include "core/Internal.h"

namespace {

struct Request {
  size_t bytes;
  VXp_AllocateAttempt attempt;
  void* refcon;
  void* block;
};

KU_Err TryOnce(void* context, bool* succeeded) {
  auto* request = static_cast<Request*>(context);
  if (KU_Err err = KU_StartQuietErrorsOnCurrentThread()) throw VX_Err(err);
  *succeeded = false;
  request->block = request->attempt(request->bytes, request->refcon);
  if (request->block) *succeeded = true;
  return KU_EndQuietErrorsOnCurrentThread();
}

}  // namespace

void* VXp_AllocateUnderPressure(size_t bytes, VXp_AllocateAttempt attempt, void* refcon) {
  Request request{bytes, attempt, refcon, nullptr};
  if (KU_PurgeLoop(bytes, TryOnce, &request, 0) != 0 || !request.block) return nullptr;
  KU_AccountAllocationEx(static_cast<long long>(bytes), 1);
  return request.block;
}

void VXp_ReleaseBooked(size_t bytes) { KU_AccountAllocationEx(static_cast<long long>(bytes), 0); }

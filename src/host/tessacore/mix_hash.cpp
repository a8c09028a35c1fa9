// The 128-bit mixing hash on xxHash (XXH3, 128 bits).
#define XXH_STATIC_LINKING_ONLY
#include <xxhash.h>

#include "vxhost/tessacore.h"

namespace tessacore::utility {

void MixHash::MixInData(const void* data, size_t size) {
  words_[3] += static_cast<uint32_t>(size);
  XXH3_state_t state;
  XXH3_INITSTATE(&state);
  XXH3_128bits_reset(&state);
  XXH3_128bits_update(&state, words_, sizeof words_);
  if (size) XXH3_128bits_update(&state, data, size);
  const XXH128_hash_t h = XXH3_128bits_digest(&state);
  words_[0] = static_cast<uint32_t>(h.low64);
  words_[1] = static_cast<uint32_t>(h.low64 >> 32);
  words_[2] = static_cast<uint32_t>(h.high64);
  words_[3] = static_cast<uint32_t>(h.high64 >> 32);
}

}  // namespace tessacore::utility

// A profile's identity: an MD5 digest over what the profile means, so the
// same profile has the same identifier in every process and at every moment.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orx {

// RFC 1321 digest of `size` bytes.
void MD5(const void* data, size_t size, uint8_t digest[16]);

// The header fields a profile's own ID leaves out (flags, rendering intent,
// the ID itself) zeroed, and with `without_date` its creation date too.
// `icc` holds at least the 128-byte header.
void DigestProfileBytes(const uint8_t* icc, size_t size, bool without_date, uint8_t digest[16]);

// Whether an ICC file carries a non-zero ID that matches its bytes.
bool CarriesValidID(const uint8_t* icc, size_t size);

}  // namespace orx

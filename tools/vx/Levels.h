// 16-bit channel values between files and worlds. Files use 0..65535, worlds
// 0..32768. Going world -> file -> world gives back every world value exactly
// (the file scale is finer, so rounding both ways recovers it); a file value
// read and written again lands on the nearest value a world can hold.
#pragma once

#include <cstdint>

namespace vxtool {

// round(w x 65535 / 32768), halves up.
constexpr uint16_t WorldToFile16(uint32_t w) { return static_cast<uint16_t>((w * 65535u + 16384u) >> 15); }
// round(f x 32768 / 65535), halves up.
constexpr uint16_t FileToWorld16(uint32_t f) { return static_cast<uint16_t>((f * 65536u + 65535u) / 131070u); }

}  // namespace vxtool

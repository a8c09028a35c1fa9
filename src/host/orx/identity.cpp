// MD5 and the digest of a profile's bytes.
#include <algorithm>
#include <cstring>
#include <vector>

#include "orx/Identity.h"

namespace orx {
namespace {

constexpr uint32_t kK[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
constexpr int kShift[16] = {7, 12, 17, 22, 5, 9, 14, 20, 4, 11, 16, 23, 6, 10, 15, 21};

uint32_t Rotl(uint32_t x, int n) { return (x << n) | (x >> (32 - n)); }

void Block(uint32_t h[4], const uint8_t* p) {
  uint32_t m[16];
  for (int i = 0; i < 16; ++i)
    m[i] = uint32_t(p[4 * i]) | uint32_t(p[4 * i + 1]) << 8 | uint32_t(p[4 * i + 2]) << 16 | uint32_t(p[4 * i + 3]) << 24;
  uint32_t a = h[0], b = h[1], c = h[2], d = h[3];
  for (int i = 0; i < 64; ++i) {
    uint32_t f;
    int g;
    switch (i / 16) {
      case 0: f = (b & c) | (~b & d), g = i; break;
      case 1: f = (d & b) | (~d & c), g = (5 * i + 1) % 16; break;
      case 2: f = b ^ c ^ d, g = (3 * i + 5) % 16; break;
      default: f = c ^ (b | ~d), g = (7 * i) % 16; break;
    }
    const uint32_t next = b + Rotl(a + f + kK[i] + m[g], kShift[(i / 16) * 4 + i % 4]);
    a = d, d = c, c = b, b = next;
  }
  h[0] += a, h[1] += b, h[2] += c, h[3] += d;
}

// Header offsets of the fields that are not content.
constexpr size_t kDate = 24, kDateSize = 12, kFlags = 44, kIntent = 64, kID = 84;

}  // namespace

void MD5(const void* data, size_t size, uint8_t digest[16]) {
  uint32_t h[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  const auto* p = static_cast<const uint8_t*>(data);
  size_t whole = size / 64 * 64;
  for (size_t i = 0; i < whole; i += 64) Block(h, p + i);
  uint8_t tail[128] = {};
  const size_t rest = size - whole;
  if (rest) std::memcpy(tail, p + whole, rest);
  tail[rest] = 0x80;
  const size_t tail_size = rest < 56 ? 64 : 128;
  const uint64_t bits = uint64_t(size) * 8;
  for (int i = 0; i < 8; ++i) tail[tail_size - 8 + i] = static_cast<uint8_t>(bits >> (8 * i));
  for (size_t i = 0; i < tail_size; i += 64) Block(h, tail + i);
  for (int i = 0; i < 16; ++i) digest[i] = static_cast<uint8_t>(h[i / 4] >> (8 * (i % 4)));
}

void DigestProfileBytes(const uint8_t* icc, size_t size, bool without_date, uint8_t digest[16]) {
  std::vector<uint8_t> bytes(icc, icc + size);
  std::fill_n(bytes.begin() + kFlags, 4, 0);
  std::fill_n(bytes.begin() + kIntent, 4, 0);
  std::fill_n(bytes.begin() + kID, 16, 0);
  if (without_date) std::fill_n(bytes.begin() + kDate, kDateSize, 0);
  MD5(bytes.data(), bytes.size(), digest);
}

bool CarriesValidID(const uint8_t* icc, size_t size) {
  const uint8_t* own = icc + kID;
  if (std::all_of(own, own + 16, [](uint8_t b) { return b == 0; })) return false;
  uint8_t digest[16];
  DigestProfileBytes(icc, size, false, digest);
  return std::memcmp(digest, own, 16) == 0;
}

}  // namespace orx

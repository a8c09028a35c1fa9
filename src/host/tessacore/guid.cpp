// Guid text form and comparison.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "vxhost/tessacore.h"

namespace tessacore::utility {

std::string Guid::ToString() const {
  char text[40];
  std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", data1, data2, data3,
                data4[0], data4[1], data4[2], data4[3], data4[4], data4[5], data4[6], data4[7]);
  return text;
}

namespace {

bool HexDigits(const char* p, int n, uint32_t* value) {
  uint32_t v = 0;
  for (int i = 0; i < n; ++i) {
    const int c = std::tolower(static_cast<unsigned char>(p[i]));
    if (c >= '0' && c <= '9')
      v = v * 16 + static_cast<uint32_t>(c - '0');
    else if (c >= 'a' && c <= 'f')
      v = v * 16 + static_cast<uint32_t>(c - 'a' + 10);
    else
      return false;
  }
  *value = v;
  return true;
}

}  // namespace

bool Guid::FromString(const std::string& text, Guid* out) {
  std::string s = text;
  if (s.size() == 38 && s.front() == '{' && s.back() == '}') s = s.substr(1, 36);
  if (s.size() != 36 || s[8] != '-' || s[13] != '-' || s[18] != '-' || s[23] != '-' || !out) return false;
  Guid g;
  uint32_t v = 0;
  if (!HexDigits(&s[0], 8, &g.data1)) return false;
  if (!HexDigits(&s[9], 4, &v)) return false;
  g.data2 = static_cast<uint16_t>(v);
  if (!HexDigits(&s[14], 4, &v)) return false;
  g.data3 = static_cast<uint16_t>(v);
  const int at[8] = {19, 21, 24, 26, 28, 30, 32, 34};
  for (int i = 0; i < 8; ++i) {
    if (!HexDigits(&s[at[i]], 2, &v)) return false;
    g.data4[i] = static_cast<uint8_t>(v);
  }
  *out = g;
  return true;
}

bool Guid::IsNull() const { return *this == Guid{}; }

bool operator==(const Guid& a, const Guid& b) {
  return a.data1 == b.data1 && a.data2 == b.data2 && a.data3 == b.data3 && std::memcmp(a.data4, b.data4, 8) == 0;
}

}  // namespace tessacore::utility

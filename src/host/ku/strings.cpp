// Localised strings: "key=English" tables, escapes and ^L substitution.
#include <cstring>
#include <string>
#include <vector>

#include "vxhost/KU.h"

struct KU_ZTable {
  std::vector<std::string> texts;  // English texts, escapes already put in
};

namespace {

// The table's escapes for typographic characters, and their UTF-8 forms.
struct Escape {
  const char* name;
  const char* utf8;
};
constexpr Escape kEscapes[] = {
    {"#{rsquo}", "\xE2\x80\x99"}, {"#{lsquo}", "\xE2\x80\x98"},   {"#{rdquo}", "\xE2\x80\x9D"},
    {"#{ldquo}", "\xE2\x80\x9C"}, {"#{ellipsis}", "\xE2\x80\xA6"}, {"#{emdash}", "\xE2\x80\x94"},
};

std::string PutInEscapes(std::string text) {
  for (const Escape& e : kEscapes) {
    size_t at = 0;
    const size_t len = std::strlen(e.name);
    while ((at = text.find(e.name, at)) != std::string::npos) {
      text.replace(at, len, e.utf8);
      at += std::strlen(e.utf8);
    }
  }
  return text;
}

}  // namespace

std::string KU_ZStringToMBString(const char* zstring) {
  if (!zstring) return std::string();
  const char* text = zstring;
  if (std::strncmp(zstring, "$$$/", 4) == 0) {
    const char* eq = std::strchr(zstring, '=');
    text = eq ? eq + 1 : zstring + std::strlen(zstring);
  }
  return PutInEscapes(text);
}

KU_ZRef KU_NewZStringTable(const char* const* entries, int32_t count) {
  if (count < 0 || (count > 0 && !entries)) return nullptr;
  auto* master = new KU_ZTable*;
  *master = new KU_ZTable;
  for (int32_t i = 0; i < count; ++i) (*master)->texts.push_back(KU_ZStringToMBString(entries[i]));
  return master;
}

void KU_DisposeZStringTable(KU_ZRef table) {
  if (!table) return;
  delete *table;
  delete table;
}

const char* KU_ZLookupLStrCache(KU_ZRef table, int32_t index, int32_t, int32_t) {
  if (!table || !*table || index < 0 || index >= static_cast<int32_t>((*table)->texts.size())) return nullptr;
  return (*table)->texts[index].c_str();
}

KU_Err KU_SubString(char* buffer, size_t size, const char* pattern, const char* const* values, int32_t count) {
  if (!buffer || size == 0 || !pattern || count < 0 || (count > 0 && !values)) return 3;
  const std::string text = KU_ZStringToMBString(pattern);
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '^' && i + 2 < text.size() && text[i + 1] == 'L' && text[i + 2] >= '1' &&
        text[i + 2] <= '9') {
      const int n = text[i + 2] - '1';
      if (n < count && values[n]) out += values[n];
      i += 2;
      continue;
    }
    out += text[i];
  }
  if (out.size() + 1 > size) {
    buffer[0] = 0;
    return 3;
  }
  std::memcpy(buffer, out.c_str(), out.size() + 1);
  return 0;
}

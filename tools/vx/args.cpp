#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "Args.h"
#include "ToolError.h"

namespace vxtool {
namespace {

const OptionDef* Find(const std::vector<OptionDef>& options, const std::string& name, char short_name) {
  for (const OptionDef& o : options)
    if ((!name.empty() && o.name == name) || (short_name && o.short_name == short_name)) return &o;
  return nullptr;
}

}  // namespace

std::optional<std::string> Args::Value(const std::string& name) const {
  auto it = values.find(name);
  if (it == values.end()) return std::nullopt;
  return it->second;
}

double Args::Number(const std::string& name, double fallback) const {
  auto v = Value(name);
  return v ? ParseFinite(*v, "--" + name) : fallback;
}

int64_t Args::Integer(const std::string& name, int64_t fallback, int64_t lo, int64_t hi) const {
  auto v = Value(name);
  return v ? ParseInteger(*v, lo, hi, "--" + name) : fallback;
}

double ParseFinite(const std::string& text, const std::string& what) {
  const bool starts_well = !text.empty() && !std::isspace(static_cast<unsigned char>(text[0]));
  char* end = nullptr;
  errno = 0;
  const double d = starts_well ? std::strtod(text.c_str(), &end) : 0;
  if (!starts_well || *end != 0 || !std::isfinite(d) || errno == ERANGE)
    throw ToolError(what + " wants a finite number, not '" + text + "'");
  return d;
}

int64_t ParseInteger(const std::string& text, int64_t lo, int64_t hi, const std::string& what) {
  const bool digits = !text.empty() && (std::isdigit(static_cast<unsigned char>(text[0])) ||
                                        ((text[0] == '-' || text[0] == '+') && text.size() > 1));
  char* end = nullptr;
  errno = 0;
  const long long n = digits ? std::strtoll(text.c_str(), &end, 10) : 0;
  if (!digits || *end != 0 || errno == ERANGE || n < lo || n > hi)
    throw ToolError(what + " wants a whole number from " + std::to_string(lo) + " to " + std::to_string(hi) +
                    ", not '" + text + "'");
  return n;
}

uint64_t ParseByteCount(const std::string& text, const std::string& what) {
  size_t digits = 0;
  while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits]))) ++digits;
  std::string unit = text.substr(digits);
  for (char& c : unit) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  const char* units[] = {"", "K", "M", "G", "T"};
  int shift = -1;
  for (int i = 0; i < 5; ++i)
    for (const char* tail : {"", "B", "IB"})
      if (unit == std::string(units[i]) + tail && !(i == 0 && *tail == 'I')) shift = 10 * i;
  char* end = nullptr;
  errno = 0;
  const unsigned long long n = digits ? std::strtoull(text.substr(0, digits).c_str(), &end, 10) : 0;
  if (shift < 0 || n == 0 || errno == ERANGE || n > (UINT64_MAX >> shift))
    throw ToolError(what + " wants a byte count such as 512M or 4G, not '" + text + "'");
  return static_cast<uint64_t>(n) << shift;
}

std::string ByteText(uint64_t bytes) {
  const char* units[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
  double v = static_cast<double>(bytes);
  int i = 0;
  while (v >= 1024 && i < 4) {
    v /= 1024;
    ++i;
  }
  char text[32];
  std::snprintf(text, sizeof text, i ? "%.1f %s" : "%.0f %s", v, units[i]);
  return text;
}

Args ParseArgs(const std::vector<std::string>& words, const std::vector<OptionDef>& options) {
  Args args;
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string& w = words[i];
    if (w == "--help" || w == "-h") {
      args.help = true;
      continue;
    }
    if (w.size() < 2 || w[0] != '-' || (w[1] >= '0' && w[1] <= '9')) {
      args.positional.push_back(w);
      continue;
    }
    std::string name, value;
    bool has_inline_value = false;
    const OptionDef* option = nullptr;
    if (w.rfind("--", 0) == 0) {
      name = w.substr(2);
      const size_t eq = name.find('=');
      if (eq != std::string::npos) {
        value = name.substr(eq + 1);
        name = name.substr(0, eq);
        has_inline_value = true;
      }
      option = Find(options, name, 0);
    } else if (w.size() == 2) {
      option = Find(options, "", w[1]);
    }
    if (!option) throw ToolError("unknown option '" + w + "' (see --help)");
    if (!option->takes_value) {
      if (has_inline_value) throw ToolError("--" + option->name + " takes no value");
      args.flags.insert(option->name);
      continue;
    }
    if (!has_inline_value) {
      if (i + 1 >= words.size()) throw ToolError("--" + option->name + " needs a value");
      value = words[++i];
    }
    args.values[option->name] = value;
  }
  return args;
}

std::string OptionsHelp(const std::vector<OptionDef>& options) {
  std::string out;
  for (const OptionDef& o : options) {
    std::string left = "  ";
    left += o.short_name ? std::string("-") + o.short_name + ", " : std::string("    ");
    left += "--" + o.name + (o.takes_value ? " VALUE" : "");
    if (left.size() < 28) left.resize(28, ' ');
    out += left + " " + o.help + "\n";
  }
  return out;
}

}  // namespace vxtool

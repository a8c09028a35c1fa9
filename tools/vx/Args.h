// Command-line arguments of a subcommand: positionals, options with values
// (--name VALUE or --name=VALUE, -o VALUE), and flags.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vxtool {

struct OptionDef {
  std::string name;   // without dashes: "opacity"
  char short_name;    // 'o', or 0
  bool takes_value;
  std::string help;   // one line for --help
};

struct Args {
  std::vector<std::string> positional;
  std::map<std::string, std::string> values;
  std::set<std::string> flags;
  bool help = false;

  bool Has(const std::string& name) const { return values.count(name) || flags.count(name); }
  std::optional<std::string> Value(const std::string& name) const;
  // A finite number, or throws a ToolError naming the option.
  double Number(const std::string& name, double fallback) const;
  // A whole number from lo to hi, or throws a ToolError naming the option.
  int64_t Integer(const std::string& name, int64_t fallback, int64_t lo, int64_t hi) const;
};

// Strict parsers: the whole text, no leading space, range-checked, never
// wrapping; NaN and infinities are refused. `what` names the option in the
// error ("--opacity").
double ParseFinite(const std::string& text, const std::string& what);
int64_t ParseInteger(const std::string& text, int64_t lo, int64_t hi, const std::string& what);
// A byte count with an optional K, M, G or T (powers of 1024, "MB" and "MiB"
// too): "512M", "4GiB", "1000000".
uint64_t ParseByteCount(const std::string& text, const std::string& what);
// "3.4 GiB".
std::string ByteText(uint64_t bytes);

// Throws a ToolError for unknown options or missing values.
Args ParseArgs(const std::vector<std::string>& words, const std::vector<OptionDef>& options);

std::string OptionsHelp(const std::vector<OptionDef>& options);

}  // namespace vxtool

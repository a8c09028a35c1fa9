// Command-line arguments of a subcommand: positionals, options with values
// (--name VALUE or --name=VALUE, -o VALUE), and flags.
#pragma once

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
  // Parses a number, or throws a ToolError naming the option.
  double Number(const std::string& name, double fallback) const;
};

// Throws a ToolError for unknown options or missing values.
Args ParseArgs(const std::vector<std::string>& words, const std::vector<OptionDef>& options);

std::string OptionsHelp(const std::vector<OptionDef>& options);

}  // namespace vxtool

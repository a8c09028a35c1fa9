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
  if (!v) return fallback;
  char* end = nullptr;
  const double d = std::strtod(v->c_str(), &end);
  if (v->empty() || *end != 0) throw ToolError("--" + name + " wants a number, not '" + *v + "'");
  return d;
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

// The subcommands of the tool.
#pragma once

#include <string>
#include <vector>

#include "Args.h"

namespace vxtool {

struct Command {
  const char* name;
  const char* usage;    // after "vx NAME "
  const char* summary;  // one line
  std::vector<OptionDef> options;
  int (*run)(const Args& args);
};

const std::vector<Command>& AllCommands();

// Options every subcommand takes.
extern const OptionDef kQuietOption;
extern const OptionDef kMaxMemoryOption;

// Each command.
int RunInfo(const Args& args);
int RunConvert(const Args& args);
int RunComposite(const Args& args);
int RunModes(const Args& args);
int RunDemo(const Args& args);
int RunFlow(const Args& args);

}  // namespace vxtool

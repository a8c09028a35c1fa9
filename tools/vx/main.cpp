// vx: a host program over the VX library.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Commands.h"
#include "Image.h"
#include "Progress.h"
#include "ToolError.h"

namespace {

void PrintUsage() {
  std::printf("usage: vx COMMAND [ARGS...]\n\ncommands:\n");
  for (const vxtool::Command& c : vxtool::AllCommands()) std::printf("  %-10s %s\n", c.name, c.summary);
  std::printf("\n'vx COMMAND --help' tells more. Modules are looked for in VX_MODULE_PATH.\n"
              "Ctrl-C, SIGTERM and SIGHUP stop a command between rows (exit 130, 143, 129) and keep an\n"
              "existing output as it was.\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
    PrintUsage();
    return argc < 2 ? 2 : 0;
  }
  const std::string name = argv[1];
  for (const vxtool::Command& command : vxtool::AllCommands()) {
    if (name != command.name) continue;
    try {
      const vxtool::Args args =
          vxtool::ParseArgs(std::vector<std::string>(argv + 2, argv + argc), command.options);
      if (args.help) {
        std::printf("usage: vx %s %s\n\n%s\n\noptions:\n%s", command.name, command.usage, command.summary,
                    vxtool::OptionsHelp(command.options).c_str());
        return 0;
      }
      vxtool::InstallInterruptHandler();
      if (auto limit = args.Value("max-memory"))
        vxtool::SetImageByteLimit(vxtool::ParseByteCount(*limit, "--max-memory"));
      else
        vxtool::ImageByteLimit();  // a bad VX_MAX_IMAGE_BYTES is refused before any work
      return command.run(args);
    } catch (const vxtool::ToolError& e) {
      std::fprintf(stderr, "vx %s: %s\n", command.name, e.what());
      return e.exit_code();
    } catch (const std::exception& e) {
      std::fprintf(stderr, "vx %s: %s\n", command.name, e.what());
      return 1;
    }
  }
  std::fprintf(stderr, "vx: unknown command '%s' (see vx --help)\n", name.c_str());
  return 2;
}

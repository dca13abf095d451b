// varnock: everyday jobs on HEC-DSS files from the command line.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cli.h"

namespace {

void PrintToolHelp() {
  std::printf(
      "usage: varnock COMMAND [ARGUMENTS]\n\n"
      "Everyday jobs on HEC-DSS version 7 files.\n\ncommands:\n");
  for (const auto& command : varnock::cli::Commands())
    std::printf("  %-10s %s\n", command.name, command.summary);
  std::printf("\n'varnock COMMAND --help' describes one command.\n");
}

}  // namespace

int main(int argc, char** argv) {
  using varnock::cli::Failure;
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0 ||
      std::strcmp(argv[1], "help") == 0) {
    PrintToolHelp();
    return argc < 2 ? varnock::cli::kExitUsage : varnock::cli::kExitOk;
  }
  const std::string name = argv[1];
  const std::vector<std::string> args(argv + 2, argv + argc);
  for (const auto& command : varnock::cli::Commands()) {
    if (name != command.name) continue;
    try {
      for (const std::string& arg : args) {
        if (arg == "--help" || arg == "-h") {
          std::printf("%s", command.usage);
          return varnock::cli::kExitOk;
        }
      }
      return command.run(args);
    } catch (const Failure& failure) {
      std::fprintf(stderr, "varnock %s: %s\n", command.name, failure.what());
      return failure.code();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "varnock %s: %s\n", command.name, error.what());
      return varnock::cli::kExitFailure;
    }
  }
  std::fprintf(stderr, "varnock: unknown command '%s' (see 'varnock --help')\n", name.c_str());
  return varnock::cli::kExitUsage;
}

// varnock: everyday jobs on HEC-DSS files from the command line.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cli.h"

namespace {

using varnock::cli::Command;

void PrintToolHelp() {
  std::printf(
      "usage: varnock COMMAND [ARGUMENTS]\n\n"
      "Everyday jobs on HEC-DSS version 7 files.\n\ncommands:\n");
  for (const auto& command : varnock::cli::Commands())
    std::printf("  %-10s %s\n", command.name, command.summary);
  std::printf(
      "\n'varnock help COMMAND' or 'varnock COMMAND --help' describes one command;\n"
      "'varnock --version' prints the version.\n");
}

const Command* FindCommand(const std::string& name) {
  for (const auto& command : varnock::cli::Commands()) {
    if (name == command.name) return &command;
  }
  return nullptr;
}

int UnknownCommand(const std::string& name) {
  std::fprintf(stderr, "varnock: unknown command '%s' (see 'varnock --help')\n", name.c_str());
  return varnock::cli::kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
  using varnock::cli::Failure;
  const std::string first = argc < 2 ? "" : argv[1];
  if (first.empty() || first == "--help" || first == "-h" || (first == "help" && argc == 2)) {
    PrintToolHelp();
    return first.empty() ? varnock::cli::kExitUsage : varnock::cli::kExitOk;
  }
  if (first == "--version") {
    std::printf("varnock %s\n", VARNOCK_VERSION);
    return varnock::cli::kExitOk;
  }
  if (first == "help") {
    const Command* command = FindCommand(argv[2]);
    if (command == nullptr) return UnknownCommand(argv[2]);
    std::printf("%s", command->usage);
    return varnock::cli::kExitOk;
  }
  const Command* command = FindCommand(first);
  if (command == nullptr) return UnknownCommand(first);
  const std::vector<std::string> args(argv + 2, argv + argc);
  try {
    for (const std::string& arg : args) {
      if (arg == "--help" || arg == "-h") {
        std::printf("%s", command->usage);
        return varnock::cli::kExitOk;
      }
    }
    return command->run(args);
  } catch (const Failure& failure) {
    std::fprintf(stderr, "varnock %s: %s\n", command->name, failure.what());
    return failure.code();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnock %s: %s\n", command->name, error.what());
    return varnock::cli::kExitFailure;
  }
}

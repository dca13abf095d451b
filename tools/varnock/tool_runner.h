// Test support: runs the varnock tool and collects its output, messages and exit code.
#ifndef VARNOCK_TOOLS_VARNOCK_TOOL_RUNNER_H_
#define VARNOCK_TOOLS_VARNOCK_TOOL_RUNNER_H_

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/support/temp_folder.h"

namespace varnock::testing {

struct Outcome {
  int exit_code = -1;
  std::string out;
  std::string err;
};

// The tool under test; VARNOCK_TOOL names another build of it.
inline std::string ToolPath() {
  const char* other = std::getenv("VARNOCK_TOOL");
  return other != nullptr && *other != '\0' ? other : VARNOCK_TOOL_PATH;
}

// Runs the tool with the given argument text (already shell-quoted where needed); `environment`
// is put before the command ("NAME=value ...").
inline Outcome RunTool(const std::string& arguments, const TempFolder& folder,
                       const std::string& environment = "") {
  const std::string err_file = folder.File("stderr.txt");
  const std::string command =
      environment + " '" + ToolPath() + "' " + arguments + " 2>'" + err_file + "'";
  Outcome outcome;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return outcome;
  char buffer[65536];
  size_t read = 0;
  while ((read = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
    outcome.out.append(buffer, read);
  const int status = pclose(pipe);
  outcome.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  std::ifstream err(err_file);
  std::stringstream text;
  text << err.rdbuf();
  outcome.err = text.str();
  return outcome;
}

inline std::string Quoted(const std::string& text) {
  return "'" + text + "'";
}

inline int CountLines(const std::string& text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

inline void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

}  // namespace varnock::testing

#endif  // VARNOCK_TOOLS_VARNOCK_TOOL_RUNNER_H_

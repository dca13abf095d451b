// plot: drawing is done by the Python module (python3 -m varnock plot ...) with matplotlib;
// this command finds the interpreter, runs the module and turns the failures a user can fix
// (no interpreter, no module, no matplotlib) into one line saying what to install.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "cli.h"

namespace varnock::cli {

namespace {

constexpr char kDefaultPython[] = "/usr/bin/python3";
// What the child writes on its stderr when the interpreter cannot be started at all.
constexpr char kExecFailedMarker[] = "varnock-plot: exec failed: ";

std::string PythonInterpreter() {
  const char* chosen = std::getenv("VARNOCK_PYTHON");
  return chosen != nullptr && *chosen != '\0' ? chosen : kDefaultPython;
}

// A build tree holds the package in BUILD/python beside BUILD/bin/varnock, so the tool works
// there without installing the module; installed, the interpreter finds it on its own.
std::string BuildTreeModuleFolder() {
  std::error_code error;
  const auto tool = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return "";
  const auto folder = tool.parent_path().parent_path() / "python";
  return std::filesystem::is_regular_file(folder / "varnock" / "__main__.py", error)
             ? folder.string()
             : "";
}

struct ChildOutcome {
  int exit_code = kExitFailure;
  std::string err;  // the child's stderr, kept to be translated or passed on
};

ChildOutcome RunPython(const std::string& python, const std::vector<std::string>& args) {
  int pipe_fds[2];
  if (pipe(pipe_fds) != 0) throw Failure(kExitFailure, "cannot create a pipe");
  std::vector<std::string> argv_text = {python, "-m", "varnock", "plot"};
  argv_text.insert(argv_text.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& text : argv_text)
    argv.push_back(text.data());
  argv.push_back(nullptr);
  const std::string module_folder = BuildTreeModuleFolder();
  std::string python_path;
  if (!module_folder.empty()) {
    const char* existing = std::getenv("PYTHONPATH");
    python_path = module_folder + (existing && *existing ? std::string(":") + existing : "");
  }
  std::fflush(stdout);
  const pid_t child = fork();
  if (child < 0) throw Failure(kExitFailure, "cannot start a process");
  if (child == 0) {
    close(pipe_fds[0]);
    dup2(pipe_fds[1], STDERR_FILENO);
    close(pipe_fds[1]);
    if (!python_path.empty()) setenv("PYTHONPATH", python_path.c_str(), 1);
    execvp(argv[0], argv.data());
    const std::string message = kExecFailedMarker + std::string(std::strerror(errno)) + "\n";
    if (write(STDERR_FILENO, message.data(), message.size()) < 0) _exit(127);
    _exit(127);
  }
  close(pipe_fds[1]);
  ChildOutcome outcome;
  char buffer[4096];
  ssize_t count = 0;
  while ((count = read(pipe_fds[0], buffer, sizeof buffer)) != 0) {
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) break;
    outcome.err.append(buffer, static_cast<size_t>(count));
  }
  close(pipe_fds[0]);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  outcome.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : kExitFailure;
  return outcome;
}

std::string LastLine(const std::string& text) {
  size_t end = text.find_last_not_of("\r\n");
  if (end == std::string::npos) return "";
  const size_t begin = text.rfind('\n', end);
  return text.substr(begin == std::string::npos ? 0 : begin + 1,
                     end + 1 - (begin == std::string::npos ? 0 : begin + 1));
}

}  // namespace

int RunPlot(const std::vector<std::string>& args) {
  const std::string python = PythonInterpreter();
  const ChildOutcome outcome = RunPython(python, args);
  const size_t marker = outcome.err.find(kExecFailedMarker);
  if (outcome.exit_code == 127 && marker != std::string::npos) {
    throw Failure(kExitFailure,
                  "plot needs Python 3 with the varnock module, and '" + python +
                      "' cannot be run (" +
                      LastLine(outcome.err.substr(marker + std::strlen(kExecFailedMarker))) +
                      "): install it with 'apt install python3 python3-numpy python3-pandas "
                      "python3-matplotlib', or name another interpreter in VARNOCK_PYTHON");
  }
  // Our own messages start with "varnock plot:"; anything else that names a missing module is
  // the interpreter failing to load the package (or one of its dependencies).
  const bool own_message = outcome.err.rfind("varnock plot:", 0) == 0;
  if (outcome.exit_code != 0 && !own_message &&
      outcome.err.find("No module named") != std::string::npos) {
    throw Failure(kExitFailure,
                  "plot needs the Python module varnock, which " + python + " cannot load (" +
                      LastLine(outcome.err) +
                      "): install it with 'cmake --install BUILD --component python' and "
                      "'apt install python3-numpy python3-pandas python3-matplotlib', or set "
                      "PYTHONPATH=BUILD/python");
  }
  std::fwrite(outcome.err.data(), 1, outcome.err.size(), stderr);
  return outcome.exit_code;
}

}  // namespace varnock::cli

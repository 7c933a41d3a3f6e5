#include "support/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "base/Text.h"
#include "support/TempDir.h"

extern char** environ;

namespace tavorin::testing {

ChildProcess::ChildProcess(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile,
                           const SpawnOptions& options)
    : ownSession_(options.ownSession) {
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, stderrFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (!options.stdoutFile.empty()) {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, options.stdoutFile.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
  }
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  if (ownSession_) posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  const int rc = posix_spawn(&pid_, args[0], &actions, &attributes, args.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) throw std::runtime_error("cannot start " + argv[0]);
}

ChildProcess::~ChildProcess() {
  if (!reaped_) {
    signal(SIGKILL);
    reap(0);
  }
}

// Until it is reaped, its pid and process group cannot be reused, so a group
// signal reaches only what it started.
void ChildProcess::signal(int sig) const {
  if (!reaped_) ::kill(ownSession_ ? -pid_ : pid_, sig);
}

bool ChildProcess::reap(int options) {
  int status = 0;
  if (waitpid(pid_, &status, options) != pid_) return false;
  reaped_ = true;
  if (WIFEXITED(status)) exitCode_ = WEXITSTATUS(status);
  return true;
}

bool ChildProcess::running() { return !reaped_ && !reap(WNOHANG); }

std::optional<int> ChildProcess::wait(double timeoutSeconds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
  while (running()) {
    if (std::chrono::steady_clock::now() > deadline) {
      signal(SIGKILL);
      reap(0);
      return std::nullopt;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return exitCode_;
}

void ChildProcess::stop(double graceSeconds) {
  signal(SIGTERM);
  wait(graceSeconds);
}

std::optional<int> runProcess(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile,
                              double timeoutSeconds, const SpawnOptions& options) {
  ChildProcess child(argv, stderrFile, options);
  return child.wait(timeoutSeconds);
}

std::optional<std::string> outputOf(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile,
                                    double timeoutSeconds) {
  SpawnOptions options;
  options.stdoutFile = stderrFile;
  options.stdoutFile += ".out";
  if (runProcess(argv, stderrFile, timeoutSeconds, options) != 0) return std::nullopt;
  return readFile(options.stdoutFile);
}

std::string findProgram(const std::string& name, const std::string& package) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path ? path : "/usr/bin:/bin");
  std::string folder;
  while (std::getline(folders, folder, ':')) {
    const auto candidate = std::filesystem::path(folder) / name;
    if (access(candidate.c_str(), X_OK) == 0) return candidate.string();
  }
  throw std::runtime_error(name + " is missing (install the Debian package " + package + ")");
}

std::string logTail(const std::filesystem::path& log, int lines) {
  std::istringstream text(readFile(log));
  std::vector<std::string> kept;
  for (std::string line; std::getline(text, line);) {
    if (!line.empty()) kept.push_back(line);
  }
  std::string out;
  for (std::size_t i = kept.size() > std::size_t(lines) ? kept.size() - lines : 0; i < kept.size(); ++i) {
    out += "\n    " + kept[i];
  }
  return out;
}

}  // namespace tavorin::testing

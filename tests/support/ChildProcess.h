#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Text.h"

namespace tavorin::testing {

struct SpawnOptions {
  // Where standard output goes; empty leaves it on the test's own.
  std::filesystem::path stdoutFile;
  // A session and process group of its own: away from signals meant for the
  // test, and signalled as a group, so helpers it forks go with it.
  bool ownSession = false;
};

// A program the test starts and waits for, with its standard error captured to a file.
class ChildProcess {
 public:
  ChildProcess(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile,
               const SpawnOptions& options = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void signal(int sig) const;
  // False once it has exited; it is reaped then, since a zombie would still answer kill(pid, 0).
  bool running();
  // The exit code, or nothing when it did not exit within `timeoutSeconds` (it is then killed).
  std::optional<int> wait(double timeoutSeconds);
  // SIGTERM, and SIGKILL for what is left after `graceSeconds`.
  void stop(double graceSeconds = 2);

 private:
  bool reap(int options);

  pid_t pid_ = -1;
  bool ownSession_ = false;
  bool reaped_ = false;
  std::optional<int> exitCode_;
};

// A program's full path from PATH (posix_spawn wants one); throws naming
// the Debian package to install when it is missing.
std::string findProgram(const std::string& name, const std::string& package);


// The last lines of a log, indented, for a message that says why a program failed.
std::string logTail(const std::filesystem::path& log, int lines = 5);

// Runs to the end: the exit code, or nothing on time-out or death by a signal.
std::optional<int> runProcess(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile,
                              double timeoutSeconds = 30, const SpawnOptions& options = {});

// What the program wrote to standard output, or nothing when it failed or timed out.
std::optional<std::string> outputOf(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile,
                                    double timeoutSeconds = 10);

}  // namespace tavorin::testing

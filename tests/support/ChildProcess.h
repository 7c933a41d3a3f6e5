#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tavorin::testing {

// A program the test starts and waits for, with its standard error captured to a file.
class ChildProcess {
 public:
  ChildProcess(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void signal(int sig) const;
  // The exit code, or nothing when it did not exit within `timeoutSeconds` (it is then killed).
  std::optional<int> wait(double timeoutSeconds);

 private:
  pid_t pid_ = -1;
  bool reaped_ = false;
};

// A program's full path from PATH (posix_spawn wants one); throws naming
// the Debian package to install when it is missing.
std::string findProgram(const std::string& name, const std::string& package);

// tests/peers/NAME, the scripts that start the tests' own servers.
std::filesystem::path peerScript(const std::string& name);

// Without trailing newlines and spaces.
std::string trimmed(std::string text);

// Runs to the end: the exit code, or nothing on time-out or death by a signal.
std::optional<int> runProcess(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile,
                              double timeoutSeconds = 30);

}  // namespace tavorin::testing

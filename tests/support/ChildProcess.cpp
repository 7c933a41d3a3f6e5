#include "support/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <csignal>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace tavorin::testing {

ChildProcess::ChildProcess(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile) {
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, stderrFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  int rc = posix_spawn(&pid_, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) throw std::runtime_error("cannot start " + argv[0]);
}

ChildProcess::~ChildProcess() {
  if (!reaped_) {
    ::kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
  }
}

void ChildProcess::signal(int sig) const { ::kill(pid_, sig); }

std::optional<int> ChildProcess::wait(double timeoutSeconds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
  while (true) {
    int status = 0;
    pid_t done = waitpid(pid_, &status, WNOHANG);
    if (done == pid_) {
      reaped_ = true;
      if (WIFEXITED(status)) return WEXITSTATUS(status);
      return std::nullopt;
    }
    if (std::chrono::steady_clock::now() > deadline) {
      ::kill(pid_, SIGKILL);
      waitpid(pid_, &status, 0);
      reaped_ = true;
      return std::nullopt;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

std::optional<int> runProcess(const std::vector<std::string>& argv, const std::filesystem::path& stderrFile,
                              double timeoutSeconds) {
  ChildProcess child(argv, stderrFile);
  return child.wait(timeoutSeconds);
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

std::filesystem::path peerScript(const std::string& name) {
  const auto script = std::filesystem::path(__FILE__).parent_path().parent_path() / "peers" / name;
  if (!std::filesystem::exists(script)) throw std::runtime_error("the peer script is missing: " + script.string());
  return script;
}

std::string trimmed(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  return text;
}

}  // namespace tavorin::testing

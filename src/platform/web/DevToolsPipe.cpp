#include "platform/web/DevToolsPipe.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "base/ThreadName.h"

extern char** environ;

namespace tavorin {

namespace {

// A descriptor above the child's 3 and 4, so that the dup2 onto them in the
// child always makes a new descriptor (one that is not close-on-exec).
int moveAbove(int fd) {
  int moved = fcntl(fd, F_DUPFD_CLOEXEC, 10);
  close(fd);
  return moved;
}

bool writeAll(int fd, const char* data, std::size_t size) {
  while (size > 0) {
    ssize_t n = ::write(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace

double DevToolsPipe::steadySeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::unique_ptr<DevToolsPipe> DevToolsPipe::launch(const std::vector<std::string>& argv, MessageHandler onMessage,
                                                   ExitHandler onExit, std::string& error) {
  if (argv.empty()) {
    error = "no program to start";
    return nullptr;
  }
  int toChild[2];
  int fromChild[2];
  if (pipe2(toChild, O_CLOEXEC) != 0) {
    error = std::strerror(errno);
    return nullptr;
  }
  if (pipe2(fromChild, O_CLOEXEC) != 0) {
    error = std::strerror(errno);
    close(toChild[0]);
    close(toChild[1]);
    return nullptr;
  }
  for (int* fd : {&toChild[0], &toChild[1], &fromChild[0], &fromChild[1]}) *fd = moveAbove(*fd);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, toChild[0], 3);
  posix_spawn_file_actions_adddup2(&actions, fromChild[1], 4);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
  posix_spawnattr_setpgroup(&attributes, 0);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);

  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = 0;
  int rc = posix_spawn(&pid, args[0], &actions, &attributes, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  close(toChild[0]);
  close(fromChild[1]);
  if (rc != 0) {
    error = std::strerror(rc);
    close(toChild[1]);
    close(fromChild[0]);
    return nullptr;
  }
  return std::unique_ptr<DevToolsPipe>(
      new DevToolsPipe(pid, toChild[1], fromChild[0], std::move(onMessage), std::move(onExit)));
}

DevToolsPipe::DevToolsPipe(pid_t pid, int writeFd, int readFd, MessageHandler onMessage, ExitHandler onExit)
    : pid_(pid), writeFd_(writeFd), readFd_(readFd), onMessage_(std::move(onMessage)), onExit_(std::move(onExit)) {
  reader_ = std::thread([this] { readLoop(); });
  writer_ = std::thread([this] { writeLoop(); });
}

DevToolsPipe::~DevToolsPipe() {
  {
    std::lock_guard<std::mutex> hold(lock_);
    closing_ = true;
  }
  changed_.notify_all();
  writer_.join();
  // The browser shuts down when its command pipe closes; give it a moment.
  close(writeFd_);
  int status = 0;
  bool reaped = false;
  for (int i = 0; i < 50 && !reaped; ++i) {
    if (waitpid(pid_, &status, WNOHANG) == pid_) {
      reaped = true;
    } else {
      usleep(10'000);
    }
  }
  kill(-pid_, SIGKILL);
  if (!reaped) waitpid(pid_, &status, 0);
  reader_.join();
  close(readFd_);
}

void DevToolsPipe::send(std::string message, double notBefore, std::string tag) {
  {
    std::lock_guard<std::mutex> hold(lock_);
    auto at = std::upper_bound(outgoing_.begin(), outgoing_.end(), notBefore,
                               [](double t, const Pending& p) { return t < p.notBefore; });
    outgoing_.insert(at, Pending{notBefore, std::move(message), std::move(tag)});
  }
  changed_.notify_all();
}

void DevToolsPipe::hurry(const std::string& tag, double notBefore) {
  {
    std::lock_guard<std::mutex> hold(lock_);
    for (auto& pending : outgoing_) {
      if (pending.tag == tag) pending.notBefore = std::min(pending.notBefore, notBefore);
    }
    std::stable_sort(outgoing_.begin(), outgoing_.end(),
                     [](const Pending& a, const Pending& b) { return a.notBefore < b.notBefore; });
  }
  changed_.notify_all();
}

void DevToolsPipe::writeLoop() {
  nameThisThread("Tavorin.WebOut");
  // A write to a pipe whose reader is gone must fail here, not kill the app.
  sigset_t pipeSignal;
  sigemptyset(&pipeSignal);
  sigaddset(&pipeSignal, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
  std::unique_lock<std::mutex> hold(lock_);
  bool broken = false;
  while (!closing_) {
    if (outgoing_.empty()) {
      changed_.wait(hold);
      continue;
    }
    double now = steadySeconds();
    if (outgoing_.front().notBefore > now) {
      changed_.wait_for(hold, std::chrono::duration<double>(outgoing_.front().notBefore - now));
      continue;
    }
    std::string message = std::move(outgoing_.front().message);
    outgoing_.pop_front();
    if (broken) continue;
    message.push_back('\0');
    hold.unlock();
    broken = !writeAll(writeFd_, message.data(), message.size());
    hold.lock();
  }
}

void DevToolsPipe::readLoop() {
  nameThisThread("Tavorin.WebIn");
  std::string buffer;
  std::vector<char> chunk(1 << 20);
  // The browser's helpers may keep its end of the pipe open after it died, so
  // its death is watched for on its own.
  int exitFd = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
  for (;;) {
    pollfd watched[2] = {{readFd_, POLLIN, 0}, {exitFd, POLLIN, 0}};
    if (poll(watched, exitFd >= 0 ? 2 : 1, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (!(watched[0].revents & (POLLIN | POLLHUP | POLLERR)) && exitFd >= 0 && watched[1].revents) {
      // Dead, and nothing more to read: end the helpers too.
      kill(-pid_, SIGKILL);
      break;
    }
    ssize_t n = ::read(readFd_, chunk.data(), chunk.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    std::size_t scanFrom = buffer.size();
    buffer.append(chunk.data(), static_cast<std::size_t>(n));
    std::size_t start = 0;
    for (;;) {
      std::size_t end = buffer.find('\0', std::max(start, scanFrom));
      if (end == std::string::npos) break;
      onMessage_(buffer.substr(start, end - start));
      start = end + 1;
    }
    buffer.erase(0, start);
  }
  if (exitFd >= 0) close(exitFd);
  onExit_();
}

}  // namespace tavorin

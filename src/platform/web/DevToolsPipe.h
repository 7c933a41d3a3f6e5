#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavorin {

// A browser process driven over its DevTools pipe: commands go in on its fd 3,
// replies and events come out of its fd 4, each a JSON text ended by a NUL.
// Reading and writing run on two threads of their own, so no caller ever
// waits on the browser, whatever state it is in.
class DevToolsPipe {
 public:
  // Reader thread: one whole message, without its NUL.
  using MessageHandler = std::function<void(std::string message)>;
  // Reader thread, once: the pipe closed (the browser quit or died).
  using ExitHandler = std::function<void()>;

  // Starts `argv` (argv[0] an absolute path) in a process group of its own.
  // Null, with `error` in words, when it cannot be started.
  static std::unique_ptr<DevToolsPipe> launch(const std::vector<std::string>& argv, MessageHandler onMessage,
                                              ExitHandler onExit, std::string& error);

  // Closes the pipe, ends the whole process group and reaps it; waits at most
  // half a second for a clean exit.
  ~DevToolsPipe();
  DevToolsPipe(const DevToolsPipe&) = delete;
  DevToolsPipe& operator=(const DevToolsPipe&) = delete;

  // Any thread; returns at once. The message is written in order, but not
  // before `notBefore` (steadySeconds()), which is how frame pacing waits
  // without holding anyone up.
  // `tag` names messages that hurry() may bring forward.
  void send(std::string message, double notBefore = 0, std::string tag = {});
  // Messages with this tag that wait for a later time go at `notBefore` instead.
  void hurry(const std::string& tag, double notBefore);

  pid_t pid() const { return pid_; }

  // The clock of `notBefore`.
  static double steadySeconds();

 private:
  DevToolsPipe(pid_t pid, int writeFd, int readFd, MessageHandler onMessage, ExitHandler onExit);
  void readLoop();
  void writeLoop();

  struct Pending {
    double notBefore;
    std::string message;
    std::string tag;
  };

  const pid_t pid_;
  const int writeFd_;
  const int readFd_;
  MessageHandler onMessage_;
  ExitHandler onExit_;
  std::mutex lock_;
  std::condition_variable changed_;
  std::deque<Pending> outgoing_;  // ordered by notBefore, ties in order of sending
  bool closing_ = false;
  std::thread reader_;
  std::thread writer_;
};

}  // namespace tavorin

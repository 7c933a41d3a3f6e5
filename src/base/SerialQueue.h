#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace tavorin {

// One named thread that runs posted tasks in order: where a source does the
// work that blocks (opening a device, starting a capture) so the main thread
// never waits on hardware. Tasks still queued when it goes are run first.
class SerialQueue {
 public:
  // `name` is the thread's, at most 15 characters.
  explicit SerialQueue(std::string name);
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  // Any thread.
  void post(std::function<void()> task);
  // Returns once every task posted before it has run. Not from the queue's own thread.
  void drain();

 private:
  void run();

  const std::string name_;
  std::mutex lock_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> tasks_;
  bool busy_ = false;
  bool closing_ = false;
  std::thread thread_;
};

}  // namespace tavorin

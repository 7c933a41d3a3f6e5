#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace tavorin {

// The thread of one shared encoder and what wakes and stops it. The owner
// guards its own queue with `lock` and waits on `wake`.
struct EncoderWorker {
  std::mutex lock;
  std::condition_variable wake;
  bool stopping = false;    // under lock
  bool flushOnStop = false;  // under lock: the encoder gives what it holds before the thread ends

  ~EncoderWorker() { stop(false); }

  void start(std::function<void()> run) { thread_ = std::thread(std::move(run)); }

  void stop(bool flush) {
    {
      std::lock_guard hold(lock);
      if (stopping && !thread_.joinable()) return;
      stopping = true;
      flushOnStop = flushOnStop || flush;
    }
    wake.notify_one();
    if (!thread_.joinable()) return;
    // A receiver that leaves from inside its own callback cannot wait for the thread it runs on.
    if (thread_.get_id() == std::this_thread::get_id()) {
      thread_.detach();
    } else {
      thread_.join();
    }
  }

 private:
  std::thread thread_;
};

}  // namespace tavorin

#include "base/SerialQueue.h"

#include "base/ThreadName.h"

namespace tavorin {

SerialQueue::SerialQueue(std::string name) : name_(std::move(name)), thread_([this] { run(); }) {}

SerialQueue::~SerialQueue() {
  {
    std::lock_guard hold(lock_);
    closing_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void SerialQueue::post(std::function<void()> task) {
  {
    std::lock_guard hold(lock_);
    tasks_.push_back(std::move(task));
  }
  changed_.notify_all();
}

void SerialQueue::drain() {
  std::unique_lock hold(lock_);
  changed_.wait(hold, [this] { return tasks_.empty() && !busy_; });
}

void SerialQueue::run() {
  nameThisThread(name_.c_str());
  std::unique_lock hold(lock_);
  for (;;) {
    changed_.wait(hold, [this] { return !tasks_.empty() || closing_; });
    if (tasks_.empty()) return;
    auto task = std::move(tasks_.front());
    tasks_.pop_front();
    busy_ = true;
    hold.unlock();
    task();
    hold.lock();
    busy_ = false;
    changed_.notify_all();
  }
}

}  // namespace tavorin

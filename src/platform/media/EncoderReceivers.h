#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace tavorin {

// The receivers of one shared encoder. The encoder's thread reads a snapshot
// per sample; joining and leaving swap in a new list under a short lock.
// A receiver that needs a key frame to start gets nothing before one.
template <class SampleRef>
class EncoderReceivers {
 public:
  using Receiver = std::function<void(const SampleRef&)>;

  void add(std::uint64_t id, Receiver receiver, bool waitForKeyFrame) {
    std::lock_guard hold(lock_);
    auto next = std::make_shared<List>(*list_);
    next->push_back(Entry{id, std::move(receiver), std::make_shared<bool>(!waitForKeyFrame)});
    list_ = std::move(next);
  }

  // True when no receiver is left.
  bool remove(std::uint64_t id) {
    std::lock_guard hold(lock_);
    auto next = std::make_shared<List>(*list_);
    std::erase_if(*next, [id](const Entry& entry) { return entry.id == id; });
    list_ = std::move(next);
    return list_->empty();
  }

  // Removes the receiver; the last one calls `lastOut` first, while it still
  // receives. True when it was the last.
  template <class LastOut>
  bool leave(std::uint64_t id, LastOut&& lastOut) {
    if (size() > 1) return remove(id);
    lastOut();
    remove(id);
    return true;
  }

  std::size_t size() const {
    std::lock_guard hold(lock_);
    return list_->size();
  }

  // Encoder thread only: hands the sample to every receiver that has started.
  void deliver(const SampleRef& sample, bool isKeyFrame) {
    std::shared_ptr<const List> list;
    {
      std::lock_guard hold(lock_);
      list = list_;
    }
    for (const auto& entry : *list) {
      // Only the encoder thread touches `started`.
      if (!*entry.started && isKeyFrame) *entry.started = true;
      if (*entry.started) entry.receiver(sample);
    }
  }

 private:
  struct Entry {
    std::uint64_t id;
    Receiver receiver;
    std::shared_ptr<bool> started;
  };
  using List = std::vector<Entry>;

  mutable std::mutex lock_;
  std::shared_ptr<const List> list_ = std::make_shared<List>();
};

}  // namespace tavorin

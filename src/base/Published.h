#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace tavorin {

// Keeps a subscription alive; dropping it unsubscribes.
class Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      reset();
      cancel_ = std::exchange(other.cancel_, nullptr);
    }
    return *this;
  }
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;
  ~Subscription() { reset(); }

  void reset() {
    if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
  }

 private:
  std::function<void()> cancel_;
};

// A field that tells its observers of every assignment. Main thread only: the
// views and AppModel's savers subscribe here. Observers see the new value; they
// remove duplicates themselves where they need to.
template <class T>
class Published {
 public:
  using Observer = std::function<void(const T&)>;

  Published() = default;
  explicit Published(T value) : value_(std::move(value)) {}
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;

  const T& get() const { return value_; }
  const T& operator*() const { return value_; }
  const T* operator->() const { return &value_; }

  void set(T value) {
    value_ = std::move(value);
    notify();
  }
  Published& operator=(T value) {
    set(std::move(value));
    return *this;
  }

  // Changes the value in place, then notifies once.
  template <class Fn>
  void modify(Fn&& fn) {
    fn(value_);
    notify();
  }

  [[nodiscard]] Subscription subscribe(Observer observer) {
    auto id = nextID_++;
    observers_->push_back({id, std::move(observer)});
    std::weak_ptr<std::vector<Entry>> weak = observers_;
    return Subscription([weak, id] {
      if (auto list = weak.lock()) {
        std::erase_if(*list, [id](const Entry& e) { return e.id == id; });
      }
    });
  }

 private:
  struct Entry {
    std::uint64_t id;
    Observer observer;
  };

  void notify() {
    // Observers may subscribe or unsubscribe while being told: walk a copy.
    // One removed by an earlier observer is skipped.
    auto snapshot = *observers_;
    for (auto& entry : snapshot) {
      bool stillSubscribed = std::any_of(observers_->begin(), observers_->end(),
                                         [&](const Entry& e) { return e.id == entry.id; });
      if (stillSubscribed) entry.observer(value_);
    }
  }

  T value_{};
  std::shared_ptr<std::vector<Entry>> observers_ = std::make_shared<std::vector<Entry>>();
  std::uint64_t nextID_ = 1;
};

}  // namespace tavorin

#pragma once

#include <atomic>
#include <memory>
#include <utility>

namespace tavorin {

// A value that rarely changes, held by reference: copies share it and
// equality first asks whether both hold the very same one, so copying and
// comparing records that carry it moves no strings or vectors. A shared value
// never changes under its readers: edit() takes a copy of its own first.
template <class T>
class SharedValue {
 public:
  SharedValue() = default;
  SharedValue(T value) : value_(std::make_shared<T>(std::move(value))) {}
  SharedValue& operator=(T value) {
    value_ = std::make_shared<T>(std::move(value));
    return *this;
  }

  // Back to T{}.
  void reset() { value_.reset(); }

  const T& get() const { return value_ ? *value_ : defaultValue(); }
  operator const T&() const { return get(); }
  const T& operator*() const { return get(); }
  const T* operator->() const { return &get(); }

  // The value to change in place, no longer shared with any copy.
  T& edit() {
    if (!value_) {
      value_ = std::make_shared<T>();
    } else if (value_.use_count() > 1) {
      value_ = std::make_shared<T>(*value_);
    } else {
      // The last other holder may have let go just now on another thread: its reads come first.
      std::atomic_thread_fence(std::memory_order_acquire);
    }
    return *value_;
  }

  friend bool operator==(const SharedValue& a, const SharedValue& b) {
    return a.value_ == b.value_ || a.get() == b.get();
  }
  friend bool operator==(const SharedValue& a, const T& b) { return a.get() == b; }

 private:
  static const T& defaultValue() {
    static const T value{};
    return value;
  }

  // Null stands for T{}, so a default record allocates nothing.
  std::shared_ptr<T> value_;
};

}  // namespace tavorin

#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

namespace tavorin {

// When each of the newest ticks began and how long it took, kept by the render
// thread without a lock or an allocation, for benchmarks and health figures.
class TickTimings {
 public:
  static constexpr std::size_t kCapacity = 8192;

  struct Tick {
    double start = 0;   // host time
    double length = 0;  // seconds
  };

  // Render thread only.
  void record(double start, double length) {
    const std::uint64_t n = count_.load(std::memory_order_relaxed);
    starts_[n % kCapacity].store(start, std::memory_order_relaxed);
    lengths_[n % kCapacity].store(length, std::memory_order_relaxed);
    count_.store(n + 1, std::memory_order_release);
  }

  std::uint64_t count() const { return count_.load(std::memory_order_acquire); }

  // Ticks recorded since `from` (a past `count()`), oldest first, at most
  // kCapacity of them. Exact once the clock has stopped; while it runs the
  // oldest entry may already be overwritten.
  std::vector<Tick> since(std::uint64_t from) const;

 private:
  std::array<std::atomic<double>, kCapacity> starts_{};
  std::array<std::atomic<double>, kCapacity> lengths_{};
  std::atomic<std::uint64_t> count_{0};
};

}  // namespace tavorin

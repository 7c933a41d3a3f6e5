#pragma once

#include <functional>
#include <optional>
#include <string>

#include "app/StatusStats.h"
#include "base/MainQueue.h"

namespace tavorin {

// The stats tick: once a second it reads the engines into StatusStats; the
// disk, which is slower to ask, at start and every fifth tick. Main thread only.
class StatsTicker {
 public:
  static constexpr double kInterval = 1.0;
  static constexpr int kDiskEvery = 5;

  // Where the figures come from.
  struct Readings {
    std::function<double()> fps;
    std::function<std::optional<double>()> recordingSeconds;
    // The wall-clock second the first live stream went live.
    std::function<std::optional<double>()> liveSince;
    std::function<int()> liveStreamCount;
    std::function<std::optional<int>()> diskFreePercent;
    // Where the low-disk warnings go.
    std::function<void(const std::string&)> log;
  };

  // Below these shares free, the recordings' volume is worth a warning.
  static constexpr int kLowDiskPercent = 10;
  static constexpr int kDiskAlmostFullPercent = 3;

  StatsTicker(MainQueue& queue, StatusStats& stats, Readings readings);
  StatsTicker(const StatsTicker&) = delete;
  StatsTicker& operator=(const StatsTicker&) = delete;

  // Reads everything once now, then ticks every second.
  void start();
  void tick();
  // A recording started or ended: its figure is right at once, not at the next tick.
  void refreshRecording();

 private:
  void readDisk();

  MainQueue& queue_;
  StatusStats& stats_;
  Readings readings_;
  int statsTick_ = 0;
  int diskWarning_ = 0;  // 0 none, 1 low, 2 almost full: the last said
  TimerHandle timer_;
};

}  // namespace tavorin

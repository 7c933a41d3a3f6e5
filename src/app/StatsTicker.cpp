#include "app/StatsTicker.h"

#include <algorithm>
#include <cmath>

#include "base/HostTime.h"

namespace tavorin {

namespace {

void setIfChanged(Published<int>& field, int value) {
  if (field.get() != value) field = value;
}

int wholeSeconds(std::optional<double> seconds) {
  return seconds ? static_cast<int>(std::floor(std::max(*seconds, 0.0))) : -1;
}

}  // namespace

StatsTicker::StatsTicker(MainQueue& queue, StatusStats& stats, Readings readings)
    : queue_(queue), stats_(stats), readings_(std::move(readings)) {}

void StatsTicker::start() {
  if (timer_.active()) return;
  readDisk();
  tick();
  timer_ = queue_.every(kInterval, [this] { tick(); });
}

void StatsTicker::tick() {
  setIfChanged(stats_.fps, static_cast<int>(readings_.fps()));
  refreshRecording();
  const auto since = readings_.liveSince();
  setIfChanged(stats_.liveSeconds, since ? wholeSeconds(wallClockNow() - *since) : -1);
  setIfChanged(stats_.liveStreamCount, readings_.liveStreamCount());
  if (++statsTick_ % kDiskEvery == 0) readDisk();
}

void StatsTicker::refreshRecording() { setIfChanged(stats_.recordingSeconds, wholeSeconds(readings_.recordingSeconds())); }

void StatsTicker::readDisk() {
  // A volume that cannot be asked keeps the last figure.
  const auto percent = readings_.diskFreePercent();
  if (!percent) return;
  setIfChanged(stats_.diskFreePercent, *percent);
  // Said once as the volume fills past each mark; said again only after it
  // had a little more room than the mark, so a figure hovering on it stays quiet.
  const int level = *percent < kDiskAlmostFullPercent ? 2 : *percent < kLowDiskPercent ? 1 : 0;
  if (level > diskWarning_) {
    diskWarning_ = level;
    if (readings_.log) {
      readings_.log(level == 2 ? "Disk almost full: " + std::to_string(*percent) +
                                     "% free where recordings go — recordings will stop when it is full."
                               : "Low disk space: " + std::to_string(*percent) + "% free where recordings go.");
    }
  } else if (level < diskWarning_ &&
             *percent >= (diskWarning_ == 2 ? kDiskAlmostFullPercent : kLowDiskPercent) + 2) {
    diskWarning_ = level;
  }
}

}  // namespace tavorin

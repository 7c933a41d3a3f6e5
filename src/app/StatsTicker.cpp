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
  if (const auto percent = readings_.diskFreePercent()) setIfChanged(stats_.diskFreePercent, *percent);
}

}  // namespace tavorin

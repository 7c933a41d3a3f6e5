#include "app/StatusLine.h"

#include <cstdio>

#include "app/AppModel.h"
#include "base/HostTime.h"
#include "base/ProcessTime.h"

namespace tavorin {

namespace {

std::string clockText(int seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
  return text;
}

}  // namespace

StatusLine::StatusLine(const AppModel& model)
    : model_(model), lastWall_(hostTimeNow()), lastCpu_(processCpuSeconds()) {}

std::string StatusLine::next() {
  const double wall = hostTimeNow();
  const double cpu = processCpuSeconds();
  // Of one core: a busy show on four cores reads 400 %.
  const double cpuPercent = wall > lastWall_ ? (cpu - lastCpu_) / (wall - lastWall_) * 100 : 0;
  lastWall_ = wall;
  lastCpu_ = cpu;

  char head[128];
  std::snprintf(head, sizeof head, "Status: %.1f fps, CPU %.0f%%, disk %d%% free",
                model_.engine ? model_.engine->measuredFPS() : 0.0, cpuPercent, model_.stats.diskFreePercent.get());
  std::string line = head;

  std::string dropped;
  auto addDropped = [&](const std::string& output, int frames) {
    dropped += (dropped.empty() ? "" : ", ") + output + " " + std::to_string(frames);
  };
  const bool recording = model_.recording.isRecording.get();
  if (recording) addDropped("recording", model_.recorder.droppedFrames());
  for (const auto& [id, health] : model_.streaming.health.health.get()) {
    addDropped(model_.streamingControl.nameOf(id), health.droppedFrames);
  }
  if (!dropped.empty()) line += ", dropped frames: " + dropped;

  const int recorded = model_.stats.recordingSeconds.get();
  line += recording && recorded >= 0 ? "; recording " + clockText(recorded) : "; not recording";
  if (model_.recording.isRecordingPaused.get()) line += " (paused)";
  const int live = model_.stats.liveSeconds.get();
  const int streams = model_.stats.liveStreamCount.get();
  line += live >= 0 ? ", live " + clockText(live) + " (" + std::to_string(streams) +
                          (streams == 1 ? " stream)" : " streams)")
                    : ", not live";
  return line;
}

}  // namespace tavorin

#include "ui/StatusBridge.h"

#include "app/AppModel.h"
#include "base/HostTime.h"
#include "base/ProcessTime.h"

namespace tavorin {

namespace {

QString clockText(int seconds) {
  return QString("%1:%2:%3")
      .arg(seconds / 3600)
      .arg(seconds / 60 % 60, 2, 10, QChar('0'))
      .arg(seconds % 60, 2, 10, QChar('0'));
}

QStringList toList(const std::vector<std::string>& lines) {
  QStringList list;
  list.reserve(static_cast<qsizetype>(lines.size()));
  for (const auto& line : lines) list.append(QString::fromStdString(line));
  return list;
}

}  // namespace

StatusBridge::StatusBridge(AppModel& model, QObject* parent)
    : QObject(parent), model_(model), lastWall_(hostTimeNow()), lastCpu_(processCpuSeconds()) {
  log_ = toList(model.log.get());
  subscriptions_.push_back(model.log.subscribe([this](const std::vector<std::string>& lines) {
    log_ = toList(lines);
    Q_EMIT logChanged();
  }));
  timer_.setInterval(1000);
  connect(&timer_, &QTimer::timeout, this, &StatusBridge::sample);
  timer_.start();
}

void StatusBridge::sample() {
  const double wall = hostTimeNow();
  const double cpu = processCpuSeconds();
  cpuPercent_ = wall > lastWall_ ? (cpu - lastCpu_) / (wall - lastWall_) * 100 : 0;
  lastWall_ = wall;
  lastCpu_ = cpu;
  fps_ = model_.engine ? model_.engine->measuredFPS() : 0.0;
  QStringList parts;
  if (model_.recording.isRecording.get()) parts << QString("REC %1").arg(model_.recorder.droppedFrames());
  for (const auto& [id, health] : model_.streaming.health.health.get()) {
    parts << QString("%1 %2").arg(QString::fromStdString(model_.streamingControl.nameOf(id))).arg(health.droppedFrames);
  }
  dropped_ = parts.join(", ");
  Q_EMIT tick();
}

int StatusBridge::diskFreePercent() const { return model_.stats.diskFreePercent.get(); }
bool StatusBridge::recording() const { return model_.recording.isRecording.get(); }

QString StatusBridge::recordingText() const {
  const int seconds = model_.stats.recordingSeconds.get();
  if (!recording() || seconds < 0) return "REC";
  return "REC " + clockText(seconds) + (model_.recording.isRecordingPaused.get() ? " (paused)" : "");
}

bool StatusBridge::live() const { return model_.stats.liveSeconds.get() >= 0; }

QString StatusBridge::liveText() const {
  const int seconds = model_.stats.liveSeconds.get();
  return seconds < 0 ? QString("LIVE") : "LIVE " + clockText(seconds);
}

void StatusBridge::toggleRecording() { model_.toggleRecording(); }

}  // namespace tavorin

#include "ui/RecordingBridge.h"

#include <QUrl>
#include <cmath>
#include <utility>

#include "app/AppModel.h"

namespace tavorin {

namespace {

using Quality = ProgramRecorder::Quality;

}  // namespace

RecordingBridge::RecordingBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  RecordingController& recording = model.recording;
  auto changedNow = [this](const auto&) { Q_EMIT changed(); };
  subscriptions_.push_back(recording.isRecording.subscribe([this](bool on) {
    if (on) {
      clock_.start();
    } else {
      clock_.stop();
    }
    Q_EMIT changed();
    Q_EMIT elapsedChanged();
  }));
  subscriptions_.push_back(recording.isRecordingPaused.subscribe(changedNow));
  subscriptions_.push_back(recording.recordQuality.subscribe(changedNow));
  subscriptions_.push_back(model.recordingsFolderPath.subscribe(changedNow));
  // The folder of a recording that ends is the last recording.
  subscriptions_.push_back(recording.currentFolder.subscribe([this](const auto& folder) {
    if (folder) {
      recordingFolder_ = QString::fromStdString(folder->string());
    } else if (!recordingFolder_.isEmpty()) {
      lastRecording_ = std::exchange(recordingFolder_, QString());
    }
    Q_EMIT changed();
  }));
  clock_.setInterval(250);
  connect(&clock_, &QTimer::timeout, this, &RecordingBridge::elapsedChanged);
  if (recording.isRecording.get()) clock_.start();
}

bool RecordingBridge::recording() const { return model_.recording.isRecording.get(); }
bool RecordingBridge::paused() const { return model_.recording.isRecordingPaused.get(); }

QString RecordingBridge::elapsed() const {
  const auto seconds = model_.recording.recordingSeconds();
  if (!seconds) return {};
  const auto whole = static_cast<long long>(std::floor(*seconds));
  return QString("%1:%2:%3")
      .arg(whole / 3600)
      .arg(whole / 60 % 60, 2, 10, QChar('0'))
      .arg(whole % 60, 2, 10, QChar('0'));
}

QStringList RecordingBridge::qualities() const {
  QStringList names;
  for (const auto& [quality, name] : EnumNames<Quality>::table) names << QString::fromUtf8(name.data(), name.size());
  return names;
}

int RecordingBridge::quality() const { return static_cast<int>(model_.recording.recordQuality.get()); }

QString RecordingBridge::folder() const { return QString::fromStdString(model_.currentRecordingsRoot().string()); }

void RecordingBridge::start() {
  if (!recording()) model_.startRecording();
}

void RecordingBridge::stop() {
  if (recording()) model_.stopRecording();
}

void RecordingBridge::setPaused(bool on) {
  if (recording()) model_.setRecordingPaused(on);
}

void RecordingBridge::setQuality(int index) {
  const auto& table = EnumNames<Quality>::table;
  if (index >= 0 && index < static_cast<int>(std::size(table))) {
    model_.recording.setRecordQuality(table[static_cast<std::size_t>(index)].first);
  }
}

void RecordingBridge::setFolder(const QString& folder) {
  const QUrl url(folder);
  const QString path = url.isLocalFile() ? url.toLocalFile() : folder;
  if (!path.trimmed().isEmpty()) model_.recordingsFolderPath = path.trimmed().toStdString();
}

}  // namespace tavorin

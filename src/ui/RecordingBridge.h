#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The recording panel: record, pause and stop with the time recorded net of
// pauses, what the next recording is encoded as, the folder recordings go
// to, and the last recording made. Commands go to the model's recording controller.
class RecordingBridge : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool recording READ recording NOTIFY changed)
  Q_PROPERTY(bool paused READ paused NOTIFY changed)
  // "h:mm:ss" recorded so far, pauses left out; empty while not recording.
  Q_PROPERTY(QString elapsed READ elapsed NOTIFY elapsedChanged)
  Q_PROPERTY(QStringList qualities READ qualities CONSTANT)
  Q_PROPERTY(int quality READ quality NOTIFY changed)
  Q_PROPERTY(QString folder READ folder NOTIFY changed)
  // The folder of the recording made last in this run; empty before one.
  Q_PROPERTY(QString lastRecording READ lastRecording NOTIFY changed)

 public:
  explicit RecordingBridge(AppModel& model, QObject* parent = nullptr);

  bool recording() const;
  bool paused() const;
  QString elapsed() const;
  QStringList qualities() const;
  int quality() const;
  QString folder() const;
  QString lastRecording() const { return lastRecording_; }

  Q_INVOKABLE void start();
  Q_INVOKABLE void stop();
  Q_INVOKABLE void setPaused(bool on);
  Q_INVOKABLE void setQuality(int index);
  // A path, or a file: URL as Qt's folder dialog gives it.
  Q_INVOKABLE void setFolder(const QString& folder);

 Q_SIGNALS:
  void changed();
  void elapsedChanged();

 private:
  AppModel& model_;
  QString recordingFolder_;  // while a recording runs
  QString lastRecording_;
  QTimer clock_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The status bar and the log panel: fps, CPU, dropped frames per output,
// free disk, the REC and LIVE timers (read once a second), and the log.
class StatusBridge : public QObject {
  Q_OBJECT
  Q_PROPERTY(double fps READ fps NOTIFY tick)
  Q_PROPERTY(double cpuPercent READ cpuPercent NOTIFY tick)  // of one core
  Q_PROPERTY(int diskFreePercent READ diskFreePercent NOTIFY tick)
  Q_PROPERTY(QString droppedText READ droppedText NOTIFY tick)
  Q_PROPERTY(bool recording READ recording NOTIFY tick)
  Q_PROPERTY(QString recordingText READ recordingText NOTIFY tick)
  Q_PROPERTY(bool live READ live NOTIFY tick)
  Q_PROPERTY(QString liveText READ liveText NOTIFY tick)
  Q_PROPERTY(QStringList log READ log NOTIFY logChanged)
  Q_PROPERTY(QString lastLogLine READ lastLogLine NOTIFY logChanged)

 public:
  explicit StatusBridge(AppModel& model, QObject* parent = nullptr);

  double fps() const { return fps_; }
  double cpuPercent() const { return cpuPercent_; }
  int diskFreePercent() const;
  QString droppedText() const { return dropped_; }
  bool recording() const;
  QString recordingText() const;
  bool live() const;
  QString liveText() const;
  QStringList log() const { return log_; }
  QString lastLogLine() const { return log_.isEmpty() ? QString() : log_.last(); }

  Q_INVOKABLE void toggleRecording();

 Q_SIGNALS:
  void tick();
  void logChanged();

 private:
  void sample();

  AppModel& model_;
  QTimer timer_;
  double fps_ = 0;
  double cpuPercent_ = 0;
  double lastWall_ = 0;
  double lastCpu_ = 0;
  QString dropped_;
  QStringList log_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

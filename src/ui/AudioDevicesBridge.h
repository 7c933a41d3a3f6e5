#pragma once

#include <QObject>
#include <QVariantList>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The machine's sound in the window: the inputs and the applications a mixer
// channel can hear, the virtual devices, the machine's output routed into the
// mixer and back, and the applications "System Audio" leaves out. Each
// command's outcome is a line in the log.
class AudioDevicesBridge : public QObject {
  Q_OBJECT
  // {id, name, added} each; `added` while the mixer has its channel.
  Q_PROPERTY(QVariantList inputs READ inputs NOTIFY changed)
  // {id, name, added, excluded} of the applications playing sound now.
  Q_PROPERTY(QVariantList applications READ applications NOTIFY changed)
  // {id, name} each; the name is the id while the application is silent.
  Q_PROPERTY(QVariantList excludedApps READ excludedApps NOTIFY changed)
  Q_PROPERTY(bool systemAudioAdded READ systemAudioAdded NOTIFY changed)
  Q_PROPERTY(bool driverInstalled READ driverInstalled NOTIFY changed)
  Q_PROPERTY(bool machineAudioRouted READ machineAudioRouted NOTIFY changed)

 public:
  explicit AudioDevicesBridge(AppModel& model, QObject* parent = nullptr);

  QVariantList inputs() const;
  QVariantList applications() const;
  QVariantList excludedApps() const;
  bool systemAudioAdded() const;
  bool driverInstalled() const;
  bool machineAudioRouted() const;

  // Reads the lists and states again (a device plugged in, an application started).
  Q_INVOKABLE void refresh();
  Q_INVOKABLE void addInput(const QString& id);
  Q_INVOKABLE void addSystemAudio();
  Q_INVOKABLE void addApplication(const QString& appID);
  Q_INVOKABLE void installDrivers();
  Q_INVOKABLE void uninstallDrivers();
  Q_INVOKABLE void routeMachineAudioToMixer();
  Q_INVOKABLE void restoreMachineAudio();
  // Whether "System Audio" hears the application.
  Q_INVOKABLE void setExcluded(const QString& appID, bool excluded);

 Q_SIGNALS:
  void changed();

 private:
  bool hasChannel(const std::string& id) const;

  AppModel& model_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

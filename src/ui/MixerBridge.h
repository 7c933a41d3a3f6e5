#pragma once

#include <QAbstractListModel>
#include <QVariantList>
#include <vector>

#include "audio/ChannelInfo.h"
#include "base/Published.h"

namespace tavorin {

class AppModel;

// The mixer's channels as strips: faders in dB, the air, cue, monitor and
// audio-follow switches, names and order, and their meters fifteen times a
// second; the master strip (Program output device, gain, mute) and the
// monitor buses. Every change goes through the mixer engine, which keeps
// "Tavorin.channelRouting" and the monitor settings.
class MixerBridge : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
  Q_PROPERTY(double programMeterDB READ programMeterDB NOTIFY metersChanged)
  Q_PROPERTY(double masterGainDB READ masterGainDB NOTIFY masterChanged)
  Q_PROPERTY(bool programMuted READ programMuted NOTIFY masterChanged)
  Q_PROPERTY(QString programOutput READ programOutput NOTIFY masterChanged)
  Q_PROPERTY(bool programOutputOffline READ programOutputOffline NOTIFY masterChanged)
  // Program's EBU R128 loudness: {momentary, shortTerm, integrated (LUFS), range (LU), truePeak (dBTP)};
  // a figure not measured yet is null.
  Q_PROPERTY(QVariantMap loudness READ loudness NOTIFY metersChanged)
  // The machine's outputs: {uid, name} each.
  Q_PROPERTY(QVariantList outputDevices READ outputDevices NOTIFY devicesChanged)
  // {id, name, gainDB, muted, device, meterDB, removable, connected} each.
  Q_PROPERTY(QVariantList monitorBuses READ monitorBuses NOTIFY monitorsChanged)

 public:
  enum Role {
    idRole = Qt::UserRole + 1,
    nameRole,
    levelDBRole,
    airRole,
    cueRole,
    monitorRole,
    afvRole,
    followsVideoRole,
    removableRole,
    offlineRole,
    meterDBRole,
    peakDBRole,
    filterCountRole,
  };
  // The fader's travel: its bottom is silence, its top the engine's most (×2).
  static constexpr double kFloorDB = -60;

  explicit MixerBridge(AppModel& model, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  double programMeterDB() const;
  double masterGainDB() const;
  bool programMuted() const;
  QString programOutput() const;
  bool programOutputOffline() const;
  QVariantList outputDevices() const;
  QVariantMap loudness() const;
  QVariantList monitorBuses() const;

  // Linear gain and dB both ways, with the floor as silence.
  static double toDB(double gain);
  static double fromDB(double dB);

  Q_INVOKABLE void setLevelDB(const QString& id, double dB);
  Q_INVOKABLE void setAir(const QString& id, bool on);
  Q_INVOKABLE void setCue(const QString& id, bool on);
  Q_INVOKABLE void setMonitor(const QString& id, bool on);
  Q_INVOKABLE void setFollowsVideo(const QString& id, bool on);
  Q_INVOKABLE void rename(const QString& id, const QString& name);
  Q_INVOKABLE void remove(const QString& id);
  // Moves the strip at `from` so that it ends up at `to`.
  Q_INVOKABLE void move(int from, int to);

  Q_INVOKABLE void setMasterGainDB(double dB);
  Q_INVOKABLE void setProgramMuted(bool on);
  Q_INVOKABLE void resetLoudness();
  // An empty uid follows the machine's default output.
  Q_INVOKABLE void setProgramOutput(const QString& uid);

  Q_INVOKABLE QString addMonitorBus(const QString& name);
  Q_INVOKABLE void removeMonitorBus(const QString& id);
  Q_INVOKABLE void renameMonitorBus(const QString& id, const QString& name);
  Q_INVOKABLE void setMonitorBusDevice(const QString& id, const QString& uid);
  Q_INVOKABLE void setMonitorBusGainDB(const QString& id, double dB);
  Q_INVOKABLE void setMonitorBusMuted(const QString& id, bool on);
  // Reads the machine's outputs again (a device plugged in).
  Q_INVOKABLE void refreshDevices();

 Q_SIGNALS:
  void countChanged();
  void metersChanged();
  void masterChanged();
  void devicesChanged();
  void monitorsChanged();

 private:
  void reload(const std::vector<ChannelInfo>& channels);
  int rowOf(const QString& id) const;

  AppModel& model_;
  std::vector<ChannelInfo> channels_;
  QVariantList devices_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

#pragma once

#include <QAbstractListModel>
#include <QVariantList>
#include <vector>

#include "base/Published.h"
#include "model/AudioFilterConfig.h"

namespace tavorin {

class AppModel;

// One channel's filter chain in the order it runs: add, remove, move, switch
// on and off, and each filter's parameters with the value texts the editor
// shows. Every change goes through the mixer engine, which saves the chain.
class AudioFilterBridge : public QAbstractListModel {
  Q_OBJECT
  // The channel being edited; empty edits none.
  Q_PROPERTY(QString channel READ channel WRITE setChannel NOTIFY channelChanged)
  Q_PROPERTY(QString channelName READ channelName NOTIFY channelChanged)
  Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
  // {kind, title} for each kind a chain may hold.
  Q_PROPERTY(QVariantList kinds READ kinds CONSTANT)
  // dB each compressor and limiter of the channel turns it down now, by filter id; absent while it does not.
  Q_PROPERTY(QVariantMap gainReduction READ gainReduction NOTIFY gainReductionChanged)

 public:
  enum Role { idRole = Qt::UserRole + 1, kindRole, titleRole, enabledRole, paramsRole };

  explicit AudioFilterBridge(AppModel& model, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  QString channel() const { return channel_; }
  void setChannel(const QString& channel);
  QString channelName() const;
  QVariantList kinds() const;
  QVariantMap gainReduction() const;

  Q_INVOKABLE void add(const QString& kind);
  Q_INVOKABLE void remove(const QString& filterID);
  Q_INVOKABLE void move(int from, int to);
  Q_INVOKABLE void setEnabled(const QString& filterID, bool on);
  Q_INVOKABLE void setParam(const QString& filterID, const QString& key, double value);
  // The editor's text for a value of the kind's parameter ("-18 dB", "4.0:1").
  Q_INVOKABLE QString valueText(const QString& kind, const QString& key, double value) const;
  // The EQ's response for its current parameters: {hz, db} at `points` frequencies spaced evenly
  // on a log scale from 20 Hz to 20 kHz; empty for another kind.
  Q_INVOKABLE QVariantList eqCurve(const QString& filterID, int points = 96) const;

 Q_SIGNALS:
  void channelChanged();
  void countChanged();
  void gainReductionChanged();

 private:
  void reload();

  AppModel& model_;
  QString channel_;
  std::vector<AudioFilterConfig> filters_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

#pragma once

#include <QAbstractListModel>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>
#include <vector>

#include "base/Published.h"
#include "model/StreamDestination.h"

namespace tavorin {

class AppModel;

// Going live: the saved destinations with their state and health, one or all
// taken live or off, and the destination editor's rules (platform presets,
// frame rates, advice). A destination is edited as a map of its fields; its
// key goes to the secret store, never to "streamDestinations.json", and is
// only ever shown masked.
class StreamingBridge : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
  Q_PROPERTY(bool anyActive READ anyActive NOTIFY statesChanged)
  // {platform, name} for each platform, in the editor's order.
  Q_PROPERTY(QVariantList platforms READ platforms CONSTANT)

 public:
  enum Role {
    idRole = Qt::UserRole + 1,
    nameRole,
    platformNameRole,
    serverRole,
    qualityTextRole,
    verticalRole,
    stateRole,      // "live", "reconnecting", "error", "idle", "connecting"
    stateTextRole,  // as the operator reads it ("Reconnecting… (try 2), next in 4 s", the error in words)
    activeRole,
    healthTextRole,  // "6012 kbps · 30 fps · 0 dropped" while live
  };

  explicit StreamingBridge(AppModel& model, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  bool anyActive() const;
  QVariantList platforms() const;

  Q_INVOKABLE void toggle(const QString& id);
  // Every saved destination not on air yet goes live.
  Q_INVOKABLE void goLiveAll();
  Q_INVOKABLE void stopAll();
  Q_INVOKABLE void remove(const QString& id);

  // The editor. A new destination starts as Twitch's preset; an id edits that one.
  Q_INVOKABLE QVariantMap draft(const QString& id = {}) const;
  // The draft with another platform's preset (server, bit rate, frame rate; a typed name stays).
  Q_INVOKABLE QVariantMap withPlatform(const QVariantMap& draft, const QString& platform) const;
  Q_INVOKABLE QVariantList frameRates(const QString& platform) const;
  Q_INVOKABLE QString advice(const QVariantMap& draft) const;
  // The key as the editor shows it: its last four characters, the rest masked; empty without one.
  Q_INVOKABLE QString maskedKey(const QString& id) const;
  // Adds or updates the destination (platform limits applied) and, when `key`
  // is not empty, stores it in the secret store. Returns the destination's id;
  // empty when the draft lacks a server.
  Q_INVOKABLE QString save(const QVariantMap& draft, const QString& key);

 Q_SIGNALS:
  void countChanged();
  void statesChanged();

 private:
  void reload();
  static QVariantMap toMap(const StreamDestination& destination);
  static StreamDestination fromMap(const QVariantMap& map);

  AppModel& model_;
  std::vector<StreamDestination> destinations_;
  QTimer countdown_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

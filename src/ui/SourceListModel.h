#pragma once

#include <QAbstractListModel>
#include <QTimer>
#include <QUrl>
#include <memory>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;
class BaseSource;

// Every source of the show with its kind and state (running, starting,
// parked, failed): add a picture file or the black still, rename, delete.
// State is not published by the lifecycle, so it is read again each second.
class SourceListModel : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

 public:
  enum Role { idRole = Qt::UserRole + 1, nameRole, kindRole, stateRole };

  explicit SourceListModel(AppModel& model, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  // A picture file (a local path or file:// URL); false when it could not be read (logged).
  Q_INVOKABLE bool addImage(const QString& pathOrURL);
  Q_INVOKABLE void addBlack();
  // A network camera; false when the address was refused (the log says why) or it is already in the show.
  Q_INVOKABLE bool addRTSP(const QString& url, const QString& name, const QString& user, const QString& password);
  Q_INVOKABLE void rename(int row, const QString& name);
  Q_INVOKABLE void remove(int row);
  // Stops and starts the source again (a camera that hangs, a window that moved to another screen).
  Q_INVOKABLE void restart(int row);
  Q_INVOKABLE QString nameOf(const QString& sourceID) const;

 Q_SIGNALS:
  void countChanged();

 private:
  void reload();

  AppModel& model_;
  std::vector<std::shared_ptr<BaseSource>> sources_;
  std::vector<Subscription> subscriptions_;
  QTimer stateTimer_;
};

}  // namespace tavorin

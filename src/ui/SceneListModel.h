#pragma once

#include <QAbstractListModel>
#include <vector>

#include "base/Published.h"
#include "model/MixerScene.h"

namespace tavorin {

class AppModel;

// The scene library: the stored layouts in order, each with its tally. One
// click loads a layout to Preview, a double click takes it; layouts are
// added, duplicated, renamed, deleted and reordered here.
class SceneListModel : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

 public:
  enum Role { idRole = Qt::UserRole + 1, nameRole, onProgramRole, onPreviewRole };

  explicit SceneListModel(AppModel& model, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  Q_INVOKABLE void load(int row);
  Q_INVOKABLE void take(int row);
  // A new layout from what Preview shows now.
  Q_INVOKABLE void addFromPreview();
  Q_INVOKABLE void duplicate(int row);
  Q_INVOKABLE void rename(int row, const QString& name);
  Q_INVOKABLE void remove(int row);
  Q_INVOKABLE void move(int from, int to);

 Q_SIGNALS:
  void countChanged();

 private:
  const MixerScene* at(int row) const;
  void reload();
  void retally();

  AppModel& model_;
  std::vector<MixerScene> layouts_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

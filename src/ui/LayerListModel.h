#pragma once

#include <QAbstractListModel>
#include <QRectF>
#include <vector>

#include "base/Published.h"
#include "model/LayerState.h"

namespace tavorin {

class AppModel;

// The layers of the Preview scene, top of the stack first, and the selected
// one's box for the handles on the Preview monitor. Every change goes through
// the Preview editor, so the layout write-back and the studio/direct rules apply.
// Boxes are in canvas units: 0..1 across and down.
class LayerListModel : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
  Q_PROPERTY(QString selectedID READ selectedID NOTIFY selectionChanged)
  Q_PROPERTY(QRectF selectedBox READ selectedBox NOTIFY selectionChanged)
  Q_PROPERTY(double selectedRotation READ selectedRotation NOTIFY selectionChanged)
  Q_PROPERTY(bool selectedLocked READ selectedLocked NOTIFY selectionChanged)
  // The part of the source the selected layer shows, 0..1 of the source.
  Q_PROPERTY(QRectF selectedCrop READ selectedCrop NOTIFY selectionChanged)

 public:
  enum Role { idRole = Qt::UserRole + 1, nameRole, hiddenRole, lockedRole, selectedRole, groupIDRole, groupNameRole };
  // How near an edge or the centre a dragged box snaps, in canvas units.
  static constexpr double kSnapDistance = 0.012;

  explicit LayerListModel(AppModel& model, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  QString selectedID() const;
  QRectF selectedBox() const;
  double selectedRotation() const;
  bool selectedLocked() const;
  QRectF selectedCrop() const;

  Q_INVOKABLE void select(const QString& id);
  // The topmost unlocked visible layer whose box holds the point; none clears the selection.
  Q_INVOKABLE QString layerAt(double x, double y) const;
  // A source dropped on Preview: a new layer centred where it fell.
  Q_INVOKABLE void addLayer(const QString& sourceID, double x, double y);
  Q_INVOKABLE void remove(const QString& id);
  Q_INVOKABLE void setHidden(const QString& id, bool hidden);
  Q_INVOKABLE void setLocked(const QString& id, bool locked);
  // Groups: a layer joins the one below it (their group, or a new one), or
  // leaves its group; a group is renamed, hidden, locked or ungrouped as one.
  Q_INVOKABLE void groupWithNext(int row);
  Q_INVOKABLE void leaveGroup(const QString& layerID);
  Q_INVOKABLE void renameGroup(const QString& groupID, const QString& name);
  Q_INVOKABLE void setGroupHidden(const QString& groupID, bool hidden);
  Q_INVOKABLE void setGroupLocked(const QString& groupID, bool locked);
  Q_INVOKABLE void ungroup(const QString& groupID);
  // Moves the layer in the list (0 = top) and the stack with it.
  Q_INVOKABLE void move(int from, int to);
  // Puts the selected layer's box at `box`, snapping its edges and centre to
  // the canvas's when `snap` (the drag of a whole box; a resize snaps none).
  Q_INVOKABLE void setSelectedBox(const QRectF& box, bool snap);
  Q_INVOKABLE void setSelectedRotation(double radians);
  // A corner dragged with the crop modifier: the box becomes `box` and the
  // crop follows it, so the picture keeps its scale and place and only what
  // lies outside the new box is cut away. `startBox` and `startCrop` are the
  // layer's when the drag began.
  Q_INVOKABLE void cropSelected(const QRectF& startBox, const QRectF& startCrop, const QRectF& box);

 Q_SIGNALS:
  void countChanged();
  void selectionChanged();

 private:
  void reload();
  const LayerState* find(const QString& id) const;
  void change(const QString& id, const std::function<void(LayerState&)>& fn);

  AppModel& model_;
  std::vector<LayerState> layers_;  // top first
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

#include "ui/LayerListModel.h"

#include <algorithm>
#include <cmath>

#include "app/AppModel.h"

namespace tavorin {

namespace {

QRectF boxOf(const LayerState& layer) {
  return {layer.center.x - layer.size.width / 2, layer.center.y - layer.size.height / 2, layer.size.width,
          layer.size.height};
}

// The shift that brings the nearest of `edges` onto the nearest of `guides`, when within reach.
double snapShift(std::initializer_list<double> edges, std::initializer_list<double> guides) {
  double best = 0, distance = LayerListModel::kSnapDistance;
  for (double edge : edges) {
    for (double guide : guides) {
      if (std::abs(guide - edge) < distance) {
        distance = std::abs(guide - edge);
        best = guide - edge;
      }
    }
  }
  return best;
}

}  // namespace

LayerListModel::LayerListModel(AppModel& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
  reload();
  subscriptions_.push_back(model.switcher.previewScene.subscribe([this](const auto&) { reload(); }));
  subscriptions_.push_back(model.editor.selectedLayerID.subscribe([this](const auto&) {
    if (!layers_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1), {selectedRole});
    Q_EMIT selectionChanged();
  }));
  subscriptions_.push_back(model.mediaNames.subscribe([this](const auto&) {
    if (!layers_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1), {nameRole});
  }));
}

int LayerListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(layers_.size());
}

QVariant LayerListModel::data(const QModelIndex& index, int role) const {
  if (index.row() < 0 || index.row() >= rowCount()) return {};
  const LayerState& layer = layers_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case idRole: return QString::fromStdString(layer.id.toString());
    case Qt::DisplayRole:
    case nameRole: return QString::fromStdString(model_.displayName(*layer.sourceID));
    case hiddenRole: return layer.hidden;
    case lockedRole: return layer.locked;
    case selectedRole: return model_.editor.selectedLayerID.get() == layer.id;
    // Empty rather than null strings: QML reads a null one as no value at all.
    case groupIDRole: return layer.groupID ? QString::fromStdString(layer.groupID->toString()) : QString("");
    case groupNameRole:
      if (!layer.groupID) return QString("");
      for (const LayerGroup& group : model_.switcher.previewScene->groups) {
        if (group.id == *layer.groupID) return QString::fromStdString(group.name);
      }
      return QString("");
  }
  return {};
}

QHash<int, QByteArray> LayerListModel::roleNames() const {
  return {{idRole, "layerID"}, {nameRole, "name"}, {hiddenRole, "hidden"}, {lockedRole, "locked"},
          {selectedRole, "selected"}, {groupIDRole, "groupID"}, {groupNameRole, "groupName"}};
}

void LayerListModel::reload() {
  std::vector<LayerState> now = model_.switcher.previewScene->layers;
  std::stable_sort(now.begin(), now.end(), [](const LayerState& a, const LayerState& b) { return a.zOrder > b.zOrder; });
  const bool sameRows = now.size() == layers_.size() &&
                        std::equal(now.begin(), now.end(), layers_.begin(),
                                   [](const LayerState& a, const LayerState& b) { return a.id == b.id; });
  if (sameRows) {
    // A drag changes a box many times a second: the rows stay, only their data changes.
    layers_ = std::move(now);
    if (!layers_.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1));
  } else {
    beginResetModel();
    layers_ = std::move(now);
    endResetModel();
    Q_EMIT countChanged();
  }
  Q_EMIT selectionChanged();
}

const LayerState* LayerListModel::find(const QString& id) const {
  const auto parsed = Uuid::parse(id.toStdString());
  if (!parsed) return nullptr;
  for (const LayerState& layer : layers_) {
    if (layer.id == *parsed) return &layer;
  }
  return nullptr;
}

void LayerListModel::change(const QString& id, const std::function<void(LayerState&)>& fn) {
  const LayerState* found = find(id);
  if (!found) return;
  LayerState layer = *found;
  fn(layer);
  model_.editor.updateLayer(layer);
}

QString LayerListModel::selectedID() const {
  const auto& id = model_.editor.selectedLayerID.get();
  return id ? QString::fromStdString(id->toString()) : QString();
}

QRectF LayerListModel::selectedBox() const {
  const LayerState* layer = find(selectedID());
  return layer ? boxOf(*layer) : QRectF();
}

double LayerListModel::selectedRotation() const {
  const LayerState* layer = find(selectedID());
  return layer ? layer->rotation : 0.0;
}

bool LayerListModel::selectedLocked() const {
  const LayerState* layer = find(selectedID());
  return layer && layer->locked;
}

QRectF LayerListModel::selectedCrop() const {
  const LayerState* layer = find(selectedID());
  if (!layer) return {0, 0, 1, 1};
  const Rect& c = layer->cropRect;
  return {c.origin.x, c.origin.y, c.size.width, c.size.height};
}

void LayerListModel::cropSelected(const QRectF& startBox, const QRectF& startCrop, const QRectF& box) {
  if (startBox.width() <= 0 || startBox.height() <= 0) return;
  // Source units per canvas unit, from where the drag began.
  const double sx = startCrop.width() / startBox.width(), sy = startCrop.height() / startBox.height();
  const double left = std::clamp(startCrop.left() + (box.left() - startBox.left()) * sx, 0.0, 1.0);
  const double top = std::clamp(startCrop.top() + (box.top() - startBox.top()) * sy, 0.0, 1.0);
  const double right = std::clamp(startCrop.right() + (box.right() - startBox.right()) * sx, 0.0, 1.0);
  const double bottom = std::clamp(startCrop.bottom() + (box.bottom() - startBox.bottom()) * sy, 0.0, 1.0);
  if (right - left < 0.01 || bottom - top < 0.01) return;
  // The box keeps to what is left of the source: it cannot grow past its edges.
  const QRectF placed(startBox.left() + (left - startCrop.left()) / sx, startBox.top() + (top - startCrop.top()) / sy,
                      (right - left) / sx, (bottom - top) / sy);
  change(selectedID(), [&](LayerState& layer) {
    layer.cropRect = Rect{{left, top}, {right - left, bottom - top}};
    layer.center = {placed.center().x(), placed.center().y()};
    layer.size = {placed.width(), placed.height()};
  });
}

void LayerListModel::select(const QString& id) {
  model_.editor.selectLayer(id.isEmpty() ? std::nullopt : Uuid::parse(id.toStdString()));
}

QString LayerListModel::layerAt(double x, double y) const {
  for (const LayerState& layer : layers_) {
    if (layer.hidden || layer.locked) continue;
    if (boxOf(layer).contains(QPointF(x, y))) return QString::fromStdString(layer.id.toString());
  }
  return {};
}

void LayerListModel::addLayer(const QString& sourceID, double x, double y) {
  const Uuid id = model_.editor.addLayer(sourceID.toStdString());
  change(QString::fromStdString(id.toString()), [&](LayerState& layer) { layer.center = {x, y}; });
}

void LayerListModel::remove(const QString& id) {
  if (const auto parsed = Uuid::parse(id.toStdString())) model_.editor.removeLayer(*parsed);
}

void LayerListModel::setHidden(const QString& id, bool hidden) {
  change(id, [&](LayerState& layer) { layer.hidden = hidden; });
}

void LayerListModel::setLocked(const QString& id, bool locked) {
  change(id, [&](LayerState& layer) { layer.locked = locked; });
}

void LayerListModel::move(int from, int to) {
  const int count = rowCount();
  if (from < 0 || from >= count || to < 0 || to >= count || from == to) return;
  std::vector<Uuid> order;
  for (const LayerState& layer : layers_) order.push_back(layer.id);
  const Uuid moved = order[static_cast<std::size_t>(from)];
  order.erase(order.begin() + from);
  order.insert(order.begin() + to, moved);
  model_.editor.applyLayerOrder(order);
}

void LayerListModel::groupWithNext(int row) {
  if (row < 0 || row + 1 >= rowCount()) return;
  const LayerState& below = layers_[static_cast<std::size_t>(row + 1)];
  const Uuid layerID = layers_[static_cast<std::size_t>(row)].id;
  if (below.groupID) {
    model_.editor.moveIntoGroup(layerID, *below.groupID);
  } else {
    model_.editor.groupLayers({layerID, below.id});
  }
}

void LayerListModel::leaveGroup(const QString& layerID) {
  if (const auto id = Uuid::parse(layerID.toStdString())) model_.editor.removeFromGroup(*id);
}

void LayerListModel::renameGroup(const QString& groupID, const QString& name) {
  const auto id = Uuid::parse(groupID.toStdString());
  if (id && !name.trimmed().isEmpty()) model_.editor.renameGroup(*id, name.trimmed().toStdString());
}

void LayerListModel::setGroupHidden(const QString& groupID, bool hidden) {
  if (const auto id = Uuid::parse(groupID.toStdString())) model_.editor.setGroupHidden(*id, hidden);
}

void LayerListModel::setGroupLocked(const QString& groupID, bool locked) {
  if (const auto id = Uuid::parse(groupID.toStdString())) model_.editor.setGroupLocked(*id, locked);
}

void LayerListModel::ungroup(const QString& groupID) {
  if (const auto id = Uuid::parse(groupID.toStdString())) model_.editor.ungroup(*id);
}

void LayerListModel::setSelectedBox(const QRectF& box, bool snap) {
  QRectF placed = box;
  if (snap) {
    placed.translate(snapShift({placed.left(), placed.center().x(), placed.right()}, {0.0, 0.5, 1.0}),
                     snapShift({placed.top(), placed.center().y(), placed.bottom()}, {0.0, 0.5, 1.0}));
  }
  if (placed.width() <= 0 || placed.height() <= 0) return;
  change(selectedID(), [&](LayerState& layer) {
    layer.center = {placed.center().x(), placed.center().y()};
    layer.size = {placed.width(), placed.height()};
  });
}

void LayerListModel::setSelectedRotation(double radians) {
  change(selectedID(), [&](LayerState& layer) { layer.rotation = static_cast<float>(radians); });
}

}  // namespace tavorin

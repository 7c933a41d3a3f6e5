#include "ui/SceneListModel.h"

#include "app/AppModel.h"

namespace tavorin {

SceneListModel::SceneListModel(AppModel& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
  layouts_ = model.layoutStore.layouts.get();
  subscriptions_.push_back(model.layoutStore.layouts.subscribe([this](const auto&) { reload(); }));
  subscriptions_.push_back(model.switcher.programScene.subscribe([this](const auto&) { retally(); }));
  subscriptions_.push_back(model.switcher.loadedLayoutID.subscribe([this](const auto&) { retally(); }));
  subscriptions_.push_back(model.switcher.previewScene.subscribe([this](const auto&) { retally(); }));
}

int SceneListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(layouts_.size());
}

const MixerScene* SceneListModel::at(int row) const {
  return row >= 0 && row < static_cast<int>(layouts_.size()) ? &layouts_[static_cast<std::size_t>(row)] : nullptr;
}

QVariant SceneListModel::data(const QModelIndex& index, int role) const {
  const MixerScene* scene = at(index.row());
  if (!scene) return {};
  switch (role) {
    case idRole: return QString::fromStdString(scene->id.toString());
    case Qt::DisplayRole:
    case nameRole: return QString::fromStdString(scene->name);
    case onProgramRole: return model_.switcher.programScene->id == scene->id;
    // After a take Preview holds the scene that left Program, a copy with its id.
    case onPreviewRole:
      return model_.switcher.loadedLayoutID.get() == scene->id || model_.switcher.previewScene->id == scene->id;
  }
  return {};
}

QHash<int, QByteArray> SceneListModel::roleNames() const {
  return {{idRole, "sceneID"}, {nameRole, "name"}, {onProgramRole, "onProgram"}, {onPreviewRole, "onPreview"}};
}

void SceneListModel::reload() {
  const auto& now = model_.layoutStore.layouts.get();
  const bool sameRows = now.size() == layouts_.size() &&
                        std::equal(now.begin(), now.end(), layouts_.begin(),
                                   [](const MixerScene& a, const MixerScene& b) { return a.id == b.id; });
  if (sameRows) {
    // Content edits (a layer moved, a rename) keep the rows: the grid does not lose its place.
    layouts_ = now;
    if (!layouts_.empty()) Q_EMIT dataChanged(index(0), index(static_cast<int>(layouts_.size()) - 1));
    return;
  }
  beginResetModel();
  layouts_ = now;
  endResetModel();
  Q_EMIT countChanged();
}

void SceneListModel::retally() {
  if (layouts_.empty()) return;
  Q_EMIT dataChanged(index(0), index(static_cast<int>(layouts_.size()) - 1), {onProgramRole, onPreviewRole});
}

void SceneListModel::load(int row) {
  if (const MixerScene* scene = at(row)) model_.loadLayout(*scene);
}

void SceneListModel::take(int row) {
  const MixerScene* scene = at(row);
  if (!scene) return;
  const MixerScene chosen = *scene;
  // In direct mode loading already takes it.
  model_.loadLayout(chosen);
  if (model_.switcher.studioMode.get()) model_.take(model_.switcher);
}

void SceneListModel::addFromPreview() {
  const Uuid id = model_.layoutStore.add(model_.switcher.previewScene.get(), "");
  for (const MixerScene& scene : model_.layoutStore.layouts.get()) {
    if (scene.id == id) model_.switcher.stageLayout(scene);
  }
}

void SceneListModel::duplicate(int row) {
  if (const MixerScene* scene = at(row)) model_.layoutStore.duplicate(scene->id);
}

void SceneListModel::rename(int row, const QString& name) {
  if (const MixerScene* scene = at(row)) model_.layoutStore.rename(scene->id, name.trimmed().toStdString());
}

void SceneListModel::remove(int row) {
  const MixerScene* scene = at(row);
  if (!scene) return;
  const Uuid id = scene->id;
  // Preview keeps its picture but no longer writes back into a layout that is gone.
  if (model_.switcher.loadedLayoutID.get() == id) model_.switcher.forgetLoadedLayout();
  model_.layoutStore.layouts.modify([&](std::vector<MixerScene>& list) {
    std::erase_if(list, [&](const MixerScene& s) { return s.id == id; });
  });
  model_.layoutStore.save();
}

void SceneListModel::move(int from, int to) {
  const int count = static_cast<int>(layouts_.size());
  if (from < 0 || from >= count || to < 0 || to >= count || from == to) return;
  model_.layoutStore.layouts.modify([&](std::vector<MixerScene>& list) {
    MixerScene moved = std::move(list[static_cast<std::size_t>(from)]);
    list.erase(list.begin() + from);
    list.insert(list.begin() + to, std::move(moved));
  });
  model_.layoutStore.save();
}

}  // namespace tavorin

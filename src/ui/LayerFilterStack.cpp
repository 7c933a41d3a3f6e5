#include "ui/LayerFilterStack.h"

#include "app/AppModel.h"
#include "model/LayerFilters.h"
#include "model/VideoEffectPreset.h"
#include "model/VideoFilterDefaults.h"
#include "ui/QtText.h"

namespace tavorin {

namespace {

std::optional<Uuid> uuidOf(const QString& id) { return Uuid::parse(id.toStdString()); }

}  // namespace

LayerFilterStack::LayerFilterStack(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  auto changedNow = [this](const auto&) { Q_EMIT changed(); };
  subscriptions_.push_back(model.switcher.previewScene.subscribe(changedNow));
  subscriptions_.push_back(model.editor.selectedLayerID.subscribe(changedNow));
  subscriptions_.push_back(model.videoLooks.presets.subscribe(changedNow));
}

bool LayerFilterStack::active() const { return model_.editor.selectedLayer() != nullptr; }

QStringList LayerFilterStack::kinds() const {
  QStringList names;
  for (const auto& [kind, raw] : EnumNames<VideoFilterKind>::table) names << qText(videoFilterLabel(kind));
  return names;
}

QVariantList LayerFilterStack::filters() const {
  QVariantList rows;
  const LayerState* layer = model_.editor.selectedLayer();
  if (!layer) return rows;
  for (const VideoFilterConfig& filter : *layer->videoFilters) {
    const auto values = effectiveParams(filter);
    QVariantList params;
    for (const VideoFilterParamSpec& spec : videoFilterParamSpecs(filter.kind)) {
      params << QVariantMap{{"key", qText(spec.key)},       {"label", qText(spec.label)}, {"min", spec.minimum},
                            {"max", spec.maximum},          {"unit", qText(spec.unit)},
                            {"value", values.at(std::string(spec.key))}};
    }
    rows << QVariantMap{{"id", QString::fromStdString(filter.id.toString())},
                        {"label", qText(videoFilterLabel(filter.kind))},
                        {"enabled", filter.enabled},
                        {"params", params}};
  }
  return rows;
}

QStringList LayerFilterStack::builtInLooks() const {
  QStringList names;
  for (const VideoEffectPreset& look : tavorin::builtInLooks()) names << QString::fromStdString(look.name);
  return names;
}

QVariantList LayerFilterStack::myLooks() const {
  QVariantList looks;
  for (const VideoEffectPreset& look : model_.videoLooks.presets.get()) {
    looks << QVariantMap{{"id", QString::fromStdString(look.id.toString())}, {"name", QString::fromStdString(look.name)}};
  }
  return looks;
}

template <class Edit>
void LayerFilterStack::edit(Edit&& change) {
  const LayerState* selected = model_.editor.selectedLayer();
  if (!selected) return;
  LayerState layer = *selected;
  change(layer);
  if (layer != *selected) model_.editor.updateLayer(layer);
}

void LayerFilterStack::add(int kind) {
  const auto& table = EnumNames<VideoFilterKind>::table;
  if (kind < 0 || kind >= static_cast<int>(std::size(table))) return;
  edit([&](LayerState& layer) { addVideoFilter(layer, table[kind].first); });
}

void LayerFilterStack::remove(const QString& id) {
  if (const auto filter = uuidOf(id)) edit([&](LayerState& layer) { removeVideoFilter(layer, *filter); });
}

void LayerFilterStack::setEnabled(const QString& id, bool on) {
  if (const auto filter = uuidOf(id)) edit([&](LayerState& layer) { setVideoFilterEnabled(layer, *filter, on); });
}

void LayerFilterStack::setParam(const QString& id, const QString& key, double value) {
  if (const auto filter = uuidOf(id)) {
    edit([&](LayerState& layer) { setVideoFilterParam(layer, *filter, key.toStdString(), value); });
  }
}

void LayerFilterStack::move(int from, int to) {
  if (from < 0 || to < 0) return;
  edit([&](LayerState& layer) { moveVideoFilter(layer, static_cast<std::size_t>(from), static_cast<std::size_t>(to)); });
}

void LayerFilterStack::applyBuiltIn(int index) {
  const auto looks = tavorin::builtInLooks();
  if (index < 0 || index >= static_cast<int>(looks.size())) return;
  edit([&](LayerState& layer) { layer.videoFilters = stackOfLook(looks[static_cast<std::size_t>(index)]); });
}

void LayerFilterStack::applyMine(const QString& id) {
  const auto lookID = uuidOf(id);
  for (const VideoEffectPreset& look : model_.videoLooks.presets.get()) {
    if (lookID && look.id == *lookID) edit([&](LayerState& layer) { layer.videoFilters = stackOfLook(look); });
  }
}

QString LayerFilterStack::saveLook(const QString& name) {
  const LayerState* layer = model_.editor.selectedLayer();
  if (!layer || layer->videoFilters->empty()) {
    return "Add some effects to this layer first, then save them as a reusable look.";
  }
  model_.videoLooks.add(name.toStdString(), *layer->videoFilters);
  return {};
}

void LayerFilterStack::deleteLook(const QString& id) {
  if (const auto lookID = uuidOf(id)) model_.videoLooks.remove(*lookID);
}

}  // namespace tavorin

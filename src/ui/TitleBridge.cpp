#include "ui/TitleBridge.h"

#include <QJsonDocument>

#include "app/AppModel.h"
#include "model/ShapeConfigJson.h"
#include "model/TextConfigJson.h"
#include "sources/ShapeSource.h"
#include "sources/TextSource.h"
#include "ui/QtText.h"

namespace tavorin {

namespace {

template <class E>
QStringList namesOf() {
  QStringList names;
  for (const auto& [value, name] : EnumNames<E>::table) names << qText(std::string(name));
  return names;
}

Json jsonOf(const QVariant& value) {
  return Json::parse(QJsonDocument::fromVariant(QVariantList{value}).toJson(QJsonDocument::Compact).toStdString())[0];
}

// The design with the field at `path` replaced; false when the path names no field of it.
bool replaced(Json& design, const QString& path, Json value) {
  Json* at = &design;
  for (const QString& key : path.split('.')) {
    if (!at->is_object() || !at->contains(key.toStdString())) return false;
    at = &(*at)[key.toStdString()];
  }
  // A number where a number was: the editor's sliders send doubles for integers too.
  if (at->is_number() && value.is_number()) value = value.get<double>();
  *at = std::move(value);
  return true;
}

// `apply` with the design decoded from `json`; false (nothing applied) when it does not decode.
template <class Config, class Source>
bool applyDecoded(Source& source, const Json& json) {
  try {
    source.apply(json.get<Config>());
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace

TitleBridge::TitleBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {}

void TitleBridge::setSource(const QString& id) {
  if (id == source_) return;
  source_ = id;
  watch();
  Q_EMIT sourceChanged();
  Q_EMIT designChanged();
}

void TitleBridge::watch() {
  watching_ = Subscription();
  const auto found = model_.sourceLifecycle.find(source_.toStdString());
  auto changed = [this](const auto&) { Q_EMIT designChanged(); };
  if (auto* text = dynamic_cast<TextSource*>(found.get())) watching_ = text->config.subscribe(changed);
  if (auto* shape = dynamic_cast<ShapeSource*>(found.get())) watching_ = shape->config.subscribe(changed);
}

QString TitleBridge::kind() const {
  const auto found = model_.sourceLifecycle.find(source_.toStdString());
  if (dynamic_cast<TextSource*>(found.get())) return "text";
  if (dynamic_cast<ShapeSource*>(found.get())) return "shape";
  return {};
}

QVariantMap TitleBridge::design() const {
  const auto found = model_.sourceLifecycle.find(source_.toStdString());
  Json json;
  if (auto* text = dynamic_cast<TextSource*>(found.get())) json = text->config.get();
  if (auto* shape = dynamic_cast<ShapeSource*>(found.get())) json = shape->config.get();
  if (!json.is_object()) return {};
  return QJsonDocument::fromJson(QByteArray::fromStdString(json.dump())).toVariant().toMap();
}

QStringList TitleBridge::shapes() const { return namesOf<ShapeType>(); }

QStringList TitleBridge::fillStyles() const { return namesOf<ShapeFill::Style>(); }

QString TitleBridge::addText() { return qText(model_.addTextSource()); }

QString TitleBridge::addShape(int shape) {
  const auto& table = EnumNames<ShapeType>::table;
  const ShapeType type = shape >= 0 && shape < static_cast<int>(std::size(table))
                             ? table[static_cast<std::size_t>(shape)].first
                             : ShapeType::rectangle;
  return qText(model_.addShapeSource(type, ShapeFill{}.color1));
}

bool TitleBridge::set(const QString& path, const QVariant& value) {
  const auto found = model_.sourceLifecycle.find(source_.toStdString());
  auto* text = dynamic_cast<TextSource*>(found.get());
  auto* shape = dynamic_cast<ShapeSource*>(found.get());
  if (!text && !shape) return false;
  Json json = text ? Json(text->config.get()) : Json(shape->config.get());
  if (!replaced(json, path, jsonOf(value))) return false;
  return text ? applyDecoded<TextConfig>(*text, json) : applyDecoded<ShapeConfig>(*shape, json);
}

bool TitleBridge::setColor(const QString& path, const QColor& color) {
  return set(path, QVariantMap{{"r", color.redF()}, {"g", color.greenF()}, {"b", color.blueF()}, {"a", color.alphaF()}});
}

bool TitleBridge::isTitle(const QString& sourceID) const {
  const auto found = model_.sourceLifecycle.find(sourceID.toStdString());
  return dynamic_cast<TextSource*>(found.get()) || dynamic_cast<ShapeSource*>(found.get());
}

}  // namespace tavorin

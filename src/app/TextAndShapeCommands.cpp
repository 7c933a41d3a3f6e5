// The operator's commands on titles and shapes, and how their designs are
// saved and named.
#include <cctype>

#include "app/AppModel.h"
#include "base/Text.h"
#include "model/ShapeConfigJson.h"
#include "model/TextConfigJson.h"
#include "platform/text/Graphemes.h"
#include "sources/ShapeSource.h"
#include "sources/TextSource.h"

namespace tavorin {

namespace {

constexpr std::size_t kNameLength = 40;

std::string capitalised(std::string_view name) {
  std::string result(name);
  if (!result.empty()) result[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(result[0])));
  return result;
}

}  // namespace

std::string AppModel::addTextSource() {
  SavedSource saved;
  saved.id = "text:" + Uuid::make().toString();
  saved.kind = SavedSource::Kind::text;
  saved.name = "Text";
  saved.textConfig = Json(TextConfig{});
  sourcesStore.upsert(saved);
  auto source = std::make_shared<TextSource>(saved.id, saved.name);
  saveDesignChanges(*source);
  addSource(std::move(source));
  return saved.id;
}

std::string AppModel::addShapeSource(ShapeType shape, RGBAColor color) {
  ShapeConfig design{.shape = shape, .fill = {.color1 = color, .color2 = color}};
  SavedSource saved;
  saved.id = "shape:" + Uuid::make().toString();
  saved.kind = SavedSource::Kind::shape;
  saved.name = capitalised(enumName(shape));
  saved.shapeConfig = Json(design);
  sourcesStore.upsert(saved);
  auto source = std::make_shared<ShapeSource>(saved.id, saved.name, design);
  saveDesignChanges(*source);
  addSource(std::move(source));
  return saved.id;
}

bool AppModel::setTextConfig(const std::string& id, TextConfig config) {
  auto* text = dynamic_cast<TextSource*>(sourceLifecycle.find(id).get());
  if (!text) return false;
  text->apply(std::move(config));
  return true;
}

bool AppModel::setShapeConfig(const std::string& id, ShapeConfig config) {
  auto* shape = dynamic_cast<ShapeSource*>(sourceLifecycle.find(id).get());
  if (!shape) return false;
  shape->apply(std::move(config));
  return true;
}

void AppModel::saveDesignChanges(BaseSource& source) {
  const std::string id = source.id();
  if (auto* text = dynamic_cast<TextSource*>(&source)) {
    text->onConfigChange = [this, id](const TextConfig& config) { sourcesStore.setTextConfig(id, Json(config)); };
  } else if (auto* shape = dynamic_cast<ShapeSource*>(&source)) {
    shape->onConfigChange = [this, id](const ShapeConfig& config) { sourcesStore.setShapeConfig(id, Json(config)); };
  }
}

void AppModel::nameAfterText(const BaseSource& source) {
  const auto* text = dynamic_cast<const TextSource*>(&source);
  if (!text) return;
  const std::string name = leadingCharacters(trimmed(text->config->text), kNameLength);
  if (name.empty()) return;
  mediaNames.modify([&](std::map<std::string, std::string>& names) { names[source.id()] = name; });
}

}  // namespace tavorin

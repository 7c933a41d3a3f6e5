#include "model/OverlayJson.h"

#include "model/JsonDecoding.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

void to_json(json& j, const OverlayItem& v) { j = json{{"id", v.id}, {"name", v.name}, {"fileName", v.fileName}}; }

void from_json(const json& j, OverlayItem& v) {
  expectObject(j, "overlay");
  v = OverlayItem{};
  requiredKey(j, "id", v.id);
  requiredKey(j, "name", v.name);
  requiredKey(j, "fileName", v.fileName);
}

void to_json(json& j, const OverlayParam& v) {
  j = json{{"key", v.key}, {"label", v.label}, {"type", v.type}, {"default", v.defaultValue}};
}

void from_json(const json& j, OverlayParam& v) {
  expectObject(j, "overlay param");
  v = OverlayParam{};
  requiredKey(j, "key", v.key);
  requiredKey(j, "label", v.label);
  requiredKey(j, "type", v.type);
  requiredKey(j, "default", v.defaultValue);
}

}  // namespace tavorin

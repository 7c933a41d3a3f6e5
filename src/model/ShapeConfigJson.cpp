#include "model/ShapeConfigJson.h"

#include "model/JsonDecoding.h"
#include "model/JsonFloat.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

void to_json(json& j, const ShapeFill& v) {
  j = json{{"style", enumName(v.style)},
           {"color1", v.color1},
           {"color2", v.color2},
           {"angle", v.angle},
           {"opacity", jsonFloat32(v.opacity)}};
}

void from_json(const json& j, ShapeFill& v) {
  expectObject(j, "shape fill");
  requiredKey(j, "style", v.style);
  requiredKey(j, "color1", v.color1);
  requiredKey(j, "color2", v.color2);
  requiredKey(j, "angle", v.angle);
  requiredKey(j, "opacity", v.opacity);
}

void to_json(json& j, const ShapeConfig& v) { j = json{{"shape", enumName(v.shape)}, {"fill", v.fill}}; }

void from_json(const json& j, ShapeConfig& v) {
  expectObject(j, "shape config");
  requiredKey(j, "shape", v.shape);
  requiredKey(j, "fill", v.fill);
}

ShapeConfig shapeConfigOrDefaults(const std::optional<Json>& saved) {
  if (!saved) return {};
  try {
    ShapeConfig config;
    from_json(*saved, config);
    return config;
  } catch (const ModelDecodeError&) {
    return {};
  }
}

}  // namespace tavorin

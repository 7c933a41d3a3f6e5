#pragma once

#include <optional>

#include "model/Json.h"
#include "model/ShapeConfig.h"

// JSON coding of ShapeFill and ShapeConfig: every key is required, and a
// missing key, a wrong type or an unknown name throws ModelDecodeError.
namespace tavorin {

void to_json(Json& j, const ShapeFill& v);
void from_json(const Json& j, ShapeFill& v);
void to_json(Json& j, const ShapeConfig& v);
void from_json(const Json& j, ShapeConfig& v);

// The design a saved shape source keeps: the defaults when it has none or
// when what it has does not decode.
ShapeConfig shapeConfigOrDefaults(const std::optional<Json>& saved);

}  // namespace tavorin

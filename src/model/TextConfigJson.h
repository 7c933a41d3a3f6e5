#pragma once

#include <optional>

#include "model/Json.h"
#include "model/TextConfig.h"

// JSON coding of TextConfig: every key is required, and a missing key, a
// wrong type or an unknown name throws ModelDecodeError.
namespace tavorin {

void to_json(Json& j, const TextConfig& v);
void from_json(const Json& j, TextConfig& v);

// The design a saved text source keeps: the defaults when it has none or
// when what it has does not decode.
TextConfig textConfigOrDefaults(const std::optional<Json>& saved);

}  // namespace tavorin

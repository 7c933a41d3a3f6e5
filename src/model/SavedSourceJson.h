#pragma once

#include <nlohmann/json.hpp>

#include "model/SavedSource.h"

// JSON coding of SavedSource: `id`, `kind` and `name` are required; every other
// field is left out when absent and may be missing. A wrong type or an unknown
// kind throws, failing the decode of the whole file.
namespace tavorin {

void to_json(nlohmann::json& j, const SavedSource& v);
void from_json(const nlohmann::json& j, SavedSource& v);

}  // namespace tavorin

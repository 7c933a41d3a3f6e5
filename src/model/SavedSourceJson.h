#pragma once

#include "model/Json.h"
#include "model/SavedSource.h"

// JSON coding of SavedSource: `id`, `kind` and `name` are required; every other
// field is left out when absent and may be missing. A wrong type or an unknown
// kind throws, failing the decode of the whole file.
namespace tavorin {

void to_json(Json& j, const SavedSource& v);
void from_json(const Json& j, SavedSource& v);

}  // namespace tavorin

#pragma once

#include "model/Json.h"
#include "model/SFXItem.h"

// JSON coding of the effects library's "index.json": the field names as keys,
// the category by name. Every key is required; readers throw ModelDecodeError
// on a missing key, a wrong type or an unknown category.
namespace tavorin {

void to_json(Json& j, const SFXItem& v);
void from_json(const Json& j, SFXItem& v);

}  // namespace tavorin

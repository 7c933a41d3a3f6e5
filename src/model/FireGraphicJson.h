#pragma once

#include "model/FireGraphic.h"
#include "model/Json.h"

namespace tavorin {

// Every key is optional on reading and takes the record's default.
void to_json(Json& j, const FireGraphic& v);
void from_json(const Json& j, FireGraphic& v);

}  // namespace tavorin

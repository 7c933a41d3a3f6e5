#pragma once

#include "model/Json.h"
#include "model/StreamDestination.h"

// JSON coding of stream destinations as "streamDestinations.json" holds them:
// the field names as keys, `quality` nested, absent optionals left out. Readers
// throw ModelDecodeError on a missing required key, a wrong type or an unknown
// enum name.
namespace tavorin {

void to_json(Json& j, const StreamQuality& v);
void from_json(const Json& j, StreamQuality& v);
void to_json(Json& j, const StreamDestination& v);
void from_json(const Json& j, StreamDestination& v);

}  // namespace tavorin

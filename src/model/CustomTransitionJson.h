#pragma once

#include "model/CustomTransition.h"
#include "model/Json.h"

// JSON coding of custom transitions, as "transitions.json" holds them. Readers
// take defaults for missing keys, read the keys of older files (a single
// `soundID`, a single `assetSourceID` track with `start`/`end` poses) and throw
// ModelDecodeError on a wrong type or a missing required key.
namespace tavorin {

void to_json(Json& j, const TransitionKeyframe& v);
void from_json(const Json& j, TransitionKeyframe& v);
void to_json(Json& j, const TransitionTrack& v);
void from_json(const Json& j, TransitionTrack& v);
void to_json(Json& j, const TransitionSound& v);
void from_json(const Json& j, TransitionSound& v);
void to_json(Json& j, const CustomTransition& v);
void from_json(const Json& j, CustomTransition& v);

}  // namespace tavorin

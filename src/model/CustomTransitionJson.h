#pragma once

#include <nlohmann/json.hpp>

#include "model/CustomTransition.h"

// JSON coding of custom transitions, as "transitions.json" holds them. Readers
// take defaults for missing keys, read the keys of older files (a single
// `soundID`, a single `assetSourceID` track with `start`/`end` poses) and throw
// ModelDecodeError on a wrong type or a missing required key.
namespace tavorin {

void to_json(nlohmann::json& j, const TransitionKeyframe& v);
void from_json(const nlohmann::json& j, TransitionKeyframe& v);
void to_json(nlohmann::json& j, const TransitionTrack& v);
void from_json(const nlohmann::json& j, TransitionTrack& v);
void to_json(nlohmann::json& j, const TransitionSound& v);
void from_json(const nlohmann::json& j, TransitionSound& v);
void to_json(nlohmann::json& j, const CustomTransition& v);
void from_json(const nlohmann::json& j, CustomTransition& v);

}  // namespace tavorin

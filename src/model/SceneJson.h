#pragma once

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "model/MixerScene.h"
#include "model/SessionState.h"

// JSON coding of the show records. Writers follow the show files' encoding
// rules; readers tolerate missing keys (they take the defaults) but throw
// ModelDecodeError on a value of the wrong type or an unknown enum value, which
// fails the decode of the whole file.
namespace tavorin {

struct ModelDecodeError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void to_json(nlohmann::json& j, const Uuid& v);
void from_json(const nlohmann::json& j, Uuid& v);
void to_json(nlohmann::json& j, const Point& v);
void from_json(const nlohmann::json& j, Point& v);
void to_json(nlohmann::json& j, const Size& v);
void from_json(const nlohmann::json& j, Size& v);
void to_json(nlohmann::json& j, const Rect& v);
void from_json(const nlohmann::json& j, Rect& v);
void to_json(nlohmann::json& j, const RGBAColor& v);
void from_json(const nlohmann::json& j, RGBAColor& v);
void to_json(nlohmann::json& j, const CornerRadii& v);
void from_json(const nlohmann::json& j, CornerRadii& v);
void to_json(nlohmann::json& j, const CornerPin& v);
void from_json(const nlohmann::json& j, CornerPin& v);
void to_json(nlohmann::json& j, const LayerAnimation& v);
void from_json(const nlohmann::json& j, LayerAnimation& v);
void to_json(nlohmann::json& j, const VideoFilterConfig& v);
void from_json(const nlohmann::json& j, VideoFilterConfig& v);
void to_json(nlohmann::json& j, const LayerState& v);
void from_json(const nlohmann::json& j, LayerState& v);
void to_json(nlohmann::json& j, const LayerGroup& v);
void from_json(const nlohmann::json& j, LayerGroup& v);
void to_json(nlohmann::json& j, const ChannelSetting& v);
void from_json(const nlohmann::json& j, ChannelSetting& v);
void to_json(nlohmann::json& j, const SceneAudio& v);
void from_json(const nlohmann::json& j, SceneAudio& v);
void to_json(nlohmann::json& j, const SceneTransition& v);
void from_json(const nlohmann::json& j, SceneTransition& v);
void to_json(nlohmann::json& j, const MixerScene& v);
void from_json(const nlohmann::json& j, MixerScene& v);
void to_json(nlohmann::json& j, const SessionState& v);
void from_json(const nlohmann::json& j, SessionState& v);

}  // namespace tavorin

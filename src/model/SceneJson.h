#pragma once

#include <stdexcept>

#include "model/Json.h"
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

void to_json(Json& j, const Uuid& v);
void from_json(const Json& j, Uuid& v);
void to_json(Json& j, const Point& v);
void from_json(const Json& j, Point& v);
void to_json(Json& j, const Size& v);
void from_json(const Json& j, Size& v);
void to_json(Json& j, const Rect& v);
void from_json(const Json& j, Rect& v);
void to_json(Json& j, const RGBAColor& v);
void from_json(const Json& j, RGBAColor& v);
void to_json(Json& j, const CornerRadii& v);
void from_json(const Json& j, CornerRadii& v);
void to_json(Json& j, const CornerPin& v);
void from_json(const Json& j, CornerPin& v);
void to_json(Json& j, const LayerAnimation& v);
void from_json(const Json& j, LayerAnimation& v);
void to_json(Json& j, const VideoFilterConfig& v);
void from_json(const Json& j, VideoFilterConfig& v);
void to_json(Json& j, const LayerState& v);
void from_json(const Json& j, LayerState& v);
void to_json(Json& j, const LayerGroup& v);
void from_json(const Json& j, LayerGroup& v);
void to_json(Json& j, const ChannelSetting& v);
void from_json(const Json& j, ChannelSetting& v);
void to_json(Json& j, const SceneAudio& v);
void from_json(const Json& j, SceneAudio& v);
void to_json(Json& j, const SceneTransition& v);
void from_json(const Json& j, SceneTransition& v);
void to_json(Json& j, const MixerScene& v);
void from_json(const Json& j, MixerScene& v);
void to_json(Json& j, const SessionState& v);
void from_json(const Json& j, SessionState& v);

}  // namespace tavorin

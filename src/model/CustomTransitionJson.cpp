#include "model/CustomTransitionJson.h"

#include "model/JsonDecoding.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

void to_json(json& j, const TransitionKeyframe& v) {
  j = json{{"time", v.time}, {"state", v.state}, {"yawDeg", v.yawDeg}, {"pitchDeg", v.pitchDeg}};
}
void from_json(const json& j, TransitionKeyframe& v) {
  expectObject(j, "keyframe");
  v = TransitionKeyframe{};
  requiredKey(j, "time", v.time);
  requiredKey(j, "state", v.state);
  optionalKey(j, "yawDeg", v.yawDeg);
  optionalKey(j, "pitchDeg", v.pitchDeg);
}

void to_json(json& j, const TransitionTrack& v) {
  j = json{{"id", v.id}, {"sourceID", v.sourceID}, {"keyframes", v.keyframes}};
}
void from_json(const json& j, TransitionTrack& v) {
  expectObject(j, "track");
  v = TransitionTrack{};
  optionalKey(j, "id", v.id);
  requiredKey(j, "sourceID", v.sourceID);
  optionalKey(j, "keyframes", v.keyframes);
}

void to_json(json& j, const TransitionSound& v) {
  j = json{{"id", v.id},          {"soundID", v.soundID}, {"delay", v.delay},
           {"gain", v.gain},      {"fadeIn", v.fadeIn},   {"fadeOut", v.fadeOut}};
}
void from_json(const json& j, TransitionSound& v) {
  expectObject(j, "transition sound");
  v = TransitionSound{};
  optionalKey(j, "id", v.id);
  requiredKey(j, "soundID", v.soundID);
  optionalKey(j, "delay", v.delay);
  optionalKey(j, "gain", v.gain);
  optionalKey(j, "fadeIn", v.fadeIn);
  optionalKey(j, "fadeOut", v.fadeOut);
}

void to_json(json& j, const CustomTransition& v) {
  j = json{{"id", v.id}, {"name", v.name}, {"tracks", v.tracks}, {"duration", v.duration}, {"cutPoint", v.cutPoint}};
  if (v.holdPoint) j["holdPoint"] = *v.holdPoint;
  j["sounds"] = v.sounds;
}

namespace {

// Files from before transitions had several sounds held one `soundID`.
std::vector<TransitionSound> legacySounds(const json& j) {
  std::optional<Uuid> soundID;
  optionalKey(j, "soundID", soundID);
  if (!soundID) return {};
  TransitionSound sound;
  sound.soundID = *soundID;
  return {sound};
}

// Files from before transitions had several tracks moved one asset: its
// keyframes on the transition itself, or only a start and an end pose.
std::vector<TransitionTrack> legacyTracks(const json& j) {
  std::optional<std::string> sourceID;
  optionalKey(j, "assetSourceID", sourceID);
  if (!sourceID) return {};
  TransitionTrack track;
  track.sourceID = *sourceID;
  optionalKey(j, "keyframes", track.keyframes);
  if (track.keyframes.empty()) {
    std::optional<LayerState> start, end;
    optionalKey(j, "start", start);
    optionalKey(j, "end", end);
    if (start) track.keyframes.push_back({0, *start});
    if (end) track.keyframes.push_back({1, *end});
  }
  return {track};
}

}  // namespace

void from_json(const json& j, CustomTransition& v) {
  expectObject(j, "custom transition");
  v = CustomTransition{};
  optionalKey(j, "id", v.id);
  optionalKey(j, "name", v.name);
  optionalKey(j, "duration", v.duration);
  optionalKey(j, "cutPoint", v.cutPoint);
  optionalKey(j, "holdPoint", v.holdPoint);
  if (j.contains("tracks") && !j["tracks"].is_null()) {
    decode(j["tracks"], v.tracks);
  } else {
    v.tracks = legacyTracks(j);
  }
  if (j.contains("sounds") && !j["sounds"].is_null()) {
    decode(j["sounds"], v.sounds);
  } else {
    v.sounds = legacySounds(j);
  }
}

}  // namespace tavorin

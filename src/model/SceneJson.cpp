#include "model/SceneJson.h"

#include "model/JsonDecoding.h"
#include "model/JsonFloat.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

namespace {

json numberPair(double a, double b) { return json::array({a, b}); }

json f32(float value) { return jsonFloat32(value); }

void decodePair(const json& j, double& a, double& b, const char* what) {
  if (!j.is_array() || j.size() != 2) fail(std::string(what) + " is not a pair of numbers");
  decode(j[0], a);
  decode(j[1], b);
}

template <class E>
E intEnum(const json& j, std::optional<E> (*fromInt)(long long)) {
  long long raw = 0;
  decode(j, raw);
  auto value = fromInt(raw);
  if (!value) fail("unknown enum value " + std::to_string(raw));
  return *value;
}

}  // namespace

void to_json(json& j, const Uuid& v) { j = v.toString(); }
void from_json(const json& j, Uuid& v) {
  if (!j.is_string()) fail("a UUID is not a string");
  auto id = Uuid::parse(j.get_ref<const std::string&>());
  if (!id) fail("malformed UUID " + j.get<std::string>());
  v = *id;
}

void to_json(json& j, const Point& v) { j = numberPair(v.x, v.y); }
void from_json(const json& j, Point& v) { decodePair(j, v.x, v.y, "point"); }
void to_json(json& j, const Size& v) { j = numberPair(v.width, v.height); }
void from_json(const json& j, Size& v) { decodePair(j, v.width, v.height, "size"); }
void to_json(json& j, const Rect& v) { j = json::array({json(v.origin), json(v.size)}); }
void from_json(const json& j, Rect& v) {
  if (!j.is_array() || j.size() != 2) fail("rectangle is not [[x, y], [width, height]]");
  from_json(j[0], v.origin);
  from_json(j[1], v.size);
}

void to_json(json& j, const RGBAColor& v) { j = json{{"r", f32(v.r)}, {"g", f32(v.g)}, {"b", f32(v.b)}, {"a", f32(v.a)}}; }
void from_json(const json& j, RGBAColor& v) {
  expectObject(j, "colour");
  requiredKey(j, "r", v.r);
  requiredKey(j, "g", v.g);
  requiredKey(j, "b", v.b);
  requiredKey(j, "a", v.a);
}

void to_json(json& j, const CornerRadii& v) {
  j = json{{"topLeft", f32(v.topLeft)},
           {"topRight", f32(v.topRight)},
           {"bottomLeft", f32(v.bottomLeft)},
           {"bottomRight", f32(v.bottomRight)}};
}
void from_json(const json& j, CornerRadii& v) {
  expectObject(j, "corners");
  requiredKey(j, "topLeft", v.topLeft);
  requiredKey(j, "topRight", v.topRight);
  requiredKey(j, "bottomLeft", v.bottomLeft);
  requiredKey(j, "bottomRight", v.bottomRight);
}

void to_json(json& j, const CornerPin& v) {
  j = json{{"topLeft", v.topLeft}, {"topRight", v.topRight}, {"bottomLeft", v.bottomLeft}, {"bottomRight", v.bottomRight}};
}
void from_json(const json& j, CornerPin& v) {
  expectObject(j, "cornerPin");
  requiredKey(j, "topLeft", v.topLeft);
  requiredKey(j, "topRight", v.topRight);
  requiredKey(j, "bottomLeft", v.bottomLeft);
  requiredKey(j, "bottomRight", v.bottomRight);
}

void to_json(json& j, const LayerAnimation& v) {
  j = json{{"kind", enumName(v.kind)}, {"speed", v.speed}, {"enter", enumName(v.enter)}, {"enterDuration", v.enterDuration}};
  if (v.enterAt) j["enterAt"] = *v.enterAt;
  j["exit"] = enumName(v.exit);
  j["exitDuration"] = v.exitDuration;
  if (v.exitAt) j["exitAt"] = *v.exitAt;
}
void from_json(const json& j, LayerAnimation& v) {
  expectObject(j, "animation");
  v = LayerAnimation{};
  optionalKey(j, "kind", v.kind);
  optionalKey(j, "speed", v.speed);
  optionalKey(j, "enter", v.enter);
  optionalKey(j, "enterDuration", v.enterDuration);
  optionalKey(j, "enterAt", v.enterAt);
  optionalKey(j, "exit", v.exit);
  optionalKey(j, "exitDuration", v.exitDuration);
  optionalKey(j, "exitAt", v.exitAt);
}

void to_json(json& j, const VideoFilterConfig& v) {
  j = json{{"id", v.id}, {"kind", enumName(v.kind)}, {"enabled", v.enabled}, {"params", v.params}};
}
void from_json(const json& j, VideoFilterConfig& v) {
  expectObject(j, "video filter");
  requiredKey(j, "id", v.id);
  requiredKey(j, "kind", v.kind);
  requiredKey(j, "enabled", v.enabled);
  requiredKey(j, "params", v.params);
}

void to_json(json& j, const LayerState& v) {
  j = json::object();
  j["id"] = v.id;
  j["sourceID"] = *v.sourceID;
  j["center"] = v.center;
  j["size"] = v.size;
  j["rotation"] = f32(v.rotation);
  j["opacity"] = f32(v.opacity);
  j["zOrder"] = v.zOrder;
  j["cropRect"] = v.cropRect;
  j["fill"] = v.fill;
  j["corners"] = v.corners;
  j["borderColor"] = v.borderColor;
  j["borderWidth"] = f32(v.borderWidth);
  j["shadowOpacity"] = f32(v.shadowOpacity);
  j["shadowRadius"] = f32(v.shadowRadius);
  j["shadowOffset"] = v.shadowOffset;
  j["flipHorizontal"] = v.flipHorizontal;
  j["flipVertical"] = v.flipVertical;
  j["keyMode"] = static_cast<int>(v.keyMode);
  j["keyColor"] = v.keyColor;
  j["keyThreshold"] = f32(v.keyThreshold);
  j["keySmoothness"] = f32(v.keySmoothness);
  j["segmentationQuality"] = v.segmentationQuality;
  j["segmentationSmoothing"] = f32(v.segmentationSmoothing);
  j["backgroundBlur"] = f32(v.backgroundBlur);
  if (v.cornerPin) j["cornerPin"] = *v.cornerPin;
  j["maskMode"] = static_cast<int>(v.maskMode);
  j["maskPolygons"] = *v.maskPolygons;
  j["locked"] = v.locked;
  j["groupID"] = v.groupID ? json(*v.groupID) : json(nullptr);  // always written, null when ungrouped
  j["hidden"] = v.hidden;
  j["animation"] = v.animation;
  j["videoFilters"] = *v.videoFilters;
}

void from_json(const json& j, LayerState& v) {
  expectObject(j, "layer");
  v = LayerState{};
  optionalKey(j, "id", v.id);
  requiredKey(j, "sourceID", v.sourceID);
  optionalKey(j, "center", v.center);
  optionalKey(j, "size", v.size);
  optionalKey(j, "rotation", v.rotation);
  optionalKey(j, "opacity", v.opacity);
  optionalKey(j, "zOrder", v.zOrder);
  optionalKey(j, "cropRect", v.cropRect);
  optionalKey(j, "fill", v.fill);
  if (j.contains("corners") && !j["corners"].is_null()) {
    decode(j["corners"], v.corners);
  } else if (j.contains("cornerRadius") && !j["cornerRadius"].is_null()) {
    // Files from before per-corner radii carry one radius for all four.
    float radius = 0;
    decode(j["cornerRadius"], radius);
    v.corners = CornerRadii::uniform(radius);
  }
  optionalKey(j, "borderColor", v.borderColor);
  optionalKey(j, "borderWidth", v.borderWidth);
  optionalKey(j, "shadowOpacity", v.shadowOpacity);
  optionalKey(j, "shadowRadius", v.shadowRadius);
  optionalKey(j, "shadowOffset", v.shadowOffset);
  optionalKey(j, "flipHorizontal", v.flipHorizontal);
  optionalKey(j, "flipVertical", v.flipVertical);
  if (auto it = j.find("keyMode"); it != j.end() && !it->is_null()) v.keyMode = intEnum<KeyMode>(*it, keyModeFromInt);
  optionalKey(j, "keyColor", v.keyColor);
  optionalKey(j, "keyThreshold", v.keyThreshold);
  optionalKey(j, "keySmoothness", v.keySmoothness);
  optionalKey(j, "segmentationQuality", v.segmentationQuality);
  optionalKey(j, "segmentationSmoothing", v.segmentationSmoothing);
  optionalKey(j, "backgroundBlur", v.backgroundBlur);
  optionalKey(j, "cornerPin", v.cornerPin);
  if (auto it = j.find("maskMode"); it != j.end() && !it->is_null()) v.maskMode = intEnum<MaskMode>(*it, maskModeFromInt);
  optionalKey(j, "maskPolygons", v.maskPolygons);
  optionalKey(j, "locked", v.locked);
  optionalKey(j, "groupID", v.groupID);
  optionalKey(j, "hidden", v.hidden);
  optionalKey(j, "animation", v.animation);
  optionalKey(j, "videoFilters", v.videoFilters);
}

void to_json(json& j, const LayerGroup& v) { j = json{{"id", v.id}, {"name", v.name}}; }
void from_json(const json& j, LayerGroup& v) {
  expectObject(j, "group");
  requiredKey(j, "id", v.id);
  requiredKey(j, "name", v.name);
}

void to_json(json& j, const ChannelSetting& v) { j = json{{"gain", f32(v.gain)}, {"muted", v.muted}}; }
void from_json(const json& j, ChannelSetting& v) {
  expectObject(j, "channel setting");
  requiredKey(j, "gain", v.gain);
  requiredKey(j, "muted", v.muted);
}

void to_json(json& j, const SceneAudio& v) { j = json{{"channels", v.channels}}; }
void from_json(const json& j, SceneAudio& v) {
  expectObject(j, "audio");
  v = SceneAudio{};
  optionalKey(j, "channels", v.channels);
}

void to_json(json& j, const SceneTransition& v) {
  j = json::object();
  if (v.kind) j["kind"] = *v.kind;
  if (v.customID) j["customID"] = *v.customID;
  j["duration"] = v.duration;
}
void from_json(const json& j, SceneTransition& v) {
  expectObject(j, "transition");
  v = SceneTransition{};
  optionalKey(j, "kind", v.kind);
  optionalKey(j, "customID", v.customID);
  requiredKey(j, "duration", v.duration);
}

void to_json(json& j, const MixerScene& v) {
  j = json::object();
  j["id"] = v.id;
  j["name"] = v.name;
  j["layers"] = v.layers;
  j["groups"] = v.groups;
  j["audio"] = v.audio;
  if (v.transition) j["transition"] = *v.transition;
  if (v.companionLayoutID) j["companionLayoutID"] = *v.companionLayoutID;
  if (v.verticalLayers) j["verticalLayers"] = *v.verticalLayers;
  if (v.verticalGroups) j["verticalGroups"] = *v.verticalGroups;
}

void from_json(const json& j, MixerScene& v) {
  expectObject(j, "scene");
  v = MixerScene{};
  optionalKey(j, "id", v.id);
  optionalKey(j, "name", v.name);
  optionalKey(j, "layers", v.layers);
  optionalKey(j, "groups", v.groups);
  optionalKey(j, "audio", v.audio);
  optionalKey(j, "transition", v.transition);
  optionalKey(j, "companionLayoutID", v.companionLayoutID);
  optionalKey(j, "verticalLayers", v.verticalLayers);
  optionalKey(j, "verticalGroups", v.verticalGroups);
}

void to_json(json& j, const SessionState& v) {
  j = json{{"program", v.program},
           {"preview", v.preview},
           {"transition", v.transition},
           {"duration", v.duration},
           {"lockAspect", v.lockAspect}};
}
void from_json(const json& j, SessionState& v) {
  expectObject(j, "session");
  requiredKey(j, "program", v.program);
  requiredKey(j, "preview", v.preview);
  requiredKey(j, "transition", v.transition);
  requiredKey(j, "duration", v.duration);
  requiredKey(j, "lockAspect", v.lockAspect);
}

}  // namespace tavorin

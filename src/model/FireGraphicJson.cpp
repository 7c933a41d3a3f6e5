#include "model/FireGraphicJson.h"

#include "model/JsonDecoding.h"
#include "model/SceneJson.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

void to_json(json& j, const FireGraphic& v) {
  j = json{{"id", v.id}, {"name", v.name}};
  if (v.overlayID) j["overlayID"] = *v.overlayID;
  if (v.sourceID) j["sourceID"] = *v.sourceID;
  j["config"] = v.config;
  j["center"] = v.center;
  j["size"] = v.size;
  j["durationSeconds"] = v.durationSeconds;
  if (v.soundID) j["soundID"] = *v.soundID;
  if (v.state) j["state"] = *v.state;
  j["enterMove"] = enumName(v.enterMove);
  j["enterDuration"] = v.enterDuration;
  j["exitMove"] = enumName(v.exitMove);
  j["exitDuration"] = v.exitDuration;
}

void from_json(const json& j, FireGraphic& v) {
  expectObject(j, "fire graphic");
  v = FireGraphic{};
  optionalKey(j, "id", v.id);
  optionalKey(j, "name", v.name);
  optionalKey(j, "overlayID", v.overlayID);
  optionalKey(j, "sourceID", v.sourceID);
  optionalKey(j, "config", v.config);
  optionalKey(j, "center", v.center);
  optionalKey(j, "size", v.size);
  optionalKey(j, "durationSeconds", v.durationSeconds);
  optionalKey(j, "soundID", v.soundID);
  optionalKey(j, "state", v.state);
  optionalKey(j, "enterMove", v.enterMove);
  optionalKey(j, "enterDuration", v.enterDuration);
  optionalKey(j, "exitMove", v.exitMove);
  optionalKey(j, "exitDuration", v.exitDuration);
}

}  // namespace tavorin

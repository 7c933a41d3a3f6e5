#include "model/StreamDestinationJson.h"

#include "model/JsonDecoding.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

void to_json(json& j, const StreamQuality& v) {
  j = json{{"resolution", enumName(v.resolution)},
           {"fps", v.fps},
           {"videoBitrateKbps", v.videoBitrateKbps},
           {"audioBitrateKbps", v.audioBitrateKbps}};
}

void from_json(const json& j, StreamQuality& v) {
  expectObject(j, "stream quality");
  v = StreamQuality{};
  requiredKey(j, "resolution", v.resolution);
  requiredKey(j, "fps", v.fps);
  requiredKey(j, "videoBitrateKbps", v.videoBitrateKbps);
  requiredKey(j, "audioBitrateKbps", v.audioBitrateKbps);
}

void to_json(json& j, const StreamDestination& v) {
  j = json{{"id", v.id},
           {"name", v.name},
           {"platform", enumName(v.platform)},
           {"serverURL", v.serverURL},
           {"quality", v.quality}};
  if (v.bandwidthTest) j["bandwidthTest"] = *v.bandwidthTest;
  if (v.canvas) j["canvas"] = enumName(*v.canvas);
}

void from_json(const json& j, StreamDestination& v) {
  expectObject(j, "stream destination");
  v = StreamDestination{};
  requiredKey(j, "id", v.id);
  requiredKey(j, "name", v.name);
  requiredKey(j, "platform", v.platform);
  requiredKey(j, "serverURL", v.serverURL);
  requiredKey(j, "quality", v.quality);
  optionalKey(j, "bandwidthTest", v.bandwidthTest);
  optionalKey(j, "canvas", v.canvas);
}

}  // namespace tavorin

#include "model/AudioFilterConfigJson.h"

#include <string>

namespace tavorin {

using json = Json;

namespace {

[[noreturn]] void fail(const std::string& what) { throw AudioFilterDecodeError("audio filter: " + what); }

const json& required(const json& object, const char* key) {
  auto it = object.find(key);
  if (it == object.end() || it->is_null()) fail(std::string("missing key ") + key);
  return *it;
}

}  // namespace

void to_json(json& j, const AudioFilterConfig& v) {
  j = json{{"id", v.id.toString()}, {"kind", enumName(v.kind)}, {"enabled", v.enabled}, {"params", v.params}};
}

void from_json(const json& j, AudioFilterConfig& v) {
  if (!j.is_object()) fail("not an object");

  const json& id = required(j, "id");
  if (!id.is_string()) fail("id is not a string");
  auto parsedID = Uuid::parse(id.get_ref<const std::string&>());
  if (!parsedID) fail("malformed id " + id.get<std::string>());

  const json& kind = required(j, "kind");
  if (!kind.is_string()) fail("kind is not a string");
  auto parsedKind = enumFromName<AudioFilterKind>(kind.get_ref<const std::string&>());
  if (!parsedKind) fail("unknown kind " + kind.get<std::string>());

  const json& enabled = required(j, "enabled");
  if (!enabled.is_boolean()) fail("enabled is not a Boolean");

  const json& params = required(j, "params");
  if (!params.is_object()) fail("params is not an object");
  std::map<std::string, double> values;
  for (const auto& [key, value] : params.items()) {
    if (!value.is_number()) fail("parameter " + key + " is not a number");
    values.emplace(key, value.get<double>());
  }

  v.id = *parsedID;
  v.kind = *parsedKind;
  v.enabled = enabled.get<bool>();
  v.params = std::move(values);
}

}  // namespace tavorin

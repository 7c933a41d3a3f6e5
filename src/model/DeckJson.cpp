#include "model/DeckJson.h"

#include "model/JsonDecoding.h"

namespace tavorin {

using json = Json;
using namespace json_decoding;

namespace {

constexpr const char* kKeyCountError = "Invalid number of keys found, expected one.";

// The one key of a case object, and its value.
std::pair<std::string, const json*> onlyKey(const json& j, const char* what) {
  expectObject(j, what);
  if (j.size() != 1) fail(kKeyCountError);
  auto it = j.begin();
  return {it.key(), &it.value()};
}

json routeJson(ChannelRoute route) { return json{{std::string(enumName(route)), json::object()}}; }

ChannelRoute routeFromJson(const json& j) {
  const auto [name, value] = onlyKey(j, "channel route");
  expectObject(*value, "channel route");
  auto route = enumFromName<ChannelRoute>(name);
  if (!route) fail("unknown channel route " + name);
  return *route;
}

}  // namespace

void to_json(json& j, const HotkeyBinding& v) {
  j = json{{"keyCode", v.keyCode}, {"carbonModifiers", v.carbonModifiers}, {"display", v.display}};
}

void from_json(const json& j, HotkeyBinding& v) {
  expectObject(j, "hotkey");
  v = HotkeyBinding{};
  requiredKey(j, "keyCode", v.keyCode);
  requiredKey(j, "carbonModifiers", v.carbonModifiers);
  requiredKey(j, "display", v.display);
}

void to_json(json& j, const DeckAction& v) {
  json payload = json::object();
  switch (payloadOf(v.kind)) {
    case DeckPayload::none:
      break;
    case DeckPayload::id:
      payload["_0"] = v.id;
      break;
    case DeckPayload::channel:
      payload["_0"] = v.channel;
      break;
    case DeckPayload::channelAndRoute:
      payload["_0"] = v.channel;
      payload["_1"] = routeJson(v.route);
      break;
  }
  j = json{{std::string(enumName(v.kind)), std::move(payload)}};
}

void from_json(const json& j, DeckAction& v) {
  const auto [name, payload] = onlyKey(j, "deck action");
  auto kind = enumFromName<DeckActionKind>(name);
  if (!kind) fail("unknown deck action " + name);
  expectObject(*payload, "deck action payload");
  v = DeckAction::plain(*kind);
  switch (payloadOf(*kind)) {
    case DeckPayload::none:
      break;
    case DeckPayload::id:
      requiredKey(*payload, "_0", v.id);
      break;
    case DeckPayload::channel:
      requiredKey(*payload, "_0", v.channel);
      break;
    case DeckPayload::channelAndRoute:
      requiredKey(*payload, "_0", v.channel);
      auto route = payload->find("_1");
      if (route == payload->end()) fail("missing key _1");
      v.route = routeFromJson(*route);
      break;
  }
}

void to_json(json& j, const DeckTile& v) {
  j = json{{"id", v.id}, {"action", v.action}};
  if (v.label) j["label"] = *v.label;
  if (v.hotkey) j["hotkey"] = *v.hotkey;
  if (v.soundMode) j["soundMode"] = enumName(*v.soundMode);
  if (v.takeTransitionID) j["takeTransitionID"] = *v.takeTransitionID;
  if (v.colorHex) j["colorHex"] = *v.colorHex;
  if (v.symbol) j["symbol"] = *v.symbol;
  if (v.size) j["size"] = enumName(*v.size);
  if (v.hideLabel) j["hideLabel"] = *v.hideLabel;
  if (v.gridX) j["gridX"] = *v.gridX;
  if (v.gridY) j["gridY"] = *v.gridY;
  if (v.cellW) j["cellW"] = *v.cellW;
  if (v.cellH) j["cellH"] = *v.cellH;
}

void from_json(const json& j, DeckTile& v) {
  expectObject(j, "deck tile");
  v = DeckTile{};
  requiredKey(j, "id", v.id);
  requiredKey(j, "action", v.action);
  optionalKey(j, "label", v.label);
  optionalKey(j, "hotkey", v.hotkey);
  optionalKey(j, "soundMode", v.soundMode);
  optionalKey(j, "takeTransitionID", v.takeTransitionID);
  optionalKey(j, "colorHex", v.colorHex);
  optionalKey(j, "symbol", v.symbol);
  optionalKey(j, "size", v.size);
  optionalKey(j, "hideLabel", v.hideLabel);
  optionalKey(j, "gridX", v.gridX);
  optionalKey(j, "gridY", v.gridY);
  optionalKey(j, "cellW", v.cellW);
  optionalKey(j, "cellH", v.cellH);
}

void to_json(json& j, const Deck& v) { j = json{{"id", v.id}, {"name", v.name}, {"tiles", v.tiles}}; }

void from_json(const json& j, Deck& v) {
  expectObject(j, "deck");
  v = Deck{};
  requiredKey(j, "id", v.id);
  requiredKey(j, "name", v.name);
  requiredKey(j, "tiles", v.tiles);
}

}  // namespace tavorin

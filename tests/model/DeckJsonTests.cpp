#include "model/DeckJson.h"

#include <gtest/gtest.h>

#include "model/SceneJson.h"

namespace tavorin {
namespace {

const Uuid kID = *Uuid::parse("0A1B2C3D-4E5F-4061-8293-A4B5C6D7E8F9");
const std::string kIDText = kID.toString();

DeckAction decodeAction(const std::string& text) { return Json::parse(text).get<DeckAction>(); }

// Every case of the union, written as the show files have it, and back.
TEST(DeckJson, EveryActionRoundTripsInItsOneKeyForm) {
  using K = DeckActionKind;
  const std::vector<std::pair<DeckAction, std::string>> cases = {
      {DeckAction::plain(K::take), R"({"take":{}})"},
      {DeckAction::withID(K::loadLayout, kID), R"({"loadLayout":{"_0":")" + kIDText + R"("}})"},
      {DeckAction::withChannel(K::toggleChannelRoute, "mic1", ChannelRoute::cue),
       R"({"toggleChannelRoute":{"_0":"mic1","_1":{"cue":{}}}})"},
      {DeckAction::withChannel(K::toggleChannelRoute, "mic1", ChannelRoute::afv),
       R"({"toggleChannelRoute":{"_0":"mic1","_1":{"afv":{}}}})"},
      {DeckAction::withChannel(K::masterStrip, "program"), R"({"masterStrip":{"_0":"program"}})"},
      {DeckAction::withChannel(K::channelStrip, "sysaudio"), R"({"channelStrip":{"_0":"sysaudio"}})"},
      {DeckAction::withID(K::fireTransition, kID), R"({"fireTransition":{"_0":")" + kIDText + R"("}})"},
  };
  for (const auto& [action, text] : cases) {
    EXPECT_EQ(Json(action).dump(), text);
    EXPECT_EQ(decodeAction(text), action) << text;
  }
  // Every kind survives the trip with the payload its kind carries.
  for (const auto& [kind, name] : EnumNames<DeckActionKind>::table) {
    DeckAction action = DeckAction::plain(kind);
    if (payloadOf(kind) == DeckPayload::id) action.id = kID;
    if (payloadOf(kind) != DeckPayload::none && payloadOf(kind) != DeckPayload::id) action.channel = "ch";
    if (payloadOf(kind) == DeckPayload::channelAndRoute) action.route = ChannelRoute::monitor;
    EXPECT_EQ(decodeAction(Json(action).dump()), action) << name;
  }
}

TEST(DeckJson, BadActionsFailWithTheDecodersText) {
  const auto message = [](const std::string& text) {
    try {
      decodeAction(text);
    } catch (const ModelDecodeError& e) {
      return std::string(e.what());
    }
    return std::string("decoded");
  };
  EXPECT_EQ(message(R"({"take":{},"cut":{}})"), "Invalid number of keys found, expected one.");
  EXPECT_EQ(message(R"({})"), "Invalid number of keys found, expected one.");
  EXPECT_EQ(message(R"({"toggleChannelRoute":{"_0":"a","_1":{"air":{},"cue":{}}}})"),
            "Invalid number of keys found, expected one.");
  for (const char* bad : {R"({"warp":{}})", R"({"loadLayout":{}})", R"({"loadLayout":{"_0":"nope"}})",
                          R"({"toggleChannelRoute":{"_0":"a","_1":{"side":{}}}})", R"(["take"])"}) {
    EXPECT_NE(message(bad), "decoded") << bad;
  }
}

TEST(DeckJson, TileLeavesAbsentFieldsOutAndKeepsEveryPresentOne) {
  DeckTile bare;
  bare.id = kID;
  EXPECT_EQ(Json(bare).dump(), R"({"id":")" + kIDText + R"(","action":{"take":{}}})");

  DeckTile full = bare;
  full.action = DeckAction::withID(DeckActionKind::playSound, kID);
  full.label = "Airhorn";
  full.hotkey = HotkeyBinding{96, 4096, "Ctrl+F5"};
  full.soundMode = SoundTileMode::loop;
  full.takeTransitionID = kID;
  full.colorHex = "#ff0000";
  full.symbol = "speaker";
  full.size = TileSize::large;
  full.hideLabel = true;
  full.gridX = 3;
  full.gridY = 0;
  full.cellW = 2;
  full.cellH = 1;
  const Json written = full;
  EXPECT_EQ(written["soundMode"], "Loop");
  EXPECT_EQ(written["size"], "Large");
  EXPECT_EQ(written["hotkey"].dump(), R"({"keyCode":96,"carbonModifiers":4096,"display":"Ctrl+F5"})");

  Deck deck{kID, "Sunday", {bare, full}};
  const auto text = Json(deck).dump();
  EXPECT_EQ(text.rfind(R"({"id":")", 0), 0u);
  EXPECT_EQ(Json::parse(text).get<Deck>(), deck);
}

}  // namespace
}  // namespace tavorin

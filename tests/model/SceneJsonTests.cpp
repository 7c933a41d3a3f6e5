#include "model/SceneJson.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "model/ModelFixtures.h"

namespace tavorin {
namespace {

using nlohmann::json;

// Through text, as a store does: write, parse, read.
template <class T>
T throughText(const T& value) {
  return json::parse(json(value).dump()).get<T>();
}

MixerScene decodeScene(const json& j) { return j.get<MixerScene>(); }

// A scene holding one layer that is {"sourceID":"x"} plus `key` set to `value`.
json sceneWithLayerKey(const std::string& key, const json& value) {
  json layer = {{"sourceID", "x"}};
  layer[key] = value;
  return json{{"layers", json::array({layer})}};
}

std::set<std::string> keysOf(const json& object) {
  std::set<std::string> keys;
  for (const auto& [key, value] : object.items()) keys.insert(key);
  return keys;
}

// Round trips

TEST(SceneJsonRoundTrip, PopulatedSceneComesBackEqual) {
  const MixerScene scene = testing::populatedScene();
  EXPECT_EQ(throughText(scene), scene);
}

TEST(SceneJsonRoundTrip, DefaultSceneAndFreshLayerComeBackEqual) {
  const MixerScene scene;
  EXPECT_EQ(throughText(scene), scene);
  const LayerState layer = LayerState::make("x");
  EXPECT_EQ(throughText(layer), layer);
}

TEST(SceneJsonRoundTrip, SessionStateComesBackEqual) {
  SessionState session{testing::populatedScene(), MixerScene::named("Next"), "shrinkToCorner", 0.75, false};
  EXPECT_EQ(throughText(session), session);
}

// Encoded form

TEST(SceneJsonEncoding, GeometryIsWrittenAsNumberArrays) {
  const json layer = testing::populatedLayer();
  EXPECT_EQ(layer["center"], json::parse("[0.25, 0.75]"));
  EXPECT_EQ(layer["size"], json::parse("[0.4, 0.3]"));
  EXPECT_EQ(layer["cropRect"], json::parse("[[0.1, 0.05], [0.8, 0.9]]"));
  EXPECT_EQ(layer["shadowOffset"], json::parse("[-0.01, 0.04]"));
  EXPECT_EQ(layer["cornerPin"]["bottomRight"], json::parse("[0.95, 0.9]"));
  EXPECT_EQ(layer["maskPolygons"][0], json::parse("[[0, 0], [1, 0], [0.5, 1]]"));
}

TEST(SceneJsonEncoding, FloatsAreWrittenInTheirShortDecimalForm) {
  const json layer = LayerState::make("x");
  // 0.06f widened naively would read 0.05999999865889549.
  EXPECT_EQ(layer["shadowRadius"].dump(), "0.06");
  EXPECT_EQ(layer["keyThreshold"].dump(), "0.35");
  EXPECT_EQ(layer["keySmoothness"].dump(), "0.1");
}

TEST(SceneJsonEncoding, UuidsAreUpperCaseEvenWhenReadLowerCase) {
  const std::string lower = "6f9619ff-8b86-d011-b42d-00c04fc964ff";
  const std::string upper = "6F9619FF-8B86-D011-B42D-00C04FC964FF";
  const json in = {{"id", lower},
                   {"companionLayoutID", lower},
                   {"transition", {{"customID", lower}, {"duration", 1}}},
                   {"groups", {{{"id", lower}, {"name", "g"}}}},
                   {"layers", {{{"id", lower}, {"sourceID", "x"}, {"groupID", lower}}}}};
  const json out = decodeScene(in);
  EXPECT_EQ(out["id"], upper);
  EXPECT_EQ(out["companionLayoutID"], upper);
  EXPECT_EQ(out["transition"]["customID"], upper);
  EXPECT_EQ(out["groups"][0]["id"], upper);
  EXPECT_EQ(out["layers"][0]["id"], upper);
  EXPECT_EQ(out["layers"][0]["groupID"], upper);
}

TEST(SceneJsonEncoding, UngroupedLayerWritesGroupIdAsNullAndNullReadsAsUngrouped) {
  const LayerState layer = LayerState::make("x");
  const json j = layer;
  ASSERT_TRUE(j.contains("groupID"));
  EXPECT_TRUE(j["groupID"].is_null());
  EXPECT_EQ(j.get<LayerState>().groupID, std::nullopt);
}

TEST(SceneJsonEncoding, LayerWritesEveryFieldButAnAbsentCornerPin) {
  const std::set<std::string> always = {
      "id",           "sourceID",      "center",        "size",           "rotation",
      "opacity",      "zOrder",        "cropRect",      "fill",           "corners",
      "borderColor",  "borderWidth",   "shadowOpacity", "shadowRadius",   "shadowOffset",
      "flipHorizontal", "flipVertical", "keyMode",      "keyColor",       "keyThreshold",
      "keySmoothness", "segmentationQuality", "segmentationSmoothing", "backgroundBlur",
      "maskMode",     "maskPolygons",  "locked",        "groupID",        "hidden",
      "animation",    "videoFilters"};
  EXPECT_EQ(keysOf(json(LayerState::make("x"))), always);

  auto withPin = always;
  withPin.insert("cornerPin");
  EXPECT_EQ(keysOf(json(testing::populatedLayer())), withPin);
}

TEST(SceneJsonEncoding, SceneLeavesOutAbsentOptionals) {
  EXPECT_EQ(keysOf(json(MixerScene{})), (std::set<std::string>{"id", "name", "layers", "groups", "audio"}));
  EXPECT_EQ(json(MixerScene{})["audio"], json::parse(R"({"channels": {}})"));
  EXPECT_EQ(keysOf(json(testing::populatedScene())),
            (std::set<std::string>{"id", "name", "layers", "groups", "audio", "transition", "companionLayoutID",
                                   "verticalLayers", "verticalGroups"}));

  EXPECT_EQ(json(SceneTransition{}), json::parse(R"({"duration": 0.5})"));

  const json animation = LayerAnimation{};
  EXPECT_FALSE(animation.contains("enterAt"));
  EXPECT_FALSE(animation.contains("exitAt"));
  EXPECT_EQ(json(testing::populatedLayer().animation)["enterAt"], 123.25);
}

TEST(SceneJsonEncoding, EnumsAreWrittenAsTheirStoredForms) {
  const json layer = testing::populatedLayer();
  EXPECT_EQ(layer["keyMode"], 1);
  EXPECT_EQ(layer["maskMode"], 1);
  EXPECT_EQ(layer["animation"]["kind"], "rotateCW");
  EXPECT_EQ(layer["animation"]["enter"], "pop");
  EXPECT_EQ(layer["animation"]["exit"], "slideLeft");
  EXPECT_EQ(layer["videoFilters"][0]["kind"], "gaussianBlur");
  EXPECT_EQ(layer["videoFilters"][0]["params"], json::parse(R"({"radius": 12.5})"));
}

// Tolerance of old and sparse files

TEST(SceneJsonTolerance, EmptyObjectIsAnEmptySceneNamedSceneWithAFreshId) {
  const MixerScene a = decodeScene(json::object());
  const MixerScene b = decodeScene(json::object());
  EXPECT_EQ(a.name, "Scene");
  EXPECT_FALSE(a.id.isNil());
  EXPECT_NE(a.id, b.id);
  MixerScene expected;
  expected.id = a.id;
  EXPECT_EQ(a, expected);
}

TEST(SceneJsonTolerance, SourceIdAloneIsAFreshLayerButForItsId) {
  const LayerState decoded = json::parse(R"({"sourceID": "x"})").get<LayerState>();
  EXPECT_FALSE(decoded.id.isNil());
  LayerState expected = LayerState::make("x");
  expected.id = decoded.id;
  EXPECT_EQ(decoded, expected);
}

TEST(SceneJsonTolerance, SparseAnimationAndAudioTakeDefaults) {
  const auto animation = json::parse(R"({"kind": "jitter"})").get<LayerAnimation>();
  LayerAnimation expected;
  expected.kind = LayerAnimation::Kind::jitter;
  EXPECT_EQ(animation, expected);
  EXPECT_TRUE(json::object().get<SceneAudio>().channels.empty());
}

TEST(SceneJsonTolerance, LegacyCornerRadiusIsReadIntoAllFourAndNeverWritten) {
  const auto layer = json::parse(R"({"sourceID": "x", "cornerRadius": 0.1})").get<LayerState>();
  EXPECT_EQ(layer.corners, CornerRadii::uniform(0.1f));
  const json written = layer;
  EXPECT_FALSE(written.contains("cornerRadius"));
  EXPECT_EQ(written["corners"], json::parse(R"({"topLeft": 0.1, "topRight": 0.1, "bottomLeft": 0.1, "bottomRight": 0.1})"));
}

TEST(SceneJsonTolerance, CornersWinOverLegacyCornerRadius) {
  const auto layer = json::parse(R"({"sourceID": "x", "cornerRadius": 0.1,
      "corners": {"topLeft": 0.2, "topRight": 0, "bottomLeft": 0, "bottomRight": 0.3}})")
                         .get<LayerState>();
  EXPECT_EQ(layer.corners, (CornerRadii{0.2f, 0, 0, 0.3f}));
}

TEST(SceneJsonTolerance, WholeNumberWrittenWithAFractionIsAnInteger) {
  const auto layer = json::parse(R"({"sourceID": "x", "zOrder": 2.0, "keyMode": 2.0})").get<LayerState>();
  EXPECT_EQ(layer.zOrder, 2);
  EXPECT_EQ(layer.keyMode, KeyMode::personSegmentation);
}

// Rejection: nothing is repaired, one bad value fails the whole scene

TEST(SceneJsonRejects, LayerWithoutSourceId) {
  EXPECT_THROW(decodeScene(json::parse(R"({"layers": [{"zOrder": 1}]})")), std::exception);
  EXPECT_THROW(decodeScene(json::parse(R"({"layers": [{"sourceID": null}]})")), std::exception);
  EXPECT_THROW(decodeScene(json::parse(R"({"verticalLayers": [{}]})")), std::exception);
}

TEST(SceneJsonRejects, EnumValueOutsideItsTable) {
  const std::vector<std::pair<std::string, json>> cases = {
      {"keyMode", 3},
      {"keyMode", -1},
      {"maskMode", 3},
      {"animation", {{"kind", "spin"}}},
      {"animation", {{"enter", "zoom"}}},
      {"animation", {{"exit", "Fade"}}},
      {"videoFilters", {{{"id", Uuid::make()}, {"kind", "blur"}, {"enabled", true}, {"params", json::object()}}}},
  };
  for (const auto& [key, value] : cases) {
    SCOPED_TRACE(key + " = " + value.dump());
    EXPECT_THROW(decodeScene(sceneWithLayerKey(key, value)), std::exception);
  }
}

TEST(SceneJsonRejects, LayerValueOfTheWrongType) {
  const std::vector<std::pair<std::string, json>> cases = {
      {"opacity", "1"},
      {"fill", 1},
      {"hidden", "false"},
      {"zOrder", "2"},
      {"zOrder", 1.5},
      {"keyMode", "chroma"},
      {"sourceID", 5},
      {"center", json::parse("[0.5]")},
      {"center", json::parse(R"({"x": 0.5, "y": 0.5})")},
      {"size", json::parse(R"([1, "1"])")},
      {"cropRect", json::parse("[0, 0, 1, 1]")},
      {"corners", json::parse(R"({"topLeft": 0.1})")},
      {"cornerRadius", "0.1"},
      {"borderColor", json::parse(R"({"r": 1, "g": 1, "b": 1})")},
      {"cornerPin", json::parse(R"({"topLeft": [0, 0], "topRight": [1, 0], "bottomLeft": [0, 1]})")},
      {"maskPolygons", json::parse("[[1, 2]]")},
      {"animation", "fade"},
      {"animation", json::parse(R"({"speed": "fast"})")},
      {"videoFilters", json::object()},
      {"videoFilters", json::parse(R"([{"kind": "bw", "enabled": true, "params": {}}])")},
      {"id", "1234"},
      {"id", ""},
      {"groupID", 12},
      {"groupID", "6F9619FF8B86D011B42D00C04FC964FF"},
  };
  for (const auto& [key, value] : cases) {
    SCOPED_TRACE(key + " = " + value.dump());
    EXPECT_THROW(decodeScene(sceneWithLayerKey(key, value)), std::exception);
  }
}

TEST(SceneJsonRejects, NumberThatDoesNotFitItsField) {
  const std::vector<std::pair<std::string, json>> cases = {
      {"zOrder", 3000000000LL},
      {"zOrder", 1e20},
      {"segmentationQuality", 18446744073709551615ULL},
      {"rotation", 1e300},
  };
  for (const auto& [key, value] : cases) {
    SCOPED_TRACE(key + " = " + value.dump());
    EXPECT_THROW(decodeScene(sceneWithLayerKey(key, value)), std::exception);
  }
}

TEST(SceneJsonRejects, SceneValueOfTheWrongType) {
  const std::vector<std::string> cases = {
      R"([])",
      R"({"name": 5})",
      R"({"id": "scene-1"})",
      R"({"layers": {}})",
      R"({"groups": [{"id": "6F9619FF-8B86-D011-B42D-00C04FC964FF"}]})",
      R"({"audio": {"channels": {"mic": {"gain": 1}}}})",
      R"({"audio": {"channels": []}})",
      R"({"transition": {"kind": "cut"}})",
      R"({"transition": {"duration": "0.5"}})",
      R"({"transition": {"customID": "x", "duration": 0.5}})",
      R"({"companionLayoutID": "xyz"})",
      R"({"verticalGroups": [{"name": "g"}]})",
  };
  for (const auto& text : cases) {
    SCOPED_TRACE(text);
    EXPECT_THROW(decodeScene(json::parse(text)), std::exception);
  }
}

TEST(SceneJsonRejects, SessionStateMissingAnyOfItsFiveKeys) {
  const json full = SessionState{MixerScene{}, MixerScene{}, "crossfade", 0.5, true};
  ASSERT_NO_THROW(full.get<SessionState>());
  for (const char* key : {"program", "preview", "transition", "duration", "lockAspect"}) {
    SCOPED_TRACE(key);
    json missing = full;
    missing.erase(key);
    EXPECT_THROW(missing.get<SessionState>(), std::exception);
    json nulled = full;
    nulled[key] = nullptr;
    EXPECT_THROW(nulled.get<SessionState>(), std::exception);
  }
}

TEST(SceneJsonRejects, SessionStateWithABadSceneInside) {
  json session = SessionState{};
  session["preview"]["layers"] = json::parse(R"([{"sourceID": "x", "maskMode": 7}])");
  EXPECT_THROW(session.get<SessionState>(), std::exception);
}

}  // namespace
}  // namespace tavorin

#include "model/SceneJson.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "model/CustomTransitionJson.h"
#include "support/ModelFixtures.h"

namespace tavorin {
namespace {

using json = Json;
using testing::fixedID;

json golden(const std::string& name) {
  std::ifstream file(std::string(TAVORIN_TESTS_DIR) + "/model/golden/" + name);
  return json::parse(file);
}

// A record written must be its golden file, keys in the record's order, and
// the file read must be the record.
template <class T>
void expectBothWays(const T& value, const std::string& file) {
  SCOPED_TRACE(file);
  const json expected = golden(file);
  EXPECT_EQ(json(value), expected) << "written: " << json(value).dump();
  EXPECT_EQ(expected.get<T>(), value);
}

CustomTransition sweep() {
  CustomTransition custom;
  custom.id = fixedID(30);
  custom.name = "Sweep";
  LayerState state = LayerState::make("cam");
  state.id = fixedID(31);
  custom.tracks.push_back({fixedID(32), "cam", {{0.5, state, 20, -10}}});
  custom.sounds.push_back({fixedID(33), fixedID(34), 0.2, 0.5, 0.1, 0.3});
  return custom;
}

TEST(ShowJson, RecordsAndTheirGoldenFilesMatchBothWays) {
  // Every field away from its default, every optional set: geometry as number
  // arrays, floats in their short decimal form, enums in their stored forms.
  expectBothWays(testing::populatedScene(), "scene.json");
  // A fresh layer writes every field but an absent corner pin, and its group as null.
  LayerState fresh = LayerState::make("x");
  fresh.id = fixedID(1);
  expectBothWays(fresh, "layer.json");
  // A bare scene leaves its optionals out.
  MixerScene next = MixerScene::named("Next");
  next.id = fixedID(20);
  expectBothWays(SessionState{testing::populatedScene(), next, "shrinkToCorner", 0.75, false}, "session.json");
  // A transition without a hold point does not write one.
  expectBothWays(sweep(), "transition.json");
  CustomTransition held = sweep();
  held.holdPoint = 0.4;
  EXPECT_EQ(json(held).get<CustomTransition>(), held);
}

TEST(ShowJson, OldAndSparseFilesReadWithDefaults) {
  const MixerScene empty = json::object().get<MixerScene>();
  EXPECT_EQ(empty.name, "Scene");
  EXPECT_FALSE(empty.id.isNil());
  EXPECT_NE(json::object().get<MixerScene>().id, empty.id) << "each gets a fresh id";

  LayerState layer = json::parse(R"({"sourceID": "x", "zOrder": 2.0, "keyMode": 2.0, "cornerRadius": 0.1})")
                         .get<LayerState>();
  EXPECT_EQ(layer.zOrder, 2) << "a whole number written with a fraction is an integer";
  EXPECT_EQ(layer.keyMode, KeyMode::personSegmentation);
  EXPECT_EQ(layer.corners, CornerRadii::uniform(0.1f)) << "the legacy radius goes to all four corners";
  EXPECT_FALSE(json(layer).contains("cornerRadius"));
  LayerState expected = LayerState::make("x");
  expected.id = layer.id;
  expected.zOrder = 2;
  expected.keyMode = KeyMode::personSegmentation;
  expected.corners = CornerRadii::uniform(0.1f);
  EXPECT_EQ(layer, expected);
  EXPECT_EQ(json::parse(R"({"sourceID": "x", "cornerRadius": 0.1,
      "corners": {"topLeft": 0.2, "topRight": 0, "bottomLeft": 0, "bottomRight": 0.3}})")
                .get<LayerState>()
                .corners,
            (CornerRadii{0.2f, 0, 0, 0.3f}));

  LayerAnimation jitter;
  jitter.kind = LayerAnimation::Kind::jitter;
  EXPECT_EQ(json::parse(R"({"kind": "jitter"})").get<LayerAnimation>(), jitter);

  const std::string lower = "6f9619ff-8b86-d011-b42d-00c04fc964ff";
  const json in = {{"id", lower}, {"layers", {{{"id", lower}, {"sourceID", "x"}, {"groupID", lower}}}}};
  const json out = in.get<MixerScene>();
  EXPECT_EQ(out["layers"][0]["groupID"], "6F9619FF-8B86-D011-B42D-00C04FC964FF") << "ids are written upper case";

  // Older transitions with one asset and one sound.
  const CustomTransition old = json::parse(R"({
    "assetSourceID": "image:logo", "soundID": "6F9619FF-8B86-D011-B42D-00C04FC964FF",
    "start": {"sourceID": "image:logo", "opacity": 0}, "end": {"sourceID": "image:logo", "opacity": 1}})")
                                   .get<CustomTransition>();
  ASSERT_EQ(old.tracks.size(), 1u);
  ASSERT_EQ(old.tracks[0].keyframes.size(), 2u);
  EXPECT_DOUBLE_EQ(old.tracks[0].keyframes[1].time, 1);
  EXPECT_FLOAT_EQ(old.tracks[0].keyframes[0].state.opacity, 0);
  ASSERT_EQ(old.sounds.size(), 1u);
  EXPECT_DOUBLE_EQ(old.sounds[0].gain, 1);
  const CustomTransition keyed = json::parse(R"({"assetSourceID": "a", "start": {"sourceID": "a"},
    "keyframes": [{"time": 0.25, "state": {"sourceID": "a"}}]})")
                                     .get<CustomTransition>();
  ASSERT_EQ(keyed.tracks[0].keyframes.size(), 1u) << "keyframes on the transition win over start and end";
}

// Nothing is repaired: one bad value anywhere fails the whole record.
TEST(ShowJson, OneBadValueRejectsTheWholeRecord) {
  const std::vector<std::string> scenes = {
      R"([])",
      R"({"name": 5})",
      R"({"id": "scene-1"})",
      R"({"layers": {}})",
      R"({"layers": [{"zOrder": 1}]})",
      R"({"layers": [{"sourceID": null}]})",
      R"({"verticalLayers": [{}]})",
      R"({"layers": [{"sourceID": "x", "keyMode": 3}]})",
      R"({"layers": [{"sourceID": "x", "animation": {"kind": "spin"}}]})",
      R"({"layers": [{"sourceID": "x", "videoFilters": [{"id": "6F9619FF-8B86-D011-B42D-00C04FC964FF",
          "kind": "blur", "enabled": true, "params": {}}]}]})",
      R"({"layers": [{"sourceID": "x", "opacity": "1"}]})",
      R"({"layers": [{"sourceID": "x", "zOrder": 1.5}]})",
      R"({"layers": [{"sourceID": "x", "zOrder": 3000000000}]})",
      R"({"layers": [{"sourceID": "x", "rotation": 1e300}]})",
      R"({"layers": [{"sourceID": "x", "segmentationQuality": 18446744073709551615}]})",
      R"({"layers": [{"sourceID": "x", "center": [0.5]}]})",
      R"({"layers": [{"sourceID": "x", "cropRect": [0, 0, 1, 1]}]})",
      R"({"layers": [{"sourceID": "x", "corners": {"topLeft": 0.1}}]})",
      R"({"layers": [{"sourceID": "x", "cornerPin": {"topLeft": [0, 0], "topRight": [1, 0], "bottomLeft": [0, 1]}}]})",
      R"({"layers": [{"sourceID": "x", "maskPolygons": [[1, 2]]}]})",
      R"({"layers": [{"sourceID": "x", "groupID": "6F9619FF8B86D011B42D00C04FC964FF"}]})",
      R"({"groups": [{"id": "6F9619FF-8B86-D011-B42D-00C04FC964FF"}]})",
      R"({"audio": {"channels": {"mic": {"gain": 1}}}})",
      R"({"transition": {"duration": "0.5"}})",
      R"({"transition": {"customID": "x", "duration": 0.5}})",
  };
  for (const auto& text : scenes) {
    SCOPED_TRACE(text);
    EXPECT_THROW(json::parse(text).get<MixerScene>(), std::exception);
  }
  for (const char* text : {R"({"tracks": [{"keyframes": []}]})", R"({"tracks": [{"sourceID": "a", "keyframes": [{"time": 0}]}]})",
                           R"({"sounds": [{"gain": 1}]})", R"({"duration": "long"})"}) {
    SCOPED_TRACE(text);
    EXPECT_THROW(json::parse(text).get<CustomTransition>(), ModelDecodeError);
  }

  const json full = SessionState{MixerScene{}, MixerScene{}, "crossfade", 0.5, true};
  ASSERT_NO_THROW(full.get<SessionState>());
  for (const char* key : {"program", "preview", "transition", "duration", "lockAspect"}) {
    SCOPED_TRACE(key);
    json missing = full;
    missing.erase(key);
    EXPECT_THROW(missing.get<SessionState>(), std::exception);
    missing[key] = nullptr;
    EXPECT_THROW(missing.get<SessionState>(), std::exception);
  }
  json badInside = full;
  badInside["preview"]["layers"] = json::parse(R"([{"sourceID": "x", "maskMode": 7}])");
  EXPECT_THROW(badInside.get<SessionState>(), std::exception);
}

}  // namespace
}  // namespace tavorin

#include "model/CustomTransitionJson.h"

#include <gtest/gtest.h>

#include "model/SceneJson.h"

namespace tavorin {
namespace {

using nlohmann::json;

CustomTransition decoded(const char* text) { return json::parse(text).get<CustomTransition>(); }

TEST(CustomTransitionJson, EmptyObjectTakesTheDefaults) {
  const CustomTransition custom = decoded("{}");
  EXPECT_EQ(custom.name, "Transition");
  EXPECT_DOUBLE_EQ(custom.duration, 0.8);
  EXPECT_DOUBLE_EQ(custom.cutPoint, 0.5);
  EXPECT_FALSE(custom.holdPoint);
  EXPECT_TRUE(custom.tracks.empty());
  EXPECT_TRUE(custom.sounds.empty());
  EXPECT_NE(decoded("{}").id, custom.id);  // each gets a fresh id
}

TEST(CustomTransitionJson, OlderFilesWithOneAssetAndOneSoundStillRead) {
  const CustomTransition custom = decoded(R"({
    "assetSourceID": "image:logo", "soundID": "6F9619FF-8B86-D011-B42D-00C04FC964FF",
    "start": {"sourceID": "image:logo", "opacity": 0}, "end": {"sourceID": "image:logo", "opacity": 1}})");
  ASSERT_EQ(custom.tracks.size(), 1u);
  EXPECT_EQ(custom.tracks[0].sourceID, "image:logo");
  ASSERT_EQ(custom.tracks[0].keyframes.size(), 2u);
  EXPECT_DOUBLE_EQ(custom.tracks[0].keyframes[0].time, 0);
  EXPECT_FLOAT_EQ(custom.tracks[0].keyframes[0].state.opacity, 0);
  EXPECT_DOUBLE_EQ(custom.tracks[0].keyframes[1].time, 1);
  ASSERT_EQ(custom.sounds.size(), 1u);
  EXPECT_DOUBLE_EQ(custom.sounds[0].gain, 1);
  // Keyframes on the transition itself win over start and end.
  const CustomTransition keyed = decoded(R"({"assetSourceID": "a", "start": {"sourceID": "a"},
    "keyframes": [{"time": 0.25, "state": {"sourceID": "a"}}]})");
  ASSERT_EQ(keyed.tracks[0].keyframes.size(), 1u);
  EXPECT_DOUBLE_EQ(keyed.tracks[0].keyframes[0].time, 0.25);
}

TEST(CustomTransitionJson, WritesHoldPointOnlyWhenSetAndReadsBackEqual) {
  CustomTransition custom;
  custom.tracks.push_back({Uuid::make(), "cam", {{0.5, LayerState::make("cam"), 20, -10}}});
  custom.sounds.push_back({Uuid::make(), Uuid::make(), 0.2, 0.5, 0.1, 0.3});
  const json written = custom;
  EXPECT_FALSE(written.contains("holdPoint"));
  EXPECT_EQ(written.get<CustomTransition>(), custom);
  custom.holdPoint = 0.4;
  EXPECT_EQ(json(custom).get<CustomTransition>(), custom);
}

TEST(CustomTransitionJson, MissingRequiredKeysAndWrongTypesFail) {
  EXPECT_THROW(decoded(R"({"tracks": [{"keyframes": []}]})"), ModelDecodeError);      // no sourceID
  EXPECT_THROW(decoded(R"({"tracks": [{"sourceID": "a", "keyframes": [{"time": 0}]}]})"), ModelDecodeError);
  EXPECT_THROW(decoded(R"({"sounds": [{"gain": 1}]})"), ModelDecodeError);           // no soundID
  EXPECT_THROW(decoded(R"({"duration": "long"})"), ModelDecodeError);
}

}  // namespace
}  // namespace tavorin

#include "model/MixerScene.h"

#include <gtest/gtest.h>

#include "support/ModelFixtures.h"

namespace tavorin {
namespace {

TEST(VerticalScene, AbsentWithoutVerticalLayersEvenWithVerticalGroups) {
  MixerScene scene = testing::populatedScene();
  scene.verticalLayers.reset();
  EXPECT_EQ(scene.verticalScene(), std::nullopt);
}

TEST(VerticalScene, EmptyButPresentVerticalLayersGiveAnEmptyScene) {
  MixerScene scene = MixerScene::named("Solo");
  scene.layers = {LayerState::make("camera")};
  scene.verticalLayers = std::vector<LayerState>{};
  const auto view = scene.verticalScene();
  ASSERT_TRUE(view.has_value());
  EXPECT_TRUE(view->layers.empty());
  EXPECT_TRUE(view->groups.empty());
  EXPECT_EQ(view->name, "Solo");
}

TEST(VerticalScene, TakesTheVerticalDesignUnderAFreshId) {
  const MixerScene scene = testing::populatedScene();
  const auto view = scene.verticalScene();
  ASSERT_TRUE(view.has_value());
  EXPECT_NE(view->id, scene.id);
  EXPECT_FALSE(view->id.isNil());
  EXPECT_EQ(view->name, scene.name);
  EXPECT_EQ(view->transition, scene.transition);
  EXPECT_EQ(view->layers, *scene.verticalLayers);
  EXPECT_EQ(view->groups, *scene.verticalGroups);
  // The fader snapshot and the pairing belong to the horizontal layout only.
  EXPECT_TRUE(view->audio.channels.empty());
  EXPECT_EQ(view->companionLayoutID, std::nullopt);
  EXPECT_EQ(view->verticalLayers, std::nullopt);
  EXPECT_EQ(view->verticalGroups, std::nullopt);
}

TEST(VerticalScene, MissingVerticalGroupsGiveNoGroups) {
  MixerScene scene = testing::populatedScene();
  scene.verticalGroups.reset();
  const auto view = scene.verticalScene();
  ASSERT_TRUE(view.has_value());
  EXPECT_TRUE(view->groups.empty());
  EXPECT_EQ(view->layers.size(), 2u);
}

}  // namespace
}  // namespace tavorin

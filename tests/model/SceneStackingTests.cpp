#include "model/SceneStacking.h"

#include <functional>
#include <initializer_list>

#include <gtest/gtest.h>

#include "model/LayerGroups.h"

namespace tavorin {
namespace {

// Layers of `sources`, stacked in the order given: zOrder 0, 1, 2…
MixerScene stackOf(std::initializer_list<std::string> sources) {
  MixerScene scene;
  for (const auto& source : sources) {
    LayerState layer = LayerState::make(source);
    layer.zOrder = static_cast<int>(scene.layers.size());
    scene.layers.push_back(layer);
  }
  return scene;
}

// zOrders in the scene's array order.
std::vector<int> zOrders(const MixerScene& scene) {
  std::vector<int> out;
  for (const auto& layer : scene.layers) out.push_back(layer.zOrder);
  return out;
}

TEST(SceneStacking, AddedLayersGoOnTopWithIdsOfTheirOwn) {
  EXPECT_EQ(zOrderAboveAll(MixerScene{}), 0);
  MixerScene scene = stackOf({"a", "b"});
  scene.layers[0].zOrder = 5;  // the top need not be the last in the list
  LayerState original = scene.layers[1];
  original.center = {0.9, 0.5};
  original.groupID = Uuid::make();

  const LayerState added = *scene.layer(addNewLayer(scene, "cam"));
  EXPECT_EQ(added.zOrder, 6);
  EXPECT_EQ(added.size, (Size{0.5, 0.5}));
  const LayerState duplicate = *scene.layer(addDuplicate(scene, original));
  EXPECT_EQ(duplicate.zOrder, 7);
  EXPECT_NE(duplicate.id, original.id);
  EXPECT_DOUBLE_EQ(duplicate.center.x, 0.92);  // a step away, but not off the edge
  EXPECT_DOUBLE_EQ(duplicate.center.y, 0.54);
  EXPECT_EQ(duplicate.groupID, original.groupID);
  const LayerState pasted = *scene.layer(addPasted(scene, original));
  EXPECT_EQ(pasted.zOrder, 8);
  EXPECT_NE(pasted.id, original.id);
  EXPECT_EQ(pasted.center, original.center);
  EXPECT_FALSE(pasted.groupID);
}

TEST(SceneStacking, LayerOrderListsTheTopFirst) {
  MixerScene scene = stackOf({"a", "b", "c"});
  applyLayerOrder(scene, {scene.layers[0].id, scene.layers[2].id, scene.layers[1].id});
  EXPECT_EQ(zOrders(scene), (std::vector<int>{2, 0, 1}));
}

TEST(LayerGroups, GroupedLayersLieTogetherWhereTheirTopMemberStood) {
  MixerScene scene = stackOf({"a", "b", "c", "d"});
  const Uuid a = scene.layers[0].id, c = scene.layers[2].id, d = scene.layers[3].id;
  scene.layers[0].hidden = true;

  const auto group = groupLayers(scene, {a, c});
  ASSERT_TRUE(group);
  ASSERT_EQ(scene.groups.size(), 1u);
  EXPECT_EQ(scene.groups[0].name, "Group 1");
  EXPECT_FALSE(scene.layer(a)->hidden);
  EXPECT_EQ(zOrders(scene), (std::vector<int>{1, 0, 2, 3}));  // b drops below the group

  ASSERT_TRUE(moveIntoGroup(scene, d, *group));
  EXPECT_EQ(scene.layer(d)->groupID, group);
  ASSERT_TRUE(removeFromGroup(scene, c));
  EXPECT_EQ(zOrders(scene), (std::vector<int>{2, 0, 1, 3}));  // a joins d on top; c goes below them
}

TEST(LayerGroups, RefusedEditsLeaveTheSceneAsItWas) {
  MixerScene scene = stackOf({"a", "b", "c"});
  const Uuid a = scene.layers[0].id, c = scene.layers[2].id;
  const Uuid group = *groupLayers(scene, {a, scene.layers[1].id});
  struct Case {
    const char* name;
    std::function<bool(MixerScene&)> edit;
  };
  const Case cases[] = {
      {"group of one", [&](MixerScene& s) { return groupLayers(s, {c}).has_value(); }},
      {"blank name", [&](MixerScene& s) { return renameGroup(s, group, " \t"); }},
      {"rename of an unknown group", [&](MixerScene& s) { return renameGroup(s, Uuid::make(), "X"); }},
      {"into an unknown group", [&](MixerScene& s) { return moveIntoGroup(s, c, Uuid::make()); }},
      {"unknown layer into a group", [&](MixerScene& s) { return moveIntoGroup(s, Uuid::make(), group); }},
      {"unknown layer out of a group", [&](MixerScene& s) { return removeFromGroup(s, Uuid::make()); }},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    MixerScene edited = scene;
    EXPECT_FALSE(test.edit(edited));
    EXPECT_EQ(edited, scene);
  }
  ASSERT_TRUE(renameGroup(scene, group, "  Guests\n"));
  EXPECT_EQ(scene.groups[0].name, "Guests");
}

TEST(LayerGroups, FlagsHoldForAGroupOnlyWhenEveryMemberHasThem) {
  MixerScene scene = stackOf({"a", "b", "c"});
  const Uuid a = scene.layers[0].id, c = scene.layers[2].id;
  const Uuid group = *groupLayers(scene, {a, scene.layers[1].id});
  EXPECT_FALSE(isGroupHidden(scene, Uuid::make())) << "a group without members";
  scene.layer(a)->hidden = true;
  EXPECT_FALSE(isGroupHidden(scene, group));
  setGroupHidden(scene, group, true);
  setGroupLocked(scene, group, true);
  EXPECT_TRUE(isGroupHidden(scene, group));
  EXPECT_TRUE(isGroupLocked(scene, group));
  EXPECT_FALSE(scene.layer(c)->hidden || scene.layer(c)->locked);

  ungroup(scene, group);
  EXPECT_TRUE(scene.groups.empty());
  EXPECT_FALSE(scene.layer(a)->groupID);
  EXPECT_FALSE(scene.layer(a)->hidden) << "a layer leaves its group shown";
}

TEST(LayerGroups, RemovingAGroupsLastLayerRemovesTheGroup) {
  MixerScene scene = stackOf({"a", "b", "c"});
  const Uuid a = scene.layers[0].id, b = scene.layers[1].id;
  groupLayers(scene, {a, b});
  removeLayer(scene, a);
  EXPECT_EQ(scene.groups.size(), 1u);
  removeLayer(scene, b);
  EXPECT_TRUE(scene.groups.empty());
  ASSERT_EQ(scene.layers.size(), 1u);
  EXPECT_EQ(scene.layers[0].sourceID, "c");
}

TEST(LayerGroups, DragsMoveAndScaleTheListedMembersFromWhereTheyBegan) {
  MixerScene scene = stackOf({"a", "b", "c"});
  const Uuid a = scene.layers[0].id, b = scene.layers[1].id, c = scene.layers[2].id;
  const Uuid group = *groupLayers(scene, {a, b});
  LayerState start = *scene.layer(a);
  start.center = {0.2, 0.3};
  start.size = {0.2, 0.1};

  moveGroup(scene, group, {{a, start.center}, {c, start.center}}, 0.1, -0.1);
  EXPECT_DOUBLE_EQ(scene.layer(a)->center.x, 0.3);
  EXPECT_DOUBLE_EQ(scene.layer(a)->center.y, 0.2);
  EXPECT_EQ(scene.layer(b)->center, (Point{0.5, 0.5})) << "not listed";
  EXPECT_EQ(scene.layer(c)->center, (Point{0.5, 0.5})) << "not a member";

  resizeGroup(scene, group, {{a, start}}, Point{0.1, 0.1}, Size{2, 0.1});
  const LayerState& resized = *scene.layer(a);
  EXPECT_DOUBLE_EQ(resized.center.x, 0.3);
  EXPECT_DOUBLE_EQ(resized.center.y, 0.12);
  EXPECT_DOUBLE_EQ(resized.size.width, 0.4);
  EXPECT_DOUBLE_EQ(resized.size.height, 0.02) << "no side shrinks below 0.02";
  EXPECT_TRUE(resized.fill);
}

}  // namespace
}  // namespace tavorin

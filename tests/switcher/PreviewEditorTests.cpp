#include "switcher/PreviewEditor.h"

#include <gtest/gtest.h>

#include "support/ManualMainQueue.h"
#include "switcher/SwitcherTestSupport.h"

namespace tavorin {
namespace {

using namespace switcher_testing;

class PreviewEditing : public ::testing::Test {
 protected:
  const LayerState& layer(const Uuid& id) { return *engine.previewScene->layer(id); }
  // The layer as the render thread draws Preview.
  const LayerState& shown(const Uuid& id) { return *engine.store().preview()->layer(id); }

  testing::ManualMainQueue queue;
  SwitcherEngine engine{SwitcherEngine::Role::main, queue};
  PreviewEditor editor{engine};
};

TEST_F(PreviewEditing, SelectionFollowsGroupsAndPastesLandSelectedOutsideThem) {
  engine.restoreSession({}, sceneOf({"a", "b", "c"}));
  const Uuid a = engine.previewScene->layers[0].id, c = engine.previewScene->layers[2].id;
  const Uuid group = *editor.groupLayers({a, engine.previewScene->layers[1].id});
  editor.selectLayer(a);
  editor.selectGroup(group);
  EXPECT_EQ(editor.selectedLayerID.get(), a) << "a member stays selected with its group";
  editor.selectLayer(c);
  EXPECT_FALSE(editor.selectedGroupID.get());
  editor.selectGroup(group);
  EXPECT_FALSE(editor.selectedLayerID.get());

  editor.copyLayer(a);
  ASSERT_EQ(editor.copiedLayer(), layer(a));
  editor.pasteLayer(*editor.copiedLayer());
  EXPECT_EQ(editor.selectedLayerID.get(), engine.previewScene->layers.back().id);
  EXPECT_FALSE(engine.previewScene->layers.back().groupID);
  editor.duplicateLayer(layer(a));
  EXPECT_EQ(editor.selectedLayerID.get(), engine.previewScene->layers.back().id);
  EXPECT_FALSE(editor.addVideoFilter(VideoFilterKind::bw, Uuid::make())) << "no such layer";
}

TEST_F(PreviewEditing, CroppingShowsTheWholeFrameAndLeavingBakesTheCropButAShapeDoesNot) {
  engine.sourcePixelSize = [](const std::string&) { return std::optional<Size>(Size{1440, 1080}); };
  const Uuid id = editor.addLayer("cam");
  LayerState cropped = layer(id);
  cropped.cropRect = Rect{{0, 0}, {0.5, 1}};
  editor.updateLayer(cropped);

  editor.setCropEditing(true);
  EXPECT_EQ(shown(id).cropRect, (Rect{{0, 0}, {1, 1}}));
  EXPECT_FALSE(shown(id).fill);
  editor.setCropEditing(false);
  EXPECT_NEAR(layer(id).center.x, 0.40625, 1e-6);
  EXPECT_EQ(shown(id), layer(id));

  editor.setCropEditing(true);
  const Point before = layer(id).center;
  editor.applyFrameShape(1.0, 0.5f);
  EXPECT_FALSE(editor.cropEditing.get());
  EXPECT_EQ(layer(id).center, before) << "not baked";
  EXPECT_EQ(layer(id).corners, CornerRadii::uniform(0.5f));
  EXPECT_EQ(shown(id), layer(id));
}

TEST_F(PreviewEditing, MaskDraftBecomesARegionOfTheSelectedLayer) {
  const Uuid id = editor.addLayer("cam");
  editor.setCropEditing(true);
  editor.setMaskEditing(true);
  EXPECT_FALSE(editor.cropEditing.get());
  for (Point p : {Point{0, 0}, Point{1, 0}, Point{1, 1}, Point{0.5, 0.5}}) editor.addMaskPoint(p);
  editor.undoMaskPoint();
  editor.closeMaskRegion();
  EXPECT_TRUE(editor.maskDraft->empty());
  ASSERT_EQ(shown(id).maskPolygons->size(), 1u);
  EXPECT_EQ(shown(id).maskPolygons->at(0).size(), 3u);
  editor.clearMask();
  EXPECT_TRUE(layer(id).maskPolygons->empty());
}

}  // namespace
}  // namespace tavorin

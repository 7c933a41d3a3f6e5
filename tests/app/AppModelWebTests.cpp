#include <gtest/gtest.h>

#include "app/AppModel.h"
#include "sources/WebOverlaySource.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

constexpr const char* kLowerThird = R"(<html><script id="tv-params" type="application/json">[
 {"key":"name","label":"Name","type":"text","default":"Your Name"},
 {"key":"subtitle","label":"Subtitle","type":"text","default":"Title / Role"}]</script></html>)";

TEST(AppModelWebTest, OverlayEntersTheShowOnceWithItsDefaultsAndFollowsItsLayersSize) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  OverlayItem item;
  {
    AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
    model.start();
    queue.runUntilIdle();
    item = *model.overlayStore.add("Lower Third", kLowerThird);
    auto id = model.addOverlayToShow(item);
    ASSERT_EQ(id, "overlay:" + item.id.toString());
    EXPECT_EQ(model.addOverlayToShow(item), id);
    EXPECT_EQ(model.sources->size(), 1u);
    ASSERT_EQ(model.sourcesStore.saved->size(), 1u);
    EXPECT_EQ(model.sourcesStore.saved->front().overlayConfig,
              (OverlayConfig{{"name", "Your Name"}, {"subtitle", "Title / Role"}}));
    EXPECT_EQ(model.log->back(), "Added overlay “Lower Third” to the show.");

    model.setOverlayParam(*id, "name", "Ada");
    EXPECT_EQ(model.sourcesStore.saved->front().overlayConfig->at("name"), "Ada");

    // The page is laid out at the size its layer has on the 1920 by 1080 canvas.
    auto layerID = model.editor.addLayer(*id);
    auto layer = *std::find_if(model.switcher.previewScene->layers.begin(), model.switcher.previewScene->layers.end(),
                               [&](const LayerState& l) { return l.id == layerID; });
    layer.size = {0.42, 0.16};
    model.editor.updateLayer(layer);
    queue.advance(0.3);
    auto* overlay = dynamic_cast<WebOverlaySource*>(model.sources->front().get());
    EXPECT_EQ(overlay->pageSize(), (OverlayPageSize{806, 173}));

    // Each pick of a starter is a new library item with its layer where the design belongs.
    auto starter = model.addOverlayStarter(OverlayStarter::lowerThird);
    ASSERT_TRUE(starter);
    EXPECT_NE(model.addOverlayStarter(OverlayStarter::lowerThird), starter);
    EXPECT_EQ(model.overlayStore.overlays->size(), 3u);
    const auto& layers = model.switcher.previewScene->layers;
    auto placed = std::find_if(layers.begin(), layers.end(), [&](const LayerState& l) { return l.sourceID == *starter; });
    ASSERT_NE(placed, layers.end());
    EXPECT_EQ(placed->center, (Point{0.24, 0.86}));
    EXPECT_EQ(placed->size, (Size{0.42, 0.16}));
  }
  // Back after a restart with its stored value; without its document it is skipped.
  {
    AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
    model.start();
    queue.runUntilIdle();
    ASSERT_EQ(model.sources->size(), 3u);
    EXPECT_EQ(dynamic_cast<WebOverlaySource*>(model.sources->front().get())->config().at("name"), "Ada");
  }
  std::filesystem::remove(OverlayStore(ShowFolder(show.path())).fileURL(item));
  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  model.start();
  queue.runUntilIdle();
  EXPECT_EQ(model.sources->size(), 2u);
  EXPECT_FALSE(model.sourceLifecycle.find("overlay:" + item.id.toString()));
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include "app/AppModel.h"
#include "platform/loop/GLibMainQueue.h"
#include "support/CompositorTestSupport.h"
#include "support/FakeSource.h"
#include "support/MainLoopWait.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::kBlue;
using testing::kRed;
using testing::near;
using testing::pixelAt;
using Move = LayerAnimation::Move;

// The show's Program is a blue picture; cues show a red source in the bottom band.
class FireGraphicsTest : public testing::CompositorTest {
 protected:
  FireGraphicsTest() {
    model.start();
    queue.runUntilIdle();
    for (const char* id : {"bg", "cue"}) model.addSource(std::make_shared<testing::FakeSource>(id));
    frames["bg"] = testing::solidFrame(320, 180, kBlue);
    frames["cue"] = testing::solidFrame(320, 180, kRed);
    model.editor.addLayer("bg");
    LayerState bg = model.switcher.previewScene->layers.back();
    bg.center = {0.5, 0.5};
    bg.size = {1, 1};
    model.editor.updateLayer(bg);
    model.cut(model.switcher);
    queue.runUntilIdle();
  }
  Uuid addCue(FireGraphic graphic) {
    model.fireGraphics.store.upsert(graphic);
    return graphic.id;
  }
  // Program as drawn at `time`, at a point inside the cue's band and one above it.
  std::pair<testing::Rgba, testing::Rgba> programAt(double time) {
    auto frame = compose(model.switcher.store().programPlan(time));
    return {pixelAt(*frame, 160, 160), pixelAt(*frame, 160, 60)};
  }
  testing::FakeSource& cueSource() { return *static_cast<testing::FakeSource*>(model.sourceLifecycle.find("cue").get()); }

  testing::TempDir show;
  testing::ManualMainQueue queue;
  AppModel model{AppEnvironment{show.path(), show / "preferences.json", queue}};
};

TEST_F(FireGraphicsTest, ACueEntersStaysAndLeavesOverProgramWithoutTouchingTheScenes) {
  FireGraphic graphic;
  graphic.name = "Lower third";
  graphic.sourceID = "cue";
  graphic.enterMove = Move::slideBottom;
  graphic.exitMove = Move::fade;
  graphic.durationSeconds = 5;
  const Uuid id = addCue(graphic);
  const MixerScene program = model.switcher.programScene.get(), preview = model.switcher.previewScene.get();

  const double firedAt = queue.now();
  model.fireGraphic(id);
  EXPECT_EQ(cueSource().replays, 1) << "a source plays from its start";
  EXPECT_TRUE(model.sourceLifecycle.liveSourceIDs().contains("cue"));
  EXPECT_EQ(model.fireGraphics.fireLayers().at(id).zOrder, FireGraphics::kFireZOrder);
  struct Step {
    double at;  // seconds after the fire
    testing::Rgba band;
    const char* what;
  };
  for (const auto& [at, band, what] : {Step{0, kBlue, "below the picture as the move starts"},
                                       Step{0.5, kRed, "landed"}, Step{4.9, kRed, "stays"}}) {
    auto [inBand, above] = programAt(firedAt + at);
    EXPECT_TRUE(near(inBand, band)) << what;
    EXPECT_TRUE(near(above, kBlue)) << what;
  }

  // The auto-hide starts the exit move: no longer lit, still drawn while it fades.
  queue.advance(5);
  EXPECT_FALSE(model.fireGraphics.activeFireIDs->contains(id));
  const double leftAt = queue.now();
  auto [fading, _] = programAt(leftAt + 0.2);
  EXPECT_GT(fading.r, 60);
  EXPECT_GT(fading.b, 20);
  queue.advance(0.4);
  EXPECT_TRUE(model.fireGraphics.fireLayers().empty());
  EXPECT_TRUE(near(programAt(queue.now()).first, kBlue));
  EXPECT_FALSE(model.sourceLifecycle.liveSourceIDs().contains("cue"));
  EXPECT_EQ(model.switcher.programScene.get(), program);
  EXPECT_EQ(model.switcher.previewScene.get(), preview);
}

TEST_F(FireGraphicsTest, PressesDismissalsAndMissingMedia) {
  FireGraphic leaving;
  leaving.sourceID = "cue";
  leaving.exitMove = Move::slideLeft;
  leaving.exitDuration = 1;
  leaving.durationSeconds = 3;
  const Uuid id = addCue(leaving);
  DeckTile tile;
  tile.action = DeckAction::withID(DeckActionKind::fireGraphic, id);

  // A press fires and lights the tile; the second starts the exit move.
  model.runTile(tile);
  EXPECT_TRUE(model.tileSummary(tile.action).on);
  EXPECT_EQ(model.tileSummary(tile.action).realTitle, "Cue");
  queue.advance(1);
  model.runTile(tile);
  EXPECT_FALSE(model.tileSummary(tile.action).on);
  ASSERT_TRUE(model.fireGraphics.fireLayers().contains(id));
  // Fired again while leaving: a fresh run, whose auto-hide is its own and not the first one's.
  queue.advance(0.5);
  model.runTile(tile);
  EXPECT_FALSE(model.fireGraphics.fireLayers().at(id).animation.exitAt);
  queue.advance(2);
  EXPECT_TRUE(model.fireGraphics.activeFireIDs->contains(id)) << "the first run's auto-hide was cancelled";
  queue.advance(1);
  EXPECT_FALSE(model.fireGraphics.activeFireIDs->contains(id));
  model.fireGraphics.dismiss(id);  // a second dismiss while leaving cuts it
  EXPECT_TRUE(model.fireGraphics.fireLayers().empty());

  // Until dismissed, and without an exit move a dismiss removes it at once.
  FireGraphic until;
  until.sourceID = "cue";
  const Uuid untilID = addCue(until);
  model.fireGraphic(untilID);
  queue.advance(60);
  EXPECT_TRUE(model.fireGraphics.activeFireIDs->contains(untilID));
  model.fireGraphic(untilID);
  EXPECT_TRUE(model.fireGraphics.fireLayers().empty());

  struct Missing {
    FireGraphic graphic;
    const char* log;
  };
  FireGraphic noOverlay;
  noOverlay.overlayID = Uuid::make();
  FireGraphic goneSource;
  goneSource.sourceID = "gone";
  for (const auto& [graphic, log] : {Missing{FireGraphic{}, "Cue's media is missing from the library — edit or delete it."},
                                     Missing{goneSource, "Cue's media is missing from the library — edit or delete it."},
                                     Missing{noOverlay, "Cue's overlay is missing — edit it in Create."}}) {
    model.fireGraphic(addCue(graphic));
    EXPECT_EQ(model.log->back(), log);
    EXPECT_TRUE(model.fireGraphics.activeFireIDs->empty());
  }
  tile.action.id = Uuid::make();
  EXPECT_EQ(model.tileSummary(tile.action).realTitle, "Missing graphic");
}

TEST_F(FireGraphicsTest, ALayerBecomesACueAndIsStagedBackForEditing) {
  const Uuid layerID = model.editor.addLayer("cue");
  LayerState layer = model.switcher.previewScene->layers.back();
  layer.center = {0.3, 0.7};
  layer.opacity = 0.5f;
  model.editor.updateLayer(layer);
  model.saveLayerAsCue(layerID);
  ASSERT_EQ(model.fireGraphics.store.graphics->size(), 1u);
  FireGraphic cue = model.fireGraphics.store.graphics->front();
  EXPECT_EQ(cue.sourceID, "cue");
  EXPECT_EQ(cue.center, (Point{0.3, 0.7}));
  EXPECT_EQ(model.fireGraphics.pendingFireGraphicEdit.get(), cue);

  // Fired, it keeps the captured look with its own id.
  model.fireGraphic(cue.id);
  const LayerState& fired = model.fireGraphics.fireLayers().at(cue.id);
  EXPECT_NE(fired.id, layerID);
  EXPECT_EQ(fired.opacity, 0.5f);
  model.fireGraphic(cue.id);

  // Staged, moved, saved back into the same cue.
  model.stageCue(cue.id);
  ASSERT_EQ(model.fireGraphics.editingFireGraphicID, cue.id);
  LayerState staged = model.switcher.previewScene->layers.back();
  EXPECT_EQ(staged.center, (Point{0.3, 0.7}));
  staged.center = {0.6, 0.2};
  model.editor.updateLayer(staged);
  model.saveLayerAsCue(staged.id);
  EXPECT_EQ(model.log->back(), "Updated “Cam” from the canvas.");
  EXPECT_EQ(model.fireGraphics.store.graphics->size(), 1u);
  EXPECT_EQ(model.fireGraphics.store.graphics->front().center, (Point{0.6, 0.2}));
  EXPECT_FALSE(model.fireGraphics.editingFireGraphicID);
}

// A cue of a library overlay runs a private page for as long as it is on air.
TEST(FireGraphicsOverlayTest, AnOverlayCueGetsAPrivatePageAtTheFiredRateAndReplaysOnce) {
  testing::TempDir show;
  GLibMainQueue queue;
  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  model.start();
  auto item = model.overlayStore.add("Box", R"(<!doctype html><html><head>
<script id="tv-params" type="application/json">[{"key":"color","label":"Colour","type":"color","default":"#ff0000"}]</script>
<style>html,body{margin:0;height:100%;background:transparent}#box{width:100%;height:100%;background:#ff0000}</style></head>
<body><div id="box"></div><script>window.replays = 0;
window.applyTavorinConfig = c => { box.style.background = c.color; };
window.tavorinReplay = () => { window.replays += 1; };</script></body></html>)");
  ASSERT_TRUE(item);
  FireGraphic graphic;
  graphic.overlayID = item->id;
  graphic.config = {{"color", "#00ff00"}};
  model.fireGraphics.store.upsert(graphic);

  model.fireGraphic(graphic.id);
  auto* page = model.fireGraphics.privateSource(graphic.id);
  ASSERT_TRUE(page);
  EXPECT_TRUE(model.sources->empty()) << "private to the firing";
  EXPECT_EQ(page->framesPerSecond(), WebOverlaySource::kFiredFPS);
  EXPECT_EQ(page->pageSize(), (OverlayPageSize{1920, 216}));
  const std::string slotID = FireGraphics::privateSourceID(graphic.id);
  auto green = [&] {
    auto frame = model.frameSlots.latestFrame(slotID);
    if (!frame) return false;
    const std::uint8_t* p = frame->row(frame->height() / 2) + 4 * (frame->width() / 2);
    return p[0] < 30 && p[1] > 220 && p[2] < 30;
  };
  ASSERT_TRUE(testing::spinUntil(green, 30));
  std::optional<nlohmann::json> replays;
  ASSERT_TRUE(testing::spinUntil(
      [&] {
        page->runScript("window.replays", [&](std::optional<nlohmann::json> value) { replays = value; });
        testing::spinFor(0.3);
        return replays && *replays == 1;
      },
      10));
  testing::spinFor(1);
  page->runScript("window.replays", [&](std::optional<nlohmann::json> value) { replays = value; });
  ASSERT_TRUE(testing::spinUntil([&] { return replays.has_value(); }, 5));
  EXPECT_EQ(*replays, 1);

  model.fireGraphic(graphic.id);
  EXPECT_FALSE(model.fireGraphics.privateSource(graphic.id));
  EXPECT_FALSE(model.frameSlots.contains(slotID));
  EXPECT_TRUE(testing::spinUntil([&] { return model.webEngine->livePageCount() == 0; }, 10));
}

}  // namespace
}  // namespace tavorin

// GoogleTest before Xlib, whose macros (None, Bool) clash with its names.
#include <gtest/gtest.h>

#include "app/AppModel.h"

#include <X11/keysym.h>

#include "model/HotkeyKeys.h"
#include "model/SceneJson.h"
#include "peers/PrivateXServer.h"
#include "peers/XTestKeyboard.h"
#include "platform/x11/X11GlobalKeys.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::ManualMainQueue;
using testing::TempDir;
using K = DeckActionKind;

class AppModelDeckTest : public ::testing::Test {
 protected:
  std::unique_ptr<AppModel> makeModel() {
    auto model = std::make_unique<AppModel>(AppEnvironment{show.path(), show / "preferences.json", queue});
    model->start();
    return model;
  }
  static std::vector<std::string> sceneNames(const AppModel& model) {
    std::vector<std::string> names;
    for (const auto& scene : model.layoutStore.layouts.get()) names.push_back(scene.name);
    return names;
  }
  static DeckTile tileOf(DeckAction action) {
    DeckTile tile;
    tile.action = std::move(action);
    return tile;
  }

  TempDir show;
  ManualMainQueue queue;
};

TEST_F(AppModelDeckTest, EachDeckHasItsOwnScenesAndLeavingOneKeepsItsEdits) {
  auto model = makeModel();
  const Uuid first = *model->deckStore.activeDeckID.get();
  const Uuid talk = model->layoutStore.add(MixerScene::named("Talk"), "Talk");
  model->loadLayout(model->layoutStore.layouts->front());
  model->editor.addLayer("camera:host");
  LayerState moved = model->switcher.previewScene->layers.front();
  moved.center = {0.1, 0.9};
  model->editor.updateLayer(moved);  // still waiting for its quiet moment

  model->deckStore.add("Late show");
  EXPECT_TRUE(sceneNames(*model).empty());
  EXPECT_FALSE(model->switcher.loadedLayoutID.get());
  model->layoutStore.add(MixerScene::named("Night"), "Night");

  model->deckStore.setActiveDeck(first);
  EXPECT_EQ(sceneNames(*model), std::vector<std::string>{"Talk"});
  ASSERT_EQ(model->layoutStore.layouts->front().id, talk);
  ASSERT_EQ(model->layoutStore.layouts->front().layers.size(), 1u);
  EXPECT_EQ(model->layoutStore.layouts->front().layers.front().center, (Point{0.1, 0.9}));

  model.reset();
  EXPECT_EQ(sceneNames(*makeModel()), std::vector<std::string>{"Talk"}) << "the active deck comes back";
}

TEST_F(AppModelDeckTest, TilesRunTheirActionsAndShowTheirTally) {
  auto model = makeModel();
  queue.runUntilIdle();
  model->audioMixer.addSourceChannel("ndiaudio:cam", "Cam", "network", true, "ndi:cam");
  const Uuid scene = model->layoutStore.add(MixerScene::named("Opening"), "Opening");

  const auto air = tileOf(DeckAction::withChannel(K::toggleChannelAir, "ndiaudio:cam"));
  const auto cue = tileOf(DeckAction::withChannel(K::toggleChannelRoute, "ndiaudio:cam", ChannelRoute::cue));
  const auto load = tileOf(DeckAction::withID(K::loadLayout, scene));
  const auto fader = tileOf(DeckAction::withChannel(K::channelFader, "ndiaudio:cam"));
  EXPECT_EQ(model->tileLook(air).title, "Cam AIR");
  EXPECT_EQ(model->tileLook(cue).title, "Cam CUE");
  EXPECT_EQ(model->tileLook(cue).color, "#ffd60a");
  EXPECT_FALSE(model->tileLook(cue).on);
  model->runTile(cue);
  EXPECT_TRUE(model->audioMixer.channels->back().cue);
  EXPECT_TRUE(model->tileLook(cue).on);
  const bool wasOnAir = model->audioMixer.channels->back().air;
  model->runTile(air);
  EXPECT_NE(model->audioMixer.channels->back().air, wasOnAir);

  EXPECT_FALSE(model->tileLook(load).on);
  model->runTile(load);
  EXPECT_EQ(model->switcher.loadedLayoutID.get(), scene);
  EXPECT_TRUE(model->tileLook(load).on);

  model->setTileValue(fader, 0.25);
  EXPECT_FLOAT_EQ(model->audioMixer.channels->back().level, 0.5f);
  EXPECT_DOUBLE_EQ(*model->tileValue(fader), 0.25);
  model->runTile(fader);  // a control, not a button
  EXPECT_FLOAT_EQ(model->audioMixer.channels->back().level, 0.5f);

  model->runTile(tileOf(DeckAction::plain(K::punchBlack)));
  EXPECT_EQ(model->switcher.programScene->layers.at(0).sourceID, "still:black");

  // No frame clock, so nothing is held: the save says so rather than writing an empty clip.
  model->runTile(tileOf(DeckAction::plain(K::saveReplay)));
  EXPECT_EQ(model->log->back(), "Saving replay…");
  queue.runUntilIdle();
  EXPECT_EQ(model->log->back(), "Replay save failed (buffer may still be filling).");

  // Targets that are gone: the tile says so, and a press does nothing.
  struct Missing {
    DeckAction action;
    const char* title;
  };
  for (const auto& [action, title] : std::vector<Missing>{
           {DeckAction::withID(K::loadLayout, Uuid::make()), "Missing scene"},
           {DeckAction::withID(K::toggleStream, Uuid::make()), "Missing stream"},
           {DeckAction::withChannel(K::toggleChannelRoute, "gone", ChannelRoute::afv), "Missing channel"},
           {DeckAction::withID(K::playSound, Uuid::make()), "Missing sound"},
           {DeckAction::withID(K::fireTransition, Uuid::make()), "Missing transition"},
           {DeckAction::withChannel(K::masterStrip, "bus-gone"), "Missing output"},
       }) {
    const auto look = model->tileSummary(action);
    EXPECT_EQ(look.title, title);
    EXPECT_FALSE(look.exists) << title;
    model->runAction(action);
  }
  DeckTile aliased = tileOf(DeckAction::plain(K::toggleRecord));
  aliased.label = "REC";
  aliased.colorHex = "#123456";
  const auto look = model->tileLook(aliased);
  EXPECT_EQ(look.title, "REC");
  EXPECT_EQ(look.realTitle, "Record");
  EXPECT_EQ(look.color, "#123456");
}

// The deck's keys under a private X server, pressed through XTEST.
TEST_F(AppModelDeckTest, HotkeysPressTheActiveDecksTilesAndFollowDeckSwitches) {
  testing::PrivateXServer server{640, 480};
  testing::Keyboard keyboard;
  auto model = std::make_unique<AppModel>(
      AppEnvironment{.showFolder = show.path(), .preferencesFile = show / "preferences.json", .queue = queue,
                     .globalKeys = X11GlobalKeys::open()});
  int miniToggles = 0;
  model->onToggleMiniMode = [&] { ++miniToggles; };
  model->start();
  ASSERT_TRUE(model->hotkeyNotice.get().empty()) << model->hotkeyNotice.get();

  model->editor.addLayer("camera:host");
  const Uuid cutTile = *model->deckStore.addTile(DeckAction::plain(K::cut), std::nullopt);
  DeckTile tile = *model->deckStore.findTile(cutTile);
  tile.hotkey = HotkeyBinding{40, hotkey_modifier::control | hotkey_modifier::option, "Ctrl+Alt+K"};
  model->deckStore.updateTile(tile);
  // A second tile on the same key is refused and marked.
  DeckTile twin = *model->deckStore.findTile(*model->deckStore.addTile(DeckAction::plain(K::take), std::nullopt));
  twin.hotkey = tile.hotkey;
  model->deckStore.updateTile(twin);
  EXPECT_EQ(model->refusedHotkeyTiles.get(), std::set<Uuid>{twin.id});

  const unsigned k = *evdevFromKeyCode(40) + 8;
  const unsigned m = *evdevFromKeyCode(46) + 8;
  const auto programLayers = [&] { return model->switcher.programScene->layers.size(); };
  keyboard.chord({XK_Control_L, XK_Alt_L}, k);
  EXPECT_TRUE(testing::pumpUntil([&] { return programLayers() == 1; })) << "the CUT tile's key cuts";

  model->deckStore.add("Other show");
  model->editor.addLayer("camera:guest");
  keyboard.chord({XK_Control_L, XK_Alt_L}, k);
  keyboard.chord({XK_Control_L, XK_Alt_L, XK_Super_L}, m);
  EXPECT_TRUE(testing::pumpUntil([&] { return miniToggles == 1; })) << "the fixed keys stay";
  testing::settle();
  EXPECT_EQ(programLayers(), 1u) << "the old deck's key is gone";
}

}  // namespace
}  // namespace tavorin

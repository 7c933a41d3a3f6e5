#include <gtest/gtest.h>

#include <thread>

#include "app/AppModel.h"
#include "support/ChildProcess.h"
#include "support/LoopbackPorts.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using K = DeckActionKind;

class RemotePhoneTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto free = testing::freeLoopbackPorts(2);
    ports_ = {static_cast<std::uint16_t>(free[0]), static_cast<std::uint16_t>(free[1])};
    model_ = std::make_unique<AppModel>(AppEnvironment{.showFolder = show_.path(),
                                                       .preferencesFile = show_ / "preferences.json",
                                                       .queue = queue_,
                                                       .remotePorts = ports_});
    model_->start();
    model_->audioMixer.addSourceChannel("ndiaudio:cam", "Cam", "network", true, "ndi:cam");
  }
  DeckTile tile(DeckAction action) { return *model_->deckStore.findTile(*model_->deckStore.addTile(action, std::nullopt)); }

  testing::TempDir show_;
  testing::ManualMainQueue queue_;
  RemotePorts ports_;
  std::unique_ptr<AppModel> model_;
};

TEST_F(RemotePhoneTest, TheDeckAsThePhoneSeesIt) {
  EXPECT_EQ(model_->remote.deckState(), (Json{{"deck", "Show 1"}, {"tiles", Json::array()}, {"cols", 8}}));
  DeckTile fader = tile(DeckAction::withChannel(K::channelFader, "ndiaudio:cam"));
  fader.gridX = 19;
  fader.gridY = 0;
  model_->deckStore.updateTile(fader);
  model_->setTileValue(fader, 0.75);
  tile(DeckAction::withChannel(K::channelStrip, "gone"));
  const Json state = model_->remote.deckState();
  EXPECT_EQ(state["cols"], 16) << "pinned at column 20: clamped";
  EXPECT_EQ(state["tiles"][0]["x"], 14) << "and the tile slides left";
  EXPECT_EQ(state["tiles"][0]["kind"], "fader");
  EXPECT_DOUBLE_EQ(state["tiles"][0]["value"].get<double>(), 0.75);
  EXPECT_FLOAT_EQ(model_->audioMixer.channels->back().level, 1.5f);
  EXPECT_DOUBLE_EQ(state["tiles"][1]["value"].get<double>(), 0.5) << "a channel that is gone";
  EXPECT_EQ(state["tiles"][1]["label"], "Missing strip");

  const std::string token = model_->remote.token();
  EXPECT_EQ(token.size(), 6u);
  EXPECT_EQ(token.find_first_not_of(RemoteControl::kTokenAlphabet), std::string::npos);
  EXPECT_FALSE(model_->remote.server().running()) << "listening only while enabled";
  model_.reset();
  SetUp();
  EXPECT_EQ(model_->remote.token(), token) << "made once, kept";
}

// Debian's Chromium on the page, through playwright-core (tests/peers/browser).
TEST_F(RemotePhoneTest, APhonesBrowserRunsTheDeck) {
  MixerScene opening = MixerScene::named("Opening");
  opening.layers.push_back(LayerState::make("camera:a"));
  const Uuid scene = model_->layoutStore.add(opening, "Opening");
  tile(DeckAction::withID(K::loadLayout, scene));
  tile(DeckAction::plain(K::cut));
  tile(DeckAction::withChannel(K::channelFader, "ndiaudio:cam"));
  model_->remote.setEnabled(true);
  ASSERT_TRUE(model_->remote.server().httpListening());

  const std::string url = "http://127.0.0.1:" + std::to_string(ports_.http) + "/?k=" + model_->remote.token();
  testing::ChildProcess phone({testing::findProgram("node", "nodejs"), TAVORIN_TESTS_DIR "/peers/browser/remote_phone.mjs",
                               url, std::to_string(ports_.webSocket)},
                              show_ / "phone-stderr.txt", {.stdoutFile = show_ / "phone.json"});
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(90);
  while (phone.running() && std::chrono::steady_clock::now() < deadline) {
    queue_.runUntilIdle();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  queue_.runUntilIdle();
  ASSERT_EQ(phone.wait(1), std::optional<int>(0)) << testing::logTail(show_ / "phone-stderr.txt", 20);
  const Json seen = Json::parse(testing::readFile(show_ / "phone.json"));

  EXPECT_EQ(seen["wrongTokenStatus"], 403);
  EXPECT_EQ(seen["wrongTokenHasTiles"], false);
  EXPECT_EQ(seen["deck"], "Show 1");
  EXPECT_EQ(seen["labels"], Json::array({"Opening", "CUT"}));
  EXPECT_LE(seen["tallyMs"].get<int>(), 1500) << "the tally follows within a push: " << seen.dump();
  EXPECT_EQ(seen["wrongSocket"], "closed");
  ASSERT_EQ(model_->switcher.programScene->layers.size(), 1u) << "the scene tile staged it, CUT took it";
  EXPECT_EQ(model_->switcher.programScene->layers[0].sourceID, "camera:a");
  EXPECT_FLOAT_EQ(model_->audioMixer.channels->back().level, 1.5f) << "the fader at 0.75";
  model_->remote.setEnabled(false);
  EXPECT_FALSE(testing::acceptsConnections(ports_.http));
}

}  // namespace
}  // namespace tavorin

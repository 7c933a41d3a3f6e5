#include "sources/WebOverlaySource.h"

#include <gtest/gtest.h>

#include "platform/loop/GLibMainQueue.h"
#include "platform/web/ChromiumWebEngine.h"
#include "support/MainLoopWait.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::spinFor;
using testing::spinUntil;

// A manifest of every type, a box coloured by "color", and a strip that moves
// all the time so that frames keep coming.
constexpr const char* kOverlay = R"(<!doctype html><html><head>
<script id="tv-params" type="application/json">[
 {"key":"color","label":"Colour > of the box","type":"color","default":"#ff0000"},
 {"key":"label","label":"Label","type":"text","default":"Hi"},
 {"key":"size","label":"Size","type":"number","default":"50"},
 {"key":"show","label":"Show","type":"bool","default":"0"}]</script>
<style>html,body{margin:0;height:100%;background:transparent}
#box{position:absolute;left:0;top:0;width:50%;height:50%;background:#ff0000}
#strip{position:absolute;left:0;bottom:0;width:10px;height:10px;background:#fff}</style></head>
<body><div id="box"></div><div id="strip"></div><script>
window.applyTavorinConfig = c => { window.received = c; if (c.color) box.style.background = c.color; };
let t = 0; setInterval(() => { t += 1; strip.style.left = (t % 200) + 'px'; }, 10);
</script></body></html>)";

class WebOverlaySourceTest : public ::testing::Test {
 protected:
  WebOverlaySourceTest() {
    source.setPageSize(320, 180);
    source.start({});
  }
  // The page's copy of its config, as JSON text.
  std::optional<nlohmann::json> received() {
    std::optional<std::optional<nlohmann::json>> answer;
    source.runScript("window.received || null", [&](std::optional<nlohmann::json> value) { answer = value; });
    spinUntil([&] { return answer.has_value(); }, 10);
    return answer ? *answer : std::nullopt;
  }
  std::array<int, 4> boxPixel() {
    auto frame = source.latestFrame();
    if (!frame) return {};
    const std::uint8_t* p = frame->row(40) + 4 * 40;
    return {p[0], p[1], p[2], p[3]};
  }
  // Frames a second over `seconds`, counted by their generation.
  double measuredRate(double seconds) {
    spinFor(0.5);
    std::uint64_t seen = 0;
    int frames = 0;
    spinUntil(
        [&] {
          if (auto frame = source.latestFrame(); frame && frame->generation() != seen) {
            seen = frame->generation();
            ++frames;
          }
          return false;
        },
        seconds);
    return frames / seconds;
  }
  testing::TempDir folder;
  std::filesystem::path document = [this] {
    testing::writeFile(folder / "overlay.html", kOverlay);
    return folder / "overlay.html";
  }();
  testing::TempDir profile;
  GLibMainQueue queue;
  ChromiumWebEngine engine{queue, {.executable = {}, .profileDir = profile.path(), .log = {}}};
  WebOverlaySource source{"overlay:1", "Overlay", document,
                          {{"label", "He said \"yes\" \\o/"}, {"show", "TRUE"}, {"old", "kept"}}, engine};
};

TEST_F(WebOverlaySourceTest, DefaultsAndStoredValuesReachThePageTypedAndAfterAWake) {
  nlohmann::json expected{{"color", "#ff0000"}, {"label", "He said \"yes\" \\o/"}, {"size", 50.0}, {"show", true}};
  ASSERT_TRUE(spinUntil([&] { return boxPixel() == std::array<int, 4>{0, 0, 255, 255}; }, 20));
  EXPECT_EQ(received(), expected);
  EXPECT_EQ(source.config().at("old"), "kept");

  source.setConfigValue("color", "#0000ff");
  EXPECT_TRUE(spinUntil([&] { return boxPixel() == std::array<int, 4>{255, 0, 0, 255}; }, 10));

  // Parked: no page in the engine, the last picture stays.
  source.park();
  EXPECT_EQ(engine.livePageCount(), 0);
  auto kept = source.latestFrame();
  spinFor(0.5);
  EXPECT_EQ(source.latestFrame(), kept);
  EXPECT_EQ(kept->generation(), source.latestFrame()->generation());

  // Woken: a fresh load of the document that gets its config again.
  source.resume();
  ASSERT_TRUE(spinUntil([&] { return engine.livePageCount() == 1; }, 10));
  expected["color"] = "#0000ff";
  EXPECT_TRUE(spinUntil([&] { return received() == expected; }, 10));
}

TEST_F(WebOverlaySourceTest, RateFollowsLiveIdleAndFired) {
  ASSERT_TRUE(spinUntil([&] { return source.latestFrame() != nullptr; }, 20));
  struct Case {
    bool live;
    double liveFPS;
    double expected;
  };
  for (auto [live, liveFPS, expected] : {Case{true, WebOverlaySource::kLiveFPS, 15}, Case{false, 30, 2},
                                         Case{true, WebOverlaySource::kFiredFPS, 30}}) {
    source.setLive(live);
    source.setLiveFPS(liveFPS);
    EXPECT_NEAR(measuredRate(3), expected, 2) << "live " << live << " at " << liveFPS;
  }
}

}  // namespace
}  // namespace tavorin

#include "graphics/OverlayStarters.h"

#include <gtest/gtest.h>

#include "model/OverlayManifest.h"
#include "platform/loop/GLibMainQueue.h"
#include "platform/web/ChromiumWebEngine.h"
#include "sources/WebOverlaySource.h"
#include "support/MainLoopWait.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::spinUntil;

TEST(OverlayStarters, DocumentsCarryTheirManifestsAndTheSameStars) {
  for (const auto& info : overlayStarters()) {
    std::string document = overlayStarterDocument(info.starter);
    EXPECT_EQ(parseOverlayParams(document), info.params) << info.libraryName;
    EXPECT_EQ(document.find("{{"), std::string::npos) << info.libraryName;
  }
  EXPECT_EQ(overlayStarField(60).rfind(overlayStarField(40), 0), 0u);
  // Worked out apart from the code, with Python integers wrapped at 64 bits.
  EXPECT_EQ(overlayStarField(2), "784px 598px #fff,1189px 553px #fff");
}

std::optional<nlohmann::json> evaluate(WebOverlaySource& source, const std::string& script) {
  std::optional<std::optional<nlohmann::json>> answer;
  source.runScript(script, [&](std::optional<nlohmann::json> value) { answer = value; });
  spinUntil([&] { return answer.has_value(); }, 10);
  return answer ? *answer : std::nullopt;
}

// Every design runs in the real engine: it draws and offers both entry points.
TEST(OverlayStarters, EveryDesignDrawsAndAnswersTheContract) {
  testing::TempDir folder;
  testing::TempDir profile;
  GLibMainQueue queue;
  std::vector<std::string> log;
  ChromiumWebEngine engine(queue, {.executable = {}, .profileDir = profile.path(),
                                   .log = [&](std::string line) { log.push_back(std::move(line)); }});
  std::vector<std::unique_ptr<WebOverlaySource>> sources;
  for (const auto& info : overlayStarters()) {
    auto file = folder / (std::string(info.libraryName) + ".html");
    testing::writeFile(file, overlayStarterDocument(info.starter));
    sources.push_back(std::make_unique<WebOverlaySource>(std::string(info.libraryName), "", file, OverlayConfig{}, engine));
    sources.back()->setPageSize(640, 360);
    sources.back()->start({});
  }
  for (auto& source : sources) {
    // A frame may come before the document has loaded; the entry points come with it.
    EXPECT_TRUE(spinUntil([&] { return source->latestFrame() != nullptr; }, 30)) << source->id();
    EXPECT_TRUE(spinUntil(
        [&] {
          return evaluate(*source, "typeof window.applyTavorinConfig + ' ' + typeof window.tavorinReplay") ==
                 "function function";
        },
        30))
        << source->id();
  }
  auto& countdown = *sources[static_cast<std::size_t>(OverlayStarter::countdown)];
  countdown.setConfigValue("minutes", "1.5");
  EXPECT_TRUE(spinUntil([&] { return evaluate(countdown, "document.getElementById('time').textContent") == "01:30"; }, 5));
  EXPECT_TRUE(log.empty()) << "nine pages at once keep the browser up: " << log.front();
}

}  // namespace
}  // namespace tavorin

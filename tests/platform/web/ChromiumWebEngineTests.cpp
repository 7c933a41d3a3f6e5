#include "platform/web/ChromiumWebEngine.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <mutex>

#include "peers/LocalWebServer.h"
#include "peers/PrivateXServer.h"
#include "platform/loop/GLibMainQueue.h"
#include "support/MainLoopWait.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::spinFor;
using testing::spinUntil;

constexpr const char* kBoxPage = R"(<!doctype html><html><head><style>
html,body{margin:0;height:100%;background:transparent}
#box{position:absolute;left:100px;top:50px;width:200px;height:100px;background:#ff8000}
</style></head><body><div id="box"></div></body></html>)";

constexpr const char* kMovingPage = R"(<!doctype html><html><head><style>
html,body{margin:0;height:100%;background:transparent}
#box{position:absolute;top:40px;width:80px;height:80px;background:#2060ff}
</style></head><body><div id="box"></div><script>
let t = 0; setInterval(() => { t += 1; document.getElementById('box').style.left = (t % 400) + 'px'; }, 16);
</script></body></html>)";

// Script that never yields, a while after the page has loaded.
constexpr const char* kLoopingPage = R"(<!doctype html><html><body style="background:#fff">
<script>setTimeout(() => { for (;;) {} }, 300);</script></body></html>)";

// Sets a lasting cookie when opened with "?login", as a site does when one logs in.
constexpr const char* kLoginPage = R"(<!doctype html><html><body><script>
if (location.search === '?login') document.cookie = 'session=ada; max-age=3600; path=/';
</script></body></html>)";

// Counts a page's frames and keeps the newest.
struct FrameCounter {
  std::mutex lock;
  int count = 0;
  PixelBufferRef last;
  WebPage::FrameSink sink() {
    return [this](PixelBufferRef frame) {
      std::lock_guard<std::mutex> hold(lock);
      ++count;
      last = std::move(frame);
    };
  }
  int frames() {
    std::lock_guard<std::mutex> hold(lock);
    return count;
  }
  PixelBufferRef latest() {
    std::lock_guard<std::mutex> hold(lock);
    return last;
  }
};

struct Bgra {
  int b, g, r, a;
  friend bool operator==(const Bgra&, const Bgra&) = default;
};
Bgra pixel(const PixelBuffer& frame, int x, int y) {
  const std::uint8_t* p = frame.row(y) + 4 * x;
  return {p[0], p[1], p[2], p[3]};
}

class ChromiumWebEngineTest : public ::testing::Test {
 protected:
  ChromiumWebEngineTest() {
    for (auto [name, html] : {std::pair{"box.html", kBoxPage}, {"moving.html", kMovingPage}, {"loop.html", kLoopingPage}, {"login.html", kLoginPage}}) {
      testing::writeFile(pages / name, html);
    }
  }
  WebPageSettings settings(const std::string& page, double fps = 15) {
    WebPageSettings s;
    s.url = server.url(page);
    s.width = 640;
    s.height = 360;
    s.framesPerSecond = fps;
    s.transparent = true;
    return s;
  }
  testing::TempDir pages;
  testing::TempDir profile;
  testing::LocalWebServer server{pages.path()};
  GLibMainQueue queue;
  std::vector<std::string> log;
  ChromiumWebEngine engine{queue, {.executable = {}, .profileDir = profile.path(), .log = [this](std::string line) { log.push_back(line); }}};
};

TEST_F(ChromiumWebEngineTest, TransparentPageIsAlphaZeroOutsideItsBox) {
  FrameCounter frames;
  auto page = engine.openPage(settings("box.html"));
  page->setFrameSink(frames.sink());
  ASSERT_TRUE(spinUntil([&] { return frames.latest() && pixel(*frames.latest(), 200, 100).a == 255; }, 20));
  auto frame = frames.latest();
  ASSERT_EQ(frame->width(), 640);
  ASSERT_EQ(frame->height(), 360);
  EXPECT_EQ(pixel(*frame, 200, 100), (Bgra{0, 128, 255, 255}));
  for (auto [x, y] : {std::pair{5, 5}, {99, 100}, {300, 100}, {200, 151}, {639, 359}}) {
    EXPECT_EQ(pixel(*frame, x, y), (Bgra{0, 0, 0, 0})) << x << "," << y;
  }
  EXPECT_TRUE(log.empty());
}

TEST_F(ChromiumWebEngineTest, KilledBrowserComesBackAndThePageDrawsAgain) {
  FrameCounter frames;
  auto page = engine.openPage(settings("moving.html"));
  page->setFrameSink(frames.sink());
  int loads = 0;
  page->onLoaded = [&] { ++loads; };
  ASSERT_TRUE(spinUntil([&] { return frames.frames() > 5 && loads == 1; }, 20)) << frames.frames() << " " << loads;
  pid_t first = engine.browserPid();
  ASSERT_GT(first, 0);
  kill(first, SIGKILL);
  ASSERT_TRUE(spinUntil([&] { return engine.livePageCount() == 0; }, 5));
  int before = frames.frames();
  ASSERT_TRUE(spinUntil([&] { return engine.livePageCount() == 1 && loads == 2 && frames.frames() > before + 5; }, 20));
  EXPECT_NE(engine.browserPid(), first);
  EXPECT_EQ(log, (std::vector<std::string>{"The web engine stopped; web sources keep their last picture until it is back.",
                                           "The web engine is back."}));
}

TEST_F(ChromiumWebEngineTest, PagesThatHangHoldUpNeitherTheShowNorOtherPages) {
  FrameCounter hung, looping, moving;
  auto never = engine.openPage(settings("never"));
  never->setFrameSink(hung.sink());
  auto loop = engine.openPage(settings("loop.html"));
  loop->setFrameSink(looping.sink());
  bool loopLoaded = false;
  loop->onLoaded = [&] { loopLoaded = true; };
  auto good = engine.openPage(settings("moving.html"));
  good->setFrameSink(moving.sink());
  ASSERT_TRUE(spinUntil([&] { return moving.frames() > 5 && loopLoaded; }, 20));
  spinFor(1.0);  // the loop has begun by now

  std::optional<std::optional<nlohmann::json>> answer;
  loop->evaluate("1 + 1", [&](std::optional<nlohmann::json> value) { answer = value; });
  int before = moving.frames();
  // The main loop keeps its pace while one page spins and another never loads.
  int ticks = 0;
  auto timer = queue.every(0.05, [&] { ++ticks; });
  spinFor(2.0);
  EXPECT_GE(ticks, 30);
  EXPECT_GE(moving.frames() - before, 20);
  ASSERT_TRUE(spinUntil([&] { return answer.has_value(); }, ChromiumWebEngine::kReplyTimeout + 3));
  EXPECT_FALSE(answer->has_value());
}

// The operator logs in through a visible window; the page on the same profile has the login after.
TEST_F(ChromiumWebEngineTest, LoginInTheBrowserWindowReachesPagesOnTheProfile) {
  testing::PrivateXServer display{1280, 800};
  auto settings = this->settings("login.html");
  settings.sharedProfile = true;
  auto page = engine.openPage(settings);
  int loads = 0;
  page->onLoaded = [&] { ++loads; };
  ASSERT_TRUE(spinUntil([&] { return loads == 1; }, 20));

  bool closed = false;
  engine.onInteractiveClosed = [&] { closed = true; };
  ASSERT_TRUE(engine.openInteractive(server.url("login.html?login")));
  EXPECT_EQ(engine.livePageCount(), 0) << "one browser on the profile at a time";
  ASSERT_TRUE(spinUntil([&] { return engine.interactiveURL() == server.url("login.html?login"); }, 30));
  spinFor(1.0);  // the page's script has run
  engine.closeInteractive();
  ASSERT_TRUE(spinUntil([&] { return closed && loads == 2; }, 30));
  EXPECT_FALSE(engine.interactiveOpen());

  std::optional<nlohmann::json> cookie;
  page->evaluate("document.cookie", [&](std::optional<nlohmann::json> value) { cookie = value; });
  ASSERT_TRUE(spinUntil([&] { return cookie.has_value(); }, 10));
  EXPECT_EQ(*cookie, "session=ada");
}

}  // namespace
}  // namespace tavorin

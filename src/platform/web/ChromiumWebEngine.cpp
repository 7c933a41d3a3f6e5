#include "platform/web/ChromiumWebEngine.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "base/HostTime.h"
#include "base/PixelBufferPool.h"
#include "platform/web/PngFrame.h"

namespace tavorin {

using nlohmann::json;

// What the decoding thread shares with a page: where frames go and how often.
struct FrameChannel {
  std::mutex lock;
  WebPage::FrameSink sink;
  double interval = 1.0 / 15;  // 0: frames are held back
  double lastAckAt = 0;
  std::optional<std::int64_t> heldFrame;  // acknowledgement owed once frames are wanted again
  std::shared_ptr<PixelBufferPool> pool;
  bool closed = false;
  // The size of the last frame, to tell when a resize has reached the pictures.
  int lastWidth = 0;
  int lastHeight = 0;
};

class ChromiumPage : public WebPage {
 public:
  enum class State { closed, opening, ready };

  ChromiumPage(ChromiumWebEngine& engine, int id, const WebPageSettings& settings)
      : engine_(engine.self_), id_(id), settings_(settings) {
    channel_->interval = settings.framesPerSecond > 0 ? 1.0 / settings.framesPerSecond : 0;
    url_ = settings.url;
  }
  ~ChromiumPage() override { close(); }

  void close() override {
    {
      std::lock_guard<std::mutex> hold(channel_->lock);
      channel_->closed = true;
      channel_->sink = nullptr;
    }
    if (auto engine = live()) engine->forget(*this);
    engine_.reset();
  }

  void load(const std::string& url) override {
    url_ = url;
    if (auto engine = live(); engine && state_ == State::ready) navigate(*engine);
  }
  void reload() override {
    if (auto engine = live(); engine && state_ == State::ready) {
      engine->call("Page.reload", json::object(), sessionId_);
      armLoadTimer(*engine);
    }
  }
  void goBack() override { stepHistory(-1); }
  void goForward() override { stepHistory(1); }

  void evaluate(const std::string& script, ScriptResult done) override {
    auto engine = live();
    if (!engine) {
      if (done) done(std::nullopt);
      return;
    }
    if (state_ != State::ready) {
      waiting_.push_back({script, std::move(done)});
      return;
    }
    run(*engine, script, std::move(done));
  }

  void resize(int width, int height) override {
    if (width == settings_.width && height == settings_.height) return;
    settings_.width = width;
    settings_.height = height;
    if (auto engine = live(); engine && state_ == State::ready) applySize(engine);
  }

  void applySize(ChromiumWebEngine* engine) {
    {
      // The screencast records the target's window, which keeps the size it
      // was made with unless it is resized too; and it keeps the size it
      // started with. It starts again once the new size holds: a start always
      // sends a first frame, which is then of the new layout, even on a page
      // that never paints again.
      auto restartCast = [engine, session = sessionId_, channel = channel_, cast = screencast()](const DevToolsMessage&) {
        engine->call("Page.stopScreencast", json::object(), session);
        {
          std::lock_guard<std::mutex> hold(channel->lock);
          channel->heldFrame.reset();
        }
        engine->call("Page.startScreencast", cast, session);
      };
      engine->call("Browser.getWindowForTarget", {{"targetId", targetId_}}, {},
                   [engine, session = sessionId_, metrics = metrics(), restartCast](const DevToolsMessage& reply) {
                     json bounds{{"width", metrics["width"]}, {"height", metrics["height"]}};
                     if (reply.body.contains("windowId")) {
                       engine->call("Browser.setWindowBounds", {{"windowId", reply.body["windowId"]}, {"bounds", bounds}});
                     }
                     engine->call("Emulation.setDeviceMetricsOverride", metrics, session, restartCast);
                   });
      checkResize(*engine, 10);
    }
  }

  // The browser may still draw the old size when the screencast starts
  // again, and a still page sends nothing more: until the frames have the new
  // size, the screencast starts again now and then.
  void checkResize(ChromiumWebEngine& engine, int triesLeft) {
    resizeCheck_ = engine.queue_.after(0.5, [this, &engine, triesLeft] {
      json cast = screencast();
      bool done;
      {
        std::lock_guard<std::mutex> hold(channel_->lock);
        done = channel_->lastWidth == cast["maxWidth"].get<int>() || channel_->lastHeight == cast["maxHeight"].get<int>();
        done = done && std::abs(double(channel_->lastWidth) / std::max(channel_->lastHeight, 1) -
                                double(settings_.width) / settings_.height) < 0.05;
        if (!done) channel_->heldFrame.reset();
      }
      if (done || triesLeft <= 0 || state_ != State::ready) return;
      engine.call("Page.stopScreencast", json::object(), sessionId_);
      engine.call("Page.startScreencast", cast, sessionId_);
      checkResize(engine, triesLeft - 1);
    });
  }

  void setFramesPerSecond(double fps) override {
    settings_.framesPerSecond = fps;
    std::optional<std::int64_t> owed;
    bool faster;
    double now = DevToolsPipe::steadySeconds();
    {
      std::lock_guard<std::mutex> hold(channel_->lock);
      double interval = fps > 0 ? 1.0 / fps : 0;
      faster = interval > 0 && (channel_->interval <= 0 || interval < channel_->interval);
      channel_->interval = interval;
      if (fps > 0) std::swap(owed, channel_->heldFrame);
      if (faster) channel_->lastAckAt = std::min(channel_->lastAckAt, now);
    }
    auto engine = live();
    if (!engine) return;
    if (owed) engine->sendAck(generation_, sessionId_, *owed, 0);
    // Acknowledgements already waiting at the slower pace go now.
    if (faster) engine->hurryAcks(generation_, sessionId_, now);
  }

  std::string currentURL() const override { return url_; }

  void setFrameSink(FrameSink sink) override {
    std::lock_guard<std::mutex> hold(channel_->lock);
    channel_->sink = std::move(sink);
  }

 private:
  friend class ChromiumWebEngine;
  struct Waiting {
    std::string script;
    ScriptResult done;
  };

  ChromiumWebEngine* live() const {
    auto engine = engine_.lock();
    return engine ? *engine : nullptr;
  }

  json metrics() const {
    return {{"width", settings_.width}, {"height", settings_.height}, {"deviceScaleFactor", 1}, {"mobile", false}};
  }

  json screencast() const {
    double scale = std::min({1.0, double(ChromiumWebEngine::kMaxFrameWidth) / settings_.width,
                             double(ChromiumWebEngine::kMaxFrameHeight) / settings_.height});
    int width = std::max(2, int(std::floor(settings_.width * scale)));
    int height = std::max(2, int(std::floor(settings_.height * scale)));
    return {{"format", "png"}, {"maxWidth", width}, {"maxHeight", height}, {"everyNthFrame", 1}};
  }

  void navigate(ChromiumWebEngine& engine) {
    if (url_.empty()) return;
    int id = id_;
    engine.call("Page.navigate", {{"url", url_}}, sessionId_, [&engine, id](const DevToolsMessage& reply) {
      auto page = engine.pages_.find(id);
      if (page == engine.pages_.end()) return;
      // A page that cannot be reached is left blank rather than showing the browser's error page.
      if (auto error = reply.body.find("errorText"); error != reply.body.end() && error->is_string()) {
        engine.call("Page.navigate", {{"url", "about:blank"}}, page->second->sessionId_);
      }
    });
    armLoadTimer(engine);
  }

  void armLoadTimer(ChromiumWebEngine& engine) {
    std::string session = sessionId_;
    ChromiumWebEngine* owner = &engine;
    std::weak_ptr<ChromiumWebEngine*> alive = engine_;
    loadTimer_ = engine.queue_.after(ChromiumWebEngine::kLoadTimeout, [owner, alive, session] {
      if (alive.lock()) owner->call("Page.stopLoading", json::object(), session);
    });
  }

  void stepHistory(int step) {
    auto engine = live();
    if (!engine || state_ != State::ready) return;
    std::string session = sessionId_;
    engine->call("Page.getNavigationHistory", json::object(), session,
                 [engine, session, step](const DevToolsMessage& reply) {
                   const auto& entries = reply.body.value("entries", json::array());
                   int index = reply.body.value("currentIndex", -1) + step;
                   if (index < 0 || index >= int(entries.size())) return;
                   engine->call("Page.navigateToHistoryEntry", {{"entryId", entries[index].value("id", 0)}}, session);
                 });
  }

  void run(ChromiumWebEngine& engine, const std::string& script, ScriptResult done) {
    json params{{"expression", script}, {"returnByValue", true}, {"awaitPromise", false}};
    if (!done) {
      engine.call("Runtime.evaluate", params, sessionId_);
      return;
    }
    engine.call("Runtime.evaluate", params, sessionId_, [done = std::move(done)](const DevToolsMessage& reply) {
      if (!reply.error.empty() || reply.body.contains("exceptionDetails")) return done(std::nullopt);
      const auto& result = reply.body.value("result", json::object());
      done(result.contains("value") ? std::optional<json>(result["value"]) : std::optional<json>(json()));
    });
  }

  std::weak_ptr<ChromiumWebEngine*> engine_;
  const int id_;
  WebPageSettings settings_;
  std::string url_;
  State state_ = State::closed;
  std::uint64_t generation_ = 0;
  std::string contextId_;
  std::string targetId_;
  std::string sessionId_;
  std::vector<Waiting> waiting_;
  TimerHandle loadTimer_;
  TimerHandle resizeCheck_;
  int createdWidth_ = 0;  // the target's window, as made
  int createdHeight_ = 0;
  const std::shared_ptr<FrameChannel> channel_ = std::make_shared<FrameChannel>();
};

namespace {

bool executable(const std::string& path) { return !path.empty() && access(path.c_str(), X_OK) == 0; }

std::vector<std::string> browserArguments(const std::string& program, const std::filesystem::path& profile) {
  std::vector<std::string> args{program,
                                "--remote-debugging-pipe",
                                "--user-data-dir=" + profile.string(),
                                "--no-first-run",
                                "--no-default-browser-check",
                                "--disable-gpu",
                                "--disable-background-networking",
                                "--disable-component-update",
                                "--disable-sync",
                                "--disable-breakpad",
                                // Pages that nobody looks at on screen must not be slowed down.
                                "--disable-background-timer-throttling",
                                "--disable-renderer-backgrounding",
                                "--disable-backgrounding-occluded-windows",
                                "--hide-scrollbars",
                                // Sound of web pages is not part of the show's mix.
                                "--mute-audio"};
  if (program.find("headless-shell") == std::string::npos) args.push_back("--headless");
  // Chromium refuses to run as root with its sandbox.
  if (geteuid() == 0) args.push_back("--no-sandbox");
  args.push_back("about:blank");
  return args;
}

}  // namespace

std::string ChromiumWebEngine::findExecutable(const std::string& preferred) {
  if (!preferred.empty()) return executable(preferred) ? preferred : std::string();
  if (const char* chosen = std::getenv("TAVORIN_CHROMIUM"); chosen && executable(chosen)) return chosen;
  for (const char* path : {"/usr/bin/chromium-headless-shell", "/usr/lib/chromium/chromium-headless-shell",
                           "/usr/bin/chromium", "/usr/bin/chromium-browser"}) {
    if (executable(path)) return path;
  }
  return {};
}

ChromiumWebEngine::ChromiumWebEngine(MainQueue& queue, Options options) : queue_(queue), options_(std::move(options)) {}

ChromiumWebEngine::~ChromiumWebEngine() {
  self_.reset();
  interactive_.reset();
  for (auto& [id, page] : pages_) {
    std::lock_guard<std::mutex> hold(page->channel_->lock);
    page->channel_->closed = true;
    page->channel_->sink = nullptr;
  }
  std::unique_ptr<DevToolsPipe> pipe;
  {
    std::lock_guard<std::mutex> hold(pipeLock_);
    pipe = std::move(pipe_);
  }
  pipe.reset();
  decoder_.drain();
}

void ChromiumWebEngine::log(const std::string& line) const {
  if (options_.log) options_.log(line);
}

std::unique_ptr<WebPage> ChromiumWebEngine::openPage(const WebPageSettings& settings) {
  int id = nextPageId_++;
  auto page = std::make_unique<ChromiumPage>(*this, id, settings);
  pages_[id] = page.get();
  bool running;
  {
    std::lock_guard<std::mutex> hold(pipeLock_);
    running = pipe_ != nullptr;
  }
  if (running) {
    openTarget(*page);
  } else if (!launchTimer_.active() && !launchFailed_ && !suspended_) {
    queue_.post([alive = std::weak_ptr<ChromiumWebEngine*>(self_)] {
      if (auto engine = alive.lock()) (*engine)->launch();
    });
  }
  return page;
}

int ChromiumWebEngine::livePageCount() const {
  return int(std::count_if(pages_.begin(), pages_.end(),
                           [](const auto& entry) { return entry.second->state_ == ChromiumPage::State::ready; }));
}

pid_t ChromiumWebEngine::browserPid() const {
  std::lock_guard<std::mutex> hold(pipeLock_);
  return pipe_ ? pipe_->pid() : 0;
}

void ChromiumWebEngine::launch() {
  {
    std::lock_guard<std::mutex> hold(pipeLock_);
    if (pipe_ || suspended_) return;
  }
  std::string program = findExecutable(options_.executable);
  if (program.empty()) {
    if (!missingLogged_) log("Web pages need Chromium: install the package chromium-headless-shell.");
    missingLogged_ = true;
    launchFailed_ = true;
    return;
  }
  std::error_code ignored;
  std::filesystem::create_directories(options_.profileDir, ignored);
  std::uint64_t generation = generation_ + 1;
  std::weak_ptr<ChromiumWebEngine*> alive = self_;
  std::string error;
  auto pipe = DevToolsPipe::launch(
      browserArguments(program, options_.profileDir),
      [this, generation](std::string text) { received(std::move(text), generation); },
      [this, alive, generation] {
        queue_.post([alive, generation] {
          if (auto engine = alive.lock()) (*engine)->exited(generation);
        });
      },
      error);
  if (!pipe) {
    if (!downLogged_) log("The web engine could not start: " + error + ".");
    downLogged_ = true;
    scheduleLaunch();
    return;
  }
  {
    std::lock_guard<std::mutex> hold(pipeLock_);
    pipe_ = std::move(pipe);
    generation_ = generation;
  }
  launchedAt_ = queue_.now();
  for (auto& [id, page] : pages_) openTarget(*page);
}

void ChromiumWebEngine::scheduleLaunch() {
  double delay = restartDelay_;
  restartDelay_ = std::min(restartDelay_ * 2, kLongestRestartDelay);
  launchTimer_ = queue_.after(delay, [alive = std::weak_ptr<ChromiumWebEngine*>(self_)] {
    if (auto engine = alive.lock()) (*engine)->launch();
  });
}

void ChromiumWebEngine::received(std::string text, std::uint64_t generation) {
  auto message = parseDevToolsMessage(std::move(text));
  if (!message) return;
  if (message->method == "Page.screencastFrame") {
    frameArrived(std::move(*message), generation);
    return;
  }
  queue_.post([alive = std::weak_ptr<ChromiumWebEngine*>(self_), message = std::move(*message), generation] {
    if (auto engine = alive.lock()) (*engine)->dispatch(message, generation);
  });
}

void ChromiumWebEngine::frameArrived(DevToolsMessage message, std::uint64_t generation) {
  std::shared_ptr<FrameChannel> channel;
  {
    std::lock_guard<std::mutex> hold(channelsLock_);
    auto found = channels_.find(message.sessionId);
    if (found == channels_.end()) return;
    channel = found->second;
  }
  std::int64_t frame = message.body.value("sessionId", std::int64_t(0));
  decoder_.post([this, channel, generation, frame, session = std::move(message.sessionId),
                 data = std::move(message.data)] {
    std::shared_ptr<PixelBufferPool> pool;
    {
      std::lock_guard<std::mutex> hold(channel->lock);
      if (channel->closed) return;
      pool = channel->pool;
    }
    PixelBufferRef picture = decodePngFrame(data, pool);
    if (picture) picture->setHostTime(hostTimeNow());
    double notBefore = 0;
    {
      std::lock_guard<std::mutex> hold(channel->lock);
      if (channel->closed) return;
      channel->pool = pool;
      if (picture) {
        channel->lastWidth = picture->width();
        channel->lastHeight = picture->height();
      }
      if (picture && channel->sink) channel->sink(picture);
      if (channel->interval <= 0) {
        channel->heldFrame = frame;
        return;
      }
      // Acknowledgements keep to a grid of the page's interval, which sets its
      // rate; one that is late goes at once, so that a slow frame is made up
      // for, and a page far behind starts the grid again from now.
      double now = DevToolsPipe::steadySeconds();
      notBefore = channel->lastAckAt + channel->interval;
      if (notBefore < now - channel->interval) notBefore = now;
      channel->lastAckAt = notBefore;
    }
    sendAck(generation, session, frame, notBefore);
  });
}

void ChromiumWebEngine::sendAck(std::uint64_t generation, const std::string& sessionId, std::int64_t frame,
                                double notBefore) {
  std::lock_guard<std::mutex> hold(pipeLock_);
  if (!pipe_ || generation != generation_) return;
  pipe_->send(encodeDevToolsCommand(nextId_++, "Page.screencastFrameAck", {{"sessionId", frame}}, sessionId),
              notBefore, sessionId);
}

void ChromiumWebEngine::hurryAcks(std::uint64_t generation, const std::string& sessionId, double notBefore) {
  std::lock_guard<std::mutex> hold(pipeLock_);
  if (pipe_ && generation == generation_) pipe_->hurry(sessionId, notBefore);
}

void ChromiumWebEngine::call(const std::string& method, const nlohmann::json& params, const std::string& sessionId,
                             Reply reply) {
  std::int64_t id = nextId_++;
  {
    std::lock_guard<std::mutex> hold(pipeLock_);
    if (!pipe_) {
      if (reply) {
        DevToolsMessage failed;
        failed.error = "the web engine is not running";
        reply(failed);
      }
      return;
    }
    pipe_->send(encodeDevToolsCommand(id, method, params, sessionId));
  }
  if (!reply) return;
  calls_[id] = Call{std::move(reply), queue_.now() + kReplyTimeout};
  if (!callTimer_.active()) {
    callTimer_ = queue_.every(1.0, [this] { expireCalls(); });
  }
}

void ChromiumWebEngine::expireCalls() {
  double now = queue_.now();
  std::vector<Reply> expired;
  for (auto it = calls_.begin(); it != calls_.end();) {
    if (it->second.deadline <= now) {
      expired.push_back(std::move(it->second.reply));
      it = calls_.erase(it);
    } else {
      ++it;
    }
  }
  if (calls_.empty()) callTimer_.cancel();
  DevToolsMessage failed;
  failed.error = "no answer in time";
  for (auto& reply : expired) reply(failed);
}

void ChromiumWebEngine::dispatch(const DevToolsMessage& message, std::uint64_t generation) {
  if (generation != generation_) return;
  if (message.id) {
    auto found = calls_.find(*message.id);
    if (found == calls_.end()) return;
    Reply reply = std::move(found->second.reply);
    calls_.erase(found);
    reply(message);
    return;
  }
  ChromiumPage* page = nullptr;
  for (auto& [id, candidate] : pages_) {
    if (!message.sessionId.empty() && candidate->sessionId_ == message.sessionId) page = candidate;
  }
  if (!page) return;
  if (message.method == "Page.loadEventFired") {
    page->loadTimer_.cancel();
    if (page->onLoaded) page->onLoaded();
  } else if (message.method == "Page.frameNavigated") {
    const auto& frame = message.body.value("frame", json::object());
    if (frame.contains("parentId") || !frame.contains("url")) return;
    std::string url = frame["url"];
    if (url == "about:blank") return;
    page->url_ = url;
  } else if (message.method == "Inspector.targetCrashed") {
    // The renderer died alone: the page comes back on a new one.
    page->navigate(*this);
  }
}

void ChromiumWebEngine::exited(std::uint64_t generation) {
  {
    std::lock_guard<std::mutex> hold(pipeLock_);
    // Already dropped on purpose, or an older browser's late word.
    if (generation != generation_ || !pipe_) return;
  }
  dropBrowser();
  if (!downLogged_) log("The web engine stopped; web sources keep their last picture until it is back.");
  downLogged_ = true;
  if (queue_.now() - launchedAt_ >= kStableRun) restartDelay_ = kFirstRestartDelay;
  scheduleLaunch();
}

void ChromiumWebEngine::dropBrowser() {
  std::unique_ptr<DevToolsPipe> pipe;
  {
    std::lock_guard<std::mutex> hold(pipeLock_);
    pipe = std::move(pipe_);
  }
  pipe.reset();
  {
    std::lock_guard<std::mutex> hold(channelsLock_);
    channels_.clear();
  }
  for (auto& [id, page] : pages_) {
    page->state_ = ChromiumPage::State::closed;
    page->loadTimer_.cancel();
  }
  auto calls = std::move(calls_);
  calls_.clear();
  callTimer_.cancel();
  DevToolsMessage failed;
  failed.error = "the web engine stopped";
  for (auto& [id, call] : calls) call.reply(failed);
}

bool ChromiumWebEngine::openInteractive(const std::string& url) {
  if (interactive_) return true;
  // The headless shell cannot show a window: the full browser is needed.
  std::string program;
  for (const char* path : {"/usr/bin/chromium", "/usr/bin/chromium-browser"}) {
    if (executable(path)) {
      program = path;
      break;
    }
  }
  if (program.empty()) {
    log("A browser window needs the chromium package.");
    return false;
  }
  suspended_ = true;
  launchTimer_.cancel();
  dropBrowser();
  std::vector<std::string> args{program,
                                "--remote-debugging-pipe",
                                "--user-data-dir=" + options_.profileDir.string(),
                                "--no-first-run",
                                "--no-default-browser-check",
                                "--disable-sync",
                                "--window-size=1280,800"};
  if (geteuid() == 0) args.push_back("--no-sandbox");
  args.push_back("--new-window");
  args.push_back(url.empty() ? "about:blank" : url);
  std::weak_ptr<ChromiumWebEngine*> alive = self_;
  std::string error;
  interactive_ = DevToolsPipe::launch(
      args,
      [this, alive](std::string text) {
        auto message = parseDevToolsMessage(std::move(text));
        if (!message || (message->method != "Target.targetInfoChanged" && message->method != "Target.targetCreated")) {
          return;
        }
        const auto& info = message->body.value("targetInfo", json::object());
        if (info.value("type", "") != "page") return;
        std::string address = info.value("url", "");
        if (address.empty() || address == "about:blank" || address.rfind("chrome", 0) == 0) return;
        queue_.post([alive, address] {
          if (auto engine = alive.lock()) (*engine)->interactiveURL_ = address;
        });
      },
      [this, alive] {
        queue_.post([alive] {
          if (auto engine = alive.lock()) (*engine)->interactiveExited();
        });
      },
      error);
  if (!interactive_) {
    log("The browser window could not open: " + error + ".");
    suspended_ = false;
    launch();
    return false;
  }
  interactiveURL_ = url;
  interactive_->send(encodeDevToolsCommand(nextId_++, "Target.setDiscoverTargets", {{"discover", true}}, {}));
  return true;
}

void ChromiumWebEngine::closeInteractive() {
  if (interactive_) interactive_->send(encodeDevToolsCommand(nextId_++, "Browser.close", json::object(), {}));
}

void ChromiumWebEngine::interactiveExited() {
  interactive_.reset();
  suspended_ = false;
  if (!pages_.empty()) launch();
  if (onInteractiveClosed) onInteractiveClosed();
}

void ChromiumWebEngine::openTarget(ChromiumPage& page) {
  page.state_ = ChromiumPage::State::opening;
  page.generation_ = generation_;
  int id = page.id_;
  auto stillWanted = [this, id]() -> ChromiumPage* {
    auto found = pages_.find(id);
    return found == pages_.end() ? nullptr : found->second;
  };
  auto failed = [this, stillWanted](const DevToolsMessage& reply) {
    if (reply.error.empty()) return false;
    // A browser that died meanwhile opens the page again when it is back.
    if (auto page = stillWanted(); page && page->state_ == ChromiumPage::State::opening) {
      page->state_ = ChromiumPage::State::closed;
      log("A web page could not be opened: " + reply.error + ".");
    }
    return true;
  };
  auto attach = [this, stillWanted, failed](const std::string& contextId) {
    auto page = stillWanted();
    if (!page) return;
    page->contextId_ = contextId;
    json target{{"url", "about:blank"}, {"width", page->settings_.width}, {"height", page->settings_.height}};
    page->createdWidth_ = page->settings_.width;
    page->createdHeight_ = page->settings_.height;
    if (!contextId.empty()) target["browserContextId"] = contextId;
    call("Target.createTarget", target, {}, [this, stillWanted, failed, contextId](const DevToolsMessage& reply) {
      if (failed(reply)) return;
      std::string targetId = reply.body.value("targetId", "");
      auto page = stillWanted();
      if (!page) {
        call("Target.closeTarget", {{"targetId", targetId}});
        if (!contextId.empty()) call("Target.disposeBrowserContext", {{"browserContextId", contextId}});
        return;
      }
      page->targetId_ = targetId;
      call("Target.attachToTarget", {{"targetId", targetId}, {"flatten", true}}, {},
           [this, stillWanted, failed, targetId, contextId](const DevToolsMessage& reply) {
             if (failed(reply)) return;
             if (auto page = stillWanted()) {
               page->sessionId_ = reply.body.value("sessionId", "");
               pageReady(*page);
               return;
             }
             call("Target.closeTarget", {{"targetId", targetId}});
             if (!contextId.empty()) call("Target.disposeBrowserContext", {{"browserContextId", contextId}});
           });
    });
  };
  if (page.settings_.sharedProfile) {
    attach({});
  } else {
    call("Target.createBrowserContext", {{"disposeOnDetach", true}}, {},
         [failed, attach](const DevToolsMessage& reply) {
           if (!failed(reply)) attach(reply.body.value("browserContextId", ""));
         });
  }
}

void ChromiumWebEngine::pageReady(ChromiumPage& page) {
  const std::string& session = page.sessionId_;
  {
    std::lock_guard<std::mutex> hold(page.channel_->lock);
    page.channel_->heldFrame.reset();
    page.channel_->lastAckAt = 0;
  }
  {
    std::lock_guard<std::mutex> hold(channelsLock_);
    channels_[session] = page.channel_;
  }
  call("Page.enable", json::object(), session);
  if (page.settings_.transparent) {
    call("Emulation.setDefaultBackgroundColorOverride", {{"color", {{"r", 0}, {"g", 0}, {"b", 0}, {"a", 0}}}},
         session);
  }
  // Events of the load (its end above all) are only sent once the page domain
  // is on in the renderer, so the load waits for these answers.
  int id = page.id_;
  call("Emulation.setDeviceMetricsOverride", page.metrics(), session, [this, id](const DevToolsMessage&) {
    auto found = pages_.find(id);
    if (found == pages_.end() || found->second->state_ != ChromiumPage::State::opening) return;
    ChromiumPage& page = *found->second;
    page.state_ = ChromiumPage::State::ready;
    page.navigate(*this);
    call("Page.startScreencast", page.screencast(), page.sessionId_);
    // Resized while it was being made: its window still has the first size.
    if (page.createdWidth_ != page.settings_.width || page.createdHeight_ != page.settings_.height) page.applySize(this);
    auto waiting = std::move(page.waiting_);
    page.waiting_.clear();
    for (auto& script : waiting) page.run(*this, script.script, std::move(script.done));
  });
  if (downLogged_) {
    downLogged_ = false;
    log("The web engine is back.");
  }
}

void ChromiumWebEngine::forget(ChromiumPage& page) {
  pages_.erase(page.id_);
  page.loadTimer_.cancel();
  {
    std::lock_guard<std::mutex> hold(channelsLock_);
    channels_.erase(page.sessionId_);
  }
  for (auto& waiting : page.waiting_) {
    if (waiting.done) waiting.done(std::nullopt);
  }
  page.waiting_.clear();
  if (page.state_ == ChromiumPage::State::ready) {
    call("Target.closeTarget", {{"targetId", page.targetId_}});
    if (!page.contextId_.empty()) call("Target.disposeBrowserContext", {{"browserContextId", page.contextId_}});
  }
  page.state_ = ChromiumPage::State::closed;
}

}  // namespace tavorin

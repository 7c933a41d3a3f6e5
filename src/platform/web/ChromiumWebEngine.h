#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "base/MainQueue.h"
#include "base/SerialQueue.h"
#include "platform/web/DevToolsMessage.h"
#include "platform/web/DevToolsPipe.h"
#include "platform/web/WebEngine.h"

namespace tavorin {

class ChromiumPage;
struct FrameChannel;

// The web engine on one headless Chromium, driven over its DevTools pipe.
// Every page is a target of its own; a page without the shared profile gets a
// browser context of its own too, which also gives it a renderer process of
// its own, so a page that loops in script holds up no other. Frames come by
// screencast, which sends only when the page paints; each frame's
// acknowledgement is held back until the page's interval has passed, which
// sets its rate. When the browser dies the pages keep their last frame, the
// browser comes back after a pause that grows while it keeps dying, and every
// page is opened and loaded again. State is the main thread's; frames are
// decoded on a thread of the engine.
class ChromiumWebEngine : public WebEngine {
 public:
  struct Options {
    std::string executable;             // empty: chromium-headless-shell, else chromium
    std::filesystem::path profileDir;   // cookies and logins of shared-profile pages
    std::function<void(std::string)> log;  // a line for the show's log, main thread
  };
  static constexpr double kLoadTimeout = 60;
  static constexpr double kReplyTimeout = 5;
  static constexpr double kFirstRestartDelay = 0.5;
  static constexpr double kLongestRestartDelay = 15;
  // A browser that ran this long before dying restarts after the first delay again.
  static constexpr double kStableRun = 30;
  static constexpr int kMaxFrameWidth = 1920;
  static constexpr int kMaxFrameHeight = 1080;

  ChromiumWebEngine(MainQueue& queue, Options options);
  ~ChromiumWebEngine() override;

  std::unique_ptr<WebPage> openPage(const WebPageSettings& settings) override;
  int livePageCount() const override;
  bool openInteractive(const std::string& url) override;
  void closeInteractive() override;
  bool interactiveOpen() const override { return interactive_ != nullptr; }
  std::string interactiveURL() const override { return interactiveURL_; }
  // The browser's process id; 0 while none runs.
  pid_t browserPid() const;
  // The program that would run, or empty when none is installed.
  static std::string findExecutable(const std::string& preferred);

 private:
  friend class ChromiumPage;
  using Reply = std::function<void(const DevToolsMessage& reply)>;
  struct Call {
    Reply reply;
    double deadline;
  };

  void launch();
  void scheduleLaunch();
  // Reader thread.
  void received(std::string text, std::uint64_t generation);
  void frameArrived(DevToolsMessage message, std::uint64_t generation);
  // Main thread.
  void dispatch(const DevToolsMessage& message, std::uint64_t generation);
  void exited(std::uint64_t generation);
  // Ends the headless browser on purpose: pages keep their last frame, nothing restarts it.
  void dropBrowser();
  void interactiveExited();
  void expireCalls();
  // Sends a command; `reply`, when given, gets the reply or an error on the main thread.
  void call(const std::string& method, const nlohmann::json& params, const std::string& sessionId = {},
            Reply reply = {});
  // Any thread.
  void sendAck(std::uint64_t generation, const std::string& sessionId, std::int64_t frame, double notBefore);
  void hurryAcks(std::uint64_t generation, const std::string& sessionId, double notBefore);
  void openTarget(ChromiumPage& page);
  void pageReady(ChromiumPage& page);
  void forget(ChromiumPage& page);
  void log(const std::string& line) const;

  MainQueue& queue_;
  Options options_;
  std::shared_ptr<ChromiumWebEngine*> self_ = std::make_shared<ChromiumWebEngine*>(this);
  // The pipe, and the generation of the browser it reaches; frames decoded
  // for an older one are not acknowledged.
  mutable std::mutex pipeLock_;
  std::unique_ptr<DevToolsPipe> pipe_;
  std::uint64_t generation_ = 0;
  std::atomic<std::int64_t> nextId_{1};
  std::map<std::int64_t, Call> calls_;
  TimerHandle callTimer_;
  std::map<int, ChromiumPage*> pages_;
  int nextPageId_ = 1;
  std::mutex channelsLock_;
  std::map<std::string, std::shared_ptr<FrameChannel>> channels_;  // by session id
  SerialQueue decoder_{"Tavorin.WebConv"};
  TimerHandle launchTimer_;
  double restartDelay_ = kFirstRestartDelay;
  double launchedAt_ = 0;
  bool missingLogged_ = false;
  bool downLogged_ = false;
  bool launchFailed_ = false;
  // The visible window's browser; the headless one waits while it runs.
  std::unique_ptr<DevToolsPipe> interactive_;
  std::string interactiveURL_;
  bool suspended_ = false;
};

}  // namespace tavorin

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/web/WebEngine.h"
#include "sources/BaseSource.h"

namespace tavorin {

// Any web page, at 1280 by 720 and 15 frames a second, on the engine's
// persistent profile so that logins stay. It never parks: a page the operator
// logged into keeps running when no scene shows it. Main thread.
class WebBrowserSource : public BaseSource {
 public:
  static constexpr int kWidth = 1280;
  static constexpr int kHeight = 720;
  static constexpr double kFPS = 15;

  WebBrowserSource(std::string id, std::string name, std::string url, WebEngine& engine);
  ~WebBrowserSource() override;

  void start(StartDone done) override;
  void stop() override;
  bool canPark() const override { return false; }
  void replayFromStart() override {}

  // The stored address; what the page shows may have moved on since.
  const std::string& urlString() const { return urlString_; }
  std::string currentURL() const;
  // Opens what the operator typed; blank text changes nothing.
  void navigate(const std::string& text);
  void goBack();
  void goForward();
  void reloadPage();
  // Keeps the address the page shows now (in the browser window while it is
  // open) as the one to reopen; false when it has none.
  bool useCurrentPage();
  // The page in a visible browser window on the same profile, to log in and
  // browse; the source keeps its last frame meanwhile. False when it cannot open.
  bool showInteractive();
  void endInteractive();
  // Main thread: the stored address changed (to be written to the show).
  std::function<void(const std::string& url)> onURLChange;

 private:
  std::string urlString_;
  WebEngine& engine_;
  std::unique_ptr<WebPage> page_;
};

}  // namespace tavorin

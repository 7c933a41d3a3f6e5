#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "base/PixelBuffer.h"

namespace tavorin {

// What a page is made with.
struct WebPageSettings {
  std::string url;          // loaded at once; empty leaves the page blank
  int width = 1280;         // layout size in CSS pixels (device scale 1)
  int height = 720;
  double framesPerSecond = 15;  // the most frames a second the page sends; 0 sends none
  bool transparent = false;     // what the page leaves unpainted is alpha 0
  // False: a fresh store of its own that nothing else sees (overlays). True:
  // the engine's persistent store of cookies and logins (browser sources).
  bool sharedProfile = false;
};

// One page of the web engine. Main thread, except where stated.
class WebPage {
 public:
  // Engine thread: a new picture, premultiplied BGRA, at most 1920 by 1080.
  using FrameSink = std::function<void(PixelBufferRef frame)>;
  // Main thread: the script's value, or none when it failed, threw or timed out.
  using ScriptResult = std::function<void(std::optional<nlohmann::json> value)>;

  virtual ~WebPage() = default;

  // Frames stop before this returns: the sink is never called after it.
  virtual void close() = 0;
  virtual void load(const std::string& url) = 0;
  virtual void reload() = 0;
  virtual void goBack() = 0;
  virtual void goForward() = 0;
  // Runs `script` in the page; `done`, when given, gets its value.
  virtual void evaluate(const std::string& script, ScriptResult done = {}) = 0;
  virtual void resize(int width, int height) = 0;
  virtual void setFramesPerSecond(double fps) = 0;
  // The address the page shows now; empty before its first navigation.
  virtual std::string currentURL() const = 0;

  // Set before frames are wanted. A static page sends nothing after its
  // first picture, so a sink's last frame stays current.
  virtual void setFrameSink(FrameSink sink) = 0;
  // Main thread: a load finished (also after the engine restarted the page).
  std::function<void()> onLoaded;
};

// Renders pages out of process. One engine serves every page of a show.
class WebEngine {
 public:
  virtual ~WebEngine() = default;
  // Never null; a page whose engine cannot run stays blank.
  virtual std::unique_ptr<WebPage> openPage(const WebPageSettings& settings) = 0;
  // How many pages have a live renderer now (tests, diagnostics).
  virtual int livePageCount() const = 0;

  // A visible browser window on the engine's shared profile, where the
  // operator logs in and browses. One profile serves one browser at a time, so
  // while the window is open the engine's pages keep their last frame; they
  // load again when it closes. False when no visible browser can be started.
  virtual bool openInteractive(const std::string& url) = 0;
  virtual void closeInteractive() = 0;
  virtual bool interactiveOpen() const = 0;
  // The address the window's page shows now; empty before it has one.
  virtual std::string interactiveURL() const = 0;
  // Main thread: the window closed (by the operator or by closeInteractive).
  std::function<void()> onInteractiveClosed;
};

}  // namespace tavorin

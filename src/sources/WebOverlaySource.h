#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "model/OverlayManifest.h"
#include "platform/web/WebEngine.h"
#include "sources/BaseSource.h"

namespace tavorin {

// An HTML overlay of the library, drawn with a transparent background. Its
// page exists only while the source runs and is not parked; waking reloads
// the document, and every load is followed by the config. Main thread.
class WebOverlaySource : public BaseSource {
 public:
  static constexpr double kLiveFPS = 15;
  static constexpr double kFiredFPS = 30;
  static constexpr double kIdleFPS = 2;

  // Reads the document's manifest once; `config` is laid over its defaults.
  WebOverlaySource(std::string id, std::string name, std::filesystem::path htmlFile, const OverlayConfig& config,
                   WebEngine& engine);
  ~WebOverlaySource() override;

  void start(StartDone done) override;
  void stop() override;
  void park() override;
  void resume() override;
  void setLive(bool live) override;
  // Runs the page's tavorinReplay, or reloads a page that has none.
  void replayFromStart() override;

  const std::filesystem::path& htmlFile() const { return htmlFile_; }
  const std::vector<OverlayParam>& schema() const { return schema_; }
  const OverlayConfig& config() const { return config_; }
  // Stores the value and hands the whole config to the page.
  void setConfigValue(const std::string& key, const std::string& value);
  void pushConfig();
  // Lays the page out at a layer's size in canvas pixels; changes of a point or less are ignored.
  void setPageSize(double width, double height);
  OverlayPageSize pageSize() const { return pageSize_; }
  // The rate while live: kLiveFPS, or kFiredFPS while fired over Program.
  void setLiveFPS(double fps);
  // The page's first load after this runs its tavorinReplay once its config
  // is in: a fired cue's animation then plays with its own values.
  void replayAfterFirstLoad() { replayAfterLoad_ = true; }
  // Runs a script in the page; `done` gets nothing while the source has no page.
  void runScript(const std::string& script, WebPage::ScriptResult done);
  double framesPerSecond() const { return active_ ? liveFPS_ : kIdleFPS; }

 private:
  void build();
  void tearDown();

  const std::filesystem::path htmlFile_;
  const std::vector<OverlayParam> schema_;
  OverlayConfig config_;
  WebEngine& engine_;
  std::unique_ptr<WebPage> page_;
  std::shared_ptr<int> pageToken_;  // lives as long as page_; script answers hold it weakly
  OverlayPageSize pageSize_;
  bool active_ = true;
  bool replayAfterLoad_ = false;
  double liveFPS_ = kLiveFPS;
};

}  // namespace tavorin

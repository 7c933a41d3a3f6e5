#include "sources/WebOverlaySource.h"

#include <cctype>

#include "base/AtomicFile.h"

namespace tavorin {

namespace {

std::vector<OverlayParam> readSchema(const std::filesystem::path& file) {
  auto html = readWholeFile(file);
  return html ? parseOverlayParams(*html) : std::vector<OverlayParam>{};
}

std::string fileURL(const std::filesystem::path& file) {
  // Percent-encode what a file URL cannot hold as it stands.
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string url = "file://";
  for (unsigned char c : std::filesystem::absolute(file).string()) {
    if (std::isalnum(c) || std::string_view("/-._~").find(char(c)) != std::string_view::npos) {
      url.push_back(char(c));
    } else {
      url += '%';
      url += kHex[c >> 4];
      url += kHex[c & 15];
    }
  }
  return url;
}

}  // namespace

WebOverlaySource::WebOverlaySource(std::string id, std::string name, std::filesystem::path htmlFile,
                                   const OverlayConfig& config, WebEngine& engine)
    : BaseSource(std::move(id), std::move(name), SourceKind::overlay),
      htmlFile_(std::move(htmlFile)),
      schema_(readSchema(htmlFile_)),
      config_(effectiveOverlayConfig(schema_, config)),
      engine_(engine) {}

WebOverlaySource::~WebOverlaySource() { tearDown(); }

void WebOverlaySource::start(StartDone done) {
  if (!page_) build();
  setRunning(true);
  if (done) done(std::nullopt);
}

void WebOverlaySource::stop() {
  tearDown();
  setRunning(false);
}

void WebOverlaySource::park() { tearDown(); }

void WebOverlaySource::resume() {
  if (isRunning() && !page_) build();
}

void WebOverlaySource::setLive(bool live) {
  if (live == active_) return;
  active_ = live;
  if (page_) page_->setFramesPerSecond(framesPerSecond());
}

void WebOverlaySource::setLiveFPS(double fps) {
  if (fps == liveFPS_) return;
  liveFPS_ = fps;
  if (page_) page_->setFramesPerSecond(framesPerSecond());
}

void WebOverlaySource::replayFromStart() {
  if (!page_) return;
  std::weak_ptr<int> samePage = pageToken_;
  page_->evaluate(std::string(kOverlayReplayScript), [this, samePage](std::optional<nlohmann::json> value) {
    if (samePage.expired()) return;
    if (!value || *value != true) page_->reload();
  });
}

void WebOverlaySource::runScript(const std::string& script, WebPage::ScriptResult done) {
  if (!page_) {
    if (done) done(std::nullopt);
    return;
  }
  page_->evaluate(script, std::move(done));
}

void WebOverlaySource::setConfigValue(const std::string& key, const std::string& value) {
  config_[key] = value;
  pushConfig();
}

void WebOverlaySource::pushConfig() {
  if (!page_) return;
  if (auto script = overlayConfigScript(schema_, config_)) page_->evaluate(*script);
}

void WebOverlaySource::setPageSize(double width, double height) {
  auto size = overlayPageSizeFor(width, height, pageSize_);
  if (!size) return;
  pageSize_ = *size;
  if (page_) page_->resize(size->width, size->height);
}

void WebOverlaySource::build() {
  WebPageSettings settings;
  settings.url = fileURL(htmlFile_);
  settings.width = pageSize_.width;
  settings.height = pageSize_.height;
  settings.framesPerSecond = framesPerSecond();
  settings.transparent = true;
  settings.sharedProfile = false;
  page_ = engine_.openPage(settings);
  pageToken_ = std::make_shared<int>(0);
  page_->setFrameSink([this](PixelBufferRef frame) { publish(std::move(frame)); });
  page_->onLoaded = [this] {
    pushConfig();
    if (replayAfterLoad_) {
      replayAfterLoad_ = false;
      // Just loaded: a page without the entry point needs no reload.
      page_->evaluate(std::string(kOverlayReplayScript));
    }
  };
}

void WebOverlaySource::tearDown() {
  // Answers still on their way find no page; closing stops the frames before
  // the page goes, and the last frame stays published.
  pageToken_.reset();
  if (page_) page_->close();
  page_.reset();
}

}  // namespace tavorin

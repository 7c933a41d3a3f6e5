#include "sources/WebBrowserSource.h"

#include "model/OverlayManifest.h"

namespace tavorin {

WebBrowserSource::WebBrowserSource(std::string id, std::string name, std::string url, WebEngine& engine)
    : BaseSource(std::move(id), std::move(name), SourceKind::browser), urlString_(std::move(url)), engine_(engine) {}

WebBrowserSource::~WebBrowserSource() {
  if (page_) page_->close();
}

void WebBrowserSource::start(StartDone done) {
  if (!page_) {
    WebPageSettings settings;
    settings.url = normalizeWebAddress(urlString_).value_or(std::string());
    settings.width = kWidth;
    settings.height = kHeight;
    settings.framesPerSecond = kFPS;
    settings.sharedProfile = true;
    page_ = engine_.openPage(settings);
    page_->setFrameSink([this](PixelBufferRef frame) { publish(std::move(frame)); });
  }
  setRunning(true);
  if (done) done(std::nullopt);
}

void WebBrowserSource::stop() {
  if (page_) page_->close();
  page_.reset();
  setRunning(false);
}

std::string WebBrowserSource::currentURL() const { return page_ ? page_->currentURL() : urlString_; }

void WebBrowserSource::navigate(const std::string& text) {
  auto url = normalizeWebAddress(text);
  if (!url) return;
  urlString_ = *url;
  if (page_) page_->load(urlString_);
  if (onURLChange) onURLChange(urlString_);
}

void WebBrowserSource::goBack() {
  if (page_) page_->goBack();
}

void WebBrowserSource::goForward() {
  if (page_) page_->goForward();
}

void WebBrowserSource::reloadPage() {
  if (page_) page_->reload();
}

bool WebBrowserSource::useCurrentPage() {
  std::string url = engine_.interactiveOpen() ? engine_.interactiveURL() : currentURL();
  if (url.empty() || url == "about:blank") return false;
  urlString_ = url;
  // A page waiting for the window to close opens here when it does.
  if (page_) page_->load(urlString_);
  if (onURLChange) onURLChange(urlString_);
  return true;
}

bool WebBrowserSource::showInteractive() { return engine_.openInteractive(currentURL()); }

void WebBrowserSource::endInteractive() { engine_.closeInteractive(); }

}  // namespace tavorin

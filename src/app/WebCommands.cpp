// The operator's commands on web pages: overlays of the library, browser
// pages, an overlay's params and replay, and page sizes that follow the layers.
#include <algorithm>
#include <map>

#include "app/AppModel.h"
#include "platform/web/ChromiumWebEngine.h"
#include "sources/WebBrowserSource.h"
#include "sources/WebOverlaySource.h"

namespace tavorin {

void AppModel::startWebSources() {
  // Two browsers: a profile serves one browser at a time, and while the
  // operator logs in through a visible window the browser pages' one must
  // stop; the overlays, which need no profile, go on in theirs.
  auto log = [this](std::string line) { appendLog(std::move(line)); };
  webEngine = std::make_unique<ChromiumWebEngine>(
      queue_, ChromiumWebEngine::Options{.executable = {}, .profileDir = showFolder_.root() / "Web cache", .log = log});
  // Logins of browser pages stay with the show.
  browserEngine = std::make_unique<ChromiumWebEngine>(
      queue_, ChromiumWebEngine::Options{.executable = {}, .profileDir = showFolder_.root() / "Web profile", .log = log});
  sourceFactory.registerKind(SavedSource::Kind::overlay,
                             [this](const SavedSource& saved) { return makeOverlaySource(saved); });
  sourceFactory.registerKind(SavedSource::Kind::browser,
                             [this](const SavedSource& saved) { return makeBrowserSource(saved); });
  auto fitLater = [this](const auto&) { fitOverlaysLater_.trigger(); };
  for (SwitcherEngine* s : {&switcher, &verticalSwitcher}) {
    subscriptions_.push_back(s->programScene.subscribe(fitLater));
    subscriptions_.push_back(s->previewScene.subscribe(fitLater));
  }
}

std::shared_ptr<BaseSource> AppModel::makeOverlaySource(const SavedSource& saved) {
  std::error_code ignored;
  // A document deleted from the library is not rebuilt.
  if (!webEngine || !saved.filePath || !std::filesystem::exists(*saved.filePath, ignored)) return nullptr;
  return std::make_shared<WebOverlaySource>(saved.id, saved.name, *saved.filePath, saved.overlayConfig.value_or(OverlayConfig{}),
                                            *webEngine);
}

namespace {

// Where a browser page without an address starts: a web search's home page.
constexpr const char* kStartPage = "https://duckduckgo.com/";

}  // namespace

std::shared_ptr<BaseSource> AppModel::makeBrowserSource(const SavedSource& saved) {
  if (!browserEngine) return nullptr;
  auto browser =
      std::make_shared<WebBrowserSource>(saved.id, saved.name, saved.browserURL.value_or(kStartPage), *browserEngine);
  if (!saved.name.empty()) {
    auto names = mediaNames.get();
    names[saved.id] = saved.name;
    mediaNames.set(std::move(names));
  }
  browser->onURLChange = [this, id = saved.id](const std::string& url) {
    for (auto entry : sourcesStore.saved.get()) {
      if (entry.id != id) continue;
      entry.browserURL = url;
      sourcesStore.upsert(entry);
    }
  };
  return browser;
}

std::optional<std::string> AppModel::addOverlayToShow(const OverlayItem& item) {
  const std::string id = "overlay:" + item.id.toString();
  if (sourceLifecycle.find(id)) return id;
  SavedSource saved;
  saved.kind = SavedSource::Kind::overlay;
  saved.id = id;
  saved.name = item.name;
  saved.filePath = overlayStore.fileURL(item).string();
  auto source = std::dynamic_pointer_cast<WebOverlaySource>(makeOverlaySource(saved));
  if (!source) {
    appendLog("Overlay “" + item.name + "” could not be added: its document is missing.");
    return std::nullopt;
  }
  // Stored with the manifest's defaults, so the show keeps what the page first showed.
  saved.overlayConfig = source->config();
  sourcesStore.upsert(saved);
  addSource(source);
  appendLog("Added overlay “" + item.name + "” to the show.");
  return id;
}

std::optional<std::string> AppModel::addBrowserSource(const std::string& address) {
  auto url = normalizeWebAddress(address);
  if (!url) url = kStartPage;
  SavedSource saved;
  saved.kind = SavedSource::Kind::browser;
  saved.id = "browser:" + Uuid::make().toString();
  saved.name = "Browser";
  saved.browserURL = *url;
  auto source = makeBrowserSource(saved);
  if (!source) return std::nullopt;
  sourcesStore.upsert(saved);
  addSource(std::move(source));
  return saved.id;
}

std::optional<std::string> AppModel::addOverlayStarter(OverlayStarter starter) {
  const auto& info = overlayStarterInfo(starter);
  auto item = overlayStore.add(std::string(info.libraryName), overlayStarterDocument(starter));
  if (!item) {
    appendLog("Overlay “" + std::string(info.libraryName) + "” could not be written to the library.");
    return std::nullopt;
  }
  auto id = addOverlayToShow(*item);
  if (!id) return std::nullopt;
  bool vertical = editCanvas.get() == EditCanvas::vertical;
  PreviewEditor& target = vertical ? verticalEditor : editor;
  const SwitcherEngine& scenes = vertical ? verticalSwitcher : switcher;
  Uuid layerID = target.addLayer(*id);
  for (auto layer : scenes.previewScene->layers) {
    if (layer.id != layerID) continue;
    layer.center = info.center;
    layer.size = info.size;
    target.updateLayer(layer);
  }
  return id;
}

void AppModel::setOverlayParam(const std::string& sourceID, const std::string& key, const std::string& value) {
  auto* overlay = dynamic_cast<WebOverlaySource*>(sourceLifecycle.find(sourceID).get());
  if (!overlay) return;
  overlay->setConfigValue(key, value);
  sourcesStore.setOverlayConfig(sourceID, overlay->config());
}

void AppModel::replayOverlay(const std::string& sourceID) {
  if (auto source = sourceLifecycle.find(sourceID); source && source->kind() == SourceKind::overlay) {
    source->replayFromStart();
  }
}

void AppModel::fitOverlays() {
  std::map<std::string, Size> largest;
  auto measure = [&](const MixerScene& scene, Size canvas) {
    for (const auto& layer : scene.layers) {
      Size size{layer.size.width * canvas.width, layer.size.height * canvas.height};
      auto [at, added] = largest.try_emplace(layer.sourceID, size);
      if (!added && size.width * size.height > at->second.width * at->second.height) at->second = size;
    }
  };
  if (auto canvas = pixelSize(canvasSize.get()); canvas.width > 0) {
    measure(switcher.previewScene.get(), canvas);
    measure(switcher.programScene.get(), canvas);
  }
  measure(verticalSwitcher.previewScene.get(), kVerticalCanvasPixels);
  measure(verticalSwitcher.programScene.get(), kVerticalCanvasPixels);
  for (const auto& source : sources.get()) {
    auto* overlay = dynamic_cast<WebOverlaySource*>(source.get());
    if (!overlay) continue;
    if (auto found = largest.find(overlay->id()); found != largest.end()) {
      overlay->setPageSize(found->second.width, found->second.height);
    }
  }
}

}  // namespace tavorin

#include "app/CaptureDevices.h"

#include <functional>
#include <variant>

#include "base/Uuid.h"

#include "sources/CameraSource.h"
#include "sources/ScreenCaptureSource.h"
#include "stores/PreferenceKeys.h"

namespace tavorin {

namespace {

const CameraDevice* findCamera(const std::vector<CameraDevice>& cameras, const std::string& uniqueID) {
  for (const CameraDevice& device : cameras) {
    if (device.uniqueID == uniqueID) return &device;
  }
  return nullptr;
}

// The portal's one entry, on a desktop where the screens are chosen in its dialog.
const DisplayTarget* findScreenShare(const ScreenTargets& targets) {
  for (const DisplayTarget& display : targets.displays) {
    if (display.screenShare) return &display;
  }
  return nullptr;
}

const DisplayTarget* findDisplay(const ScreenTargets& targets, std::optional<std::uint32_t> id) {
  for (const DisplayTarget& display : targets.displays) {
    if (id && display.id == *id) return &display;
  }
  return nullptr;
}

// An application is captured on its stored display while that is there, else on the first.
std::optional<ScreenTarget> applicationOn(const ScreenTargets& targets, const std::string& appID,
                                              std::optional<std::uint32_t> displayID) {
  if (targets.displays.empty()) return std::nullopt;
  for (const ApplicationTarget& app : targets.applications) {
    if (app.appID != appID) continue;
    ScreenTarget target;
    target.kind = ScreenTarget::Kind::application;
    target.application = app;
    const DisplayTarget* display = findDisplay(targets, displayID);
    target.display = display ? *display : targets.displays.front();
    return target;
  }
  return std::nullopt;
}

}  // namespace

CaptureDevices::CaptureDevices(Wiring wiring, CameraDirectory* cameras, ScreenCaptureBackend* screens)
    : wiring_(std::move(wiring)), directory_(cameras), screens_(screens) {
  if (const auto stored = wiring_.preferences.getJSON(prefkey::captureQualities); stored && stored->is_object()) {
    for (const auto& [id, name] : stored->items()) {
      if (!name.is_string()) continue;
      if (auto quality = enumFromName<CaptureQuality>(name.get<std::string>())) qualities_[id] = *quality;
    }
  }
  if (directory_) {
    std::weak_ptr<CaptureDevices*> weak = self_;
    directory_->onChanged = [weak] {
      if (auto self = weak.lock()) (*self)->camerasChanged();
    };
  }
}

CaptureDevices::~CaptureDevices() {
  stopPreview();
  if (directory_) directory_->onChanged = nullptr;
}

void CaptureDevices::registerKinds(SourceFactory& factory) {
  factory.registerKind(SavedSource::Kind::camera, [this](const SavedSource& saved) { return makeCamera(saved); });
  for (auto kind : {SavedSource::Kind::display, SavedSource::Kind::window, SavedSource::Kind::application}) {
    factory.registerKind(kind, [this](const SavedSource& saved) { return makeScreen(saved); });
  }
}

void CaptureDevices::refresh() {
  if (directory_) cameras = directory_->cameras();
  if (!screens_) {
    wiring_.restoreSources();
    return;
  }
  enumerateScreens();
}

void CaptureDevices::enumerateScreens() {
  std::weak_ptr<CaptureDevices*> weak = self_;
  work_.post([this, weak] {
    auto listing = screens_->enumerate();
    wiring_.queue.post([weak, listing = std::move(listing)] {
      auto self = weak.lock();
      if (!self) return;
      CaptureDevices& devices = **self;
      if (const auto* targets = std::get_if<ScreenTargets>(&listing)) {
        devices.screenCaptureProblem = std::nullopt;
        devices.screenTargets = *targets;
        devices.wiring_.log("Screen targets: " + std::to_string(targets->displays.size()) + " displays, " +
                            std::to_string(targets->windows.size()) + " windows, " +
                            std::to_string(targets->applications.size()) + " apps.");
      } else {
        const std::string& why = std::get<std::string>(listing);
        // Said once, not at every device change.
        if (devices.screenCaptureProblem.get() != why) devices.wiring_.log("Screen capture enumeration failed: " + why);
        devices.screenCaptureProblem = why;
      }
      devices.wiring_.restoreSources();
    });
  });
}

void CaptureDevices::camerasChanged() {
  cameras = directory_->cameras();
  for (const auto& source : wiring_.lifecycle.sources.get()) {
    auto* camera = dynamic_cast<CameraSource*>(source.get());
    if (!camera || camera->isRunning() || camera->isStarting()) continue;
    const CameraDevice* device = findCamera(cameras.get(), camera->device().uniqueID);
    if (!device) continue;
    camera->setDevice(*device);
    wiring_.lifecycle.startSource(source, false);
  }
  wiring_.restoreSources();
}

std::shared_ptr<BaseSource> CaptureDevices::makeCamera(const SavedSource& saved) {
  if (!directory_ || !saved.cameraUniqueID) return nullptr;
  const CameraDevice* device = findCamera(cameras.get(), *saved.cameraUniqueID);
  if (!device) return nullptr;
  MainQueue& queue = wiring_.queue;
  std::weak_ptr<CaptureDevices*> weak = self_;
  // The capture logs from its own thread; the show's log is the main thread's.
  auto logFromCapture = [&queue, weak](const std::string& line) {
    queue.post([weak, line] {
      if (auto self = weak.lock()) (*self)->wiring_.log(line);
    });
  };
  auto source = std::make_shared<CameraSource>(
      *device, [directory = directory_, logFromCapture](const CameraDevice& d) { return directory->open(d, logFromCapture); },
      queue, wiring_.log, captureQuality(CameraSource::idFor(*device)));
  if (!saved.name.empty()) source->setDisplayName(saved.name);
  return source;
}

std::shared_ptr<BaseSource> CaptureDevices::screenSource(const ScreenTarget& target, const std::string& id) {
  auto source = std::make_shared<ScreenCaptureSource>(target, *screens_, wiring_.queue, wiring_.log,
                                                      captureQuality(id), id);
  if (target.display.screenShare) {
    std::weak_ptr<CaptureDevices*> weak = self_;
    source->onScreenShareToken = [weak, id](const std::string& token) {
      auto self = weak.lock();
      if (!self) return;
      for (SavedSource saved : (*self)->wiring_.store.saved.get()) {
        if (saved.id != id) continue;
        saved.screenShareToken = token;
        (*self)->wiring_.store.upsert(saved);
      }
    };
  }
  if (target.kind == ScreenTarget::Kind::display && !excluded_.empty()) source->updateExclusions(excluded_);
  return source;
}

std::shared_ptr<BaseSource> CaptureDevices::makeScreen(const SavedSource& saved) {
  if (!screens_) return nullptr;
  const ScreenTargets& targets = screenTargets.get();
  std::optional<ScreenTarget> target;
  switch (saved.kind) {
    case SavedSource::Kind::display:
      if (const DisplayTarget* share = findScreenShare(targets); share && saved.displayID) {
        // Each share is its own source; its token brings back what the operator chose.
        target = ScreenTarget{};
        target->display = *share;
        target->display.id = *saved.displayID;
        target->screenShareToken = saved.screenShareToken.value_or("");
      } else if (const DisplayTarget* display = findDisplay(targets, saved.displayID)) {
        target = ScreenTarget{};
        target->display = *display;
      }
      break;
    case SavedSource::Kind::window:
      for (const WindowTarget& window : targets.windows) {
        if (target || window.title != saved.windowTitle || window.appID != saved.windowOwnerBundleID) continue;
        target = ScreenTarget{};
        target->kind = ScreenTarget::Kind::window;
        target->window = window;
      }
      break;
    case SavedSource::Kind::application:
      if (saved.appBundleID) target = applicationOn(targets, *saved.appBundleID, saved.displayID);
      break;
    default: break;
  }
  if (!target) return nullptr;
  auto source = screenSource(*target, saved.id);
  if (!saved.name.empty()) source->setDisplayName(saved.name);
  return source;
}

std::optional<std::string> CaptureDevices::addCamera(const std::string& uniqueID) {
  const CameraDevice* device = findCamera(cameras.get(), uniqueID);
  if (!device) return std::nullopt;
  SavedSource saved;
  saved.id = CameraSource::idFor(*device);
  saved.kind = SavedSource::Kind::camera;
  saved.name = device->name;
  saved.cameraUniqueID = uniqueID;
  if (wiring_.lifecycle.find(saved.id)) return saved.id;
  auto source = makeCamera(saved);
  if (!source) return std::nullopt;
  wiring_.store.upsert(saved);
  wiring_.lifecycle.addSource(std::move(source));
  return saved.id;
}

std::optional<std::string> CaptureDevices::addScreen(const ScreenTarget& target, SavedSource saved) {
  if (!screens_) return std::nullopt;
  saved.id = ScreenCaptureSource::idFor(target);
  saved.name = ScreenCaptureSource::nameFor(target);
  if (wiring_.lifecycle.find(saved.id)) return saved.id;
  wiring_.store.upsert(saved);
  wiring_.lifecycle.addSource(screenSource(target, saved.id));
  return saved.id;
}

std::optional<ScreenTarget> CaptureDevices::displayTarget(std::uint32_t displayID) const {
  const DisplayTarget* display = findDisplay(screenTargets.get(), displayID);
  if (!display) return std::nullopt;
  ScreenTarget target;
  target.display = *display;
  // A share of its own: another share is another source.
  if (display->screenShare) target.display.id = static_cast<std::uint32_t>(std::hash<std::string>{}(Uuid::make().toString()));
  return target;
}

std::optional<ScreenTarget> CaptureDevices::windowTarget(std::uint32_t windowID) const {
  for (const WindowTarget& window : screenTargets->windows) {
    if (window.id != windowID) continue;
    ScreenTarget target;
    target.kind = ScreenTarget::Kind::window;
    target.window = window;
    return target;
  }
  return std::nullopt;
}

std::optional<ScreenTarget> CaptureDevices::applicationTarget(const std::string& appID) const {
  return applicationOn(screenTargets.get(), appID, std::nullopt);
}

std::optional<std::string> CaptureDevices::addDisplay(std::uint32_t displayID) {
  const auto target = displayTarget(displayID);
  if (!target) return std::nullopt;
  SavedSource saved;
  saved.kind = SavedSource::Kind::display;
  saved.displayID = target->display.id;
  return addScreen(*target, saved);
}

std::optional<std::string> CaptureDevices::addWindow(std::uint32_t windowID) {
  const auto target = windowTarget(windowID);
  if (!target) return std::nullopt;
  SavedSource saved;
  saved.kind = SavedSource::Kind::window;
  saved.windowTitle = target->window.title;
  saved.windowOwnerBundleID = target->window.appID;
  return addScreen(*target, saved);
}

std::optional<std::string> CaptureDevices::addApplication(const std::string& appID) {
  const auto target = applicationTarget(appID);
  if (!target) return std::nullopt;
  SavedSource saved;
  saved.kind = SavedSource::Kind::application;
  saved.appBundleID = appID;
  saved.displayID = target->display.id;
  return addScreen(*target, saved);
}

std::optional<std::string> CaptureDevices::previewCamera(const std::string& uniqueID) {
  const CameraDevice* device = findCamera(cameras.get(), uniqueID);
  if (!device) return std::nullopt;
  // A camera opens once: one already in the show is shown as it is.
  if (wiring_.lifecycle.find(CameraSource::idFor(*device))) {
    stopPreview();
    return CameraSource::idFor(*device);
  }
  SavedSource saved;
  saved.kind = SavedSource::Kind::camera;
  saved.cameraUniqueID = uniqueID;
  return showPreview(makeCamera(saved));
}

std::optional<std::string> CaptureDevices::previewScreen(const ScreenTarget& target) {
  // A share is chosen in the desktop's dialog, which adding opens: asking twice would be one dialog too many.
  if (!screens_ || target.display.screenShare) return std::nullopt;
  if (wiring_.lifecycle.find(ScreenCaptureSource::idFor(target))) {
    stopPreview();
    return ScreenCaptureSource::idFor(target);
  }
  return showPreview(screenSource(target, std::string(kPreviewID)));
}

std::optional<std::string> CaptureDevices::showPreview(std::shared_ptr<BaseSource> source) {
  stopPreview();
  if (!source) return std::nullopt;
  preview_ = std::move(source);
  wiring_.frameSlots.set(std::string(kPreviewID), preview_->frameSlot());
  std::weak_ptr<CaptureDevices*> weak = self_;
  preview_->start([weak, preview = std::weak_ptr<BaseSource>(preview_)](std::optional<std::string> error) {
    auto self = weak.lock();
    if (!self || !error || (*self)->preview_ != preview.lock()) return;
    (*self)->wiring_.log("Preview failed: " + *error);
  });
  return std::string(kPreviewID);
}

void CaptureDevices::stopPreview() {
  if (!preview_) return;
  preview_->stop();
  wiring_.frameSlots.remove(std::string(kPreviewID));
  preview_.reset();
}

void CaptureDevices::setCaptureQuality(const std::string& sourceID, CaptureQuality quality) {
  qualities_[sourceID] = quality;
  Json stored = Json::object();
  for (const auto& [id, q] : qualities_) stored[id] = std::string(enumName(q));
  wiring_.preferences.setJSON(prefkey::captureQualities, std::move(stored));
  const auto source = wiring_.lifecycle.find(sourceID);
  if (auto* camera = dynamic_cast<CameraSource*>(source.get())) camera->setQuality(quality);
  if (auto* screen = dynamic_cast<ScreenCaptureSource*>(source.get())) screen->setQuality(quality);
}

CaptureQuality CaptureDevices::captureQuality(const std::string& sourceID) const {
  const auto it = qualities_.find(sourceID);
  return it == qualities_.end() ? CaptureQuality::hd1080 : it->second;
}

void CaptureDevices::setExcludedWindows(std::set<std::uint32_t> windowIDs) {
  excluded_ = std::move(windowIDs);
  for (const auto& source : wiring_.lifecycle.sources.get()) {
    if (auto* screen = dynamic_cast<ScreenCaptureSource*>(source.get())) screen->updateExclusions(excluded_);
  }
}

std::vector<std::string> CaptureDevices::permissionWarnings() const {
  // Stored rather than running: a screen source that cannot capture is never built.
  bool screens = false, deniedCamera = false;
  for (const SavedSource& saved : wiring_.store.saved.get()) {
    screens = screens || saved.kind == SavedSource::Kind::display || saved.kind == SavedSource::Kind::window ||
              saved.kind == SavedSource::Kind::application;
  }
  for (const auto& source : wiring_.lifecycle.sources.get()) {
    const auto* camera = dynamic_cast<const CameraSource*>(source.get());
    deniedCamera = deniedCamera || (camera && camera->lastError() == kCameraDenied);
  }
  std::vector<std::string> lines;
  if (screens && screenCaptureProblem.get()) lines.push_back(*screenCaptureProblem.get());
  if (deniedCamera) lines.emplace_back(kCameraDenied);
  return lines;
}

}  // namespace tavorin

#include "ui/CaptureBridge.h"

#include "app/AppModel.h"
#include "ui/QtText.h"

namespace tavorin {

namespace {

QVariantMap entry(const QString& key, const std::string& name, const QString& detail) {
  return {{"key", key}, {"name", qText(name)}, {"detail", detail}};
}

QString sizeText(int width, int height) { return QString("%1 × %2").arg(width).arg(height); }

CaptureQuality qualityAt(int index) {
  const auto& table = EnumNames<CaptureQuality>::table;
  if (index < 0 || index >= static_cast<int>(std::size(table))) return CaptureQuality::hd1080;
  return table[static_cast<std::size_t>(index)].first;
}

bool isCapture(SourceKind kind) {
  return kind == SourceKind::camera || kind == SourceKind::display || kind == SourceKind::window ||
         kind == SourceKind::application;
}

}  // namespace

CaptureBridge::CaptureBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  auto changedNow = [this](const auto&) { Q_EMIT changed(); };
  subscriptions_.push_back(model.capture.cameras.subscribe(changedNow));
  subscriptions_.push_back(model.capture.screenTargets.subscribe(changedNow));
  subscriptions_.push_back(model.capture.screenCaptureProblem.subscribe(changedNow));
  subscriptions_.push_back(model.sources.subscribe(changedNow));
}

CaptureBridge::~CaptureBridge() { model_.capture.stopPreview(); }

QVariantList CaptureBridge::cameras() const {
  QVariantList list;
  for (const CameraDevice& camera : model_.capture.cameras.get()) {
    list << entry(qText(camera.uniqueID), camera.name,
                  camera.route == CameraDevice::Route::pipewire ? "PipeWire" : qText(camera.path));
  }
  return list;
}

QVariantList CaptureBridge::displays() const {
  QVariantList list;
  for (const DisplayTarget& d : model_.capture.screenTargets->displays) {
    list << entry(QString::number(d.id), "Display " + d.outputName, sizeText(d.width, d.height));
  }
  return list;
}

QVariantList CaptureBridge::windows() const {
  QVariantList list;
  for (const WindowTarget& w : model_.capture.screenTargets->windows) {
    list << entry(QString::number(w.id), w.title, qText(w.appName) + " · " + sizeText(w.width, w.height));
  }
  return list;
}

QVariantList CaptureBridge::applications() const {
  QVariantList list;
  for (const ApplicationTarget& a : model_.capture.screenTargets->applications) {
    list << entry(qText(a.appID), a.name, qText(a.appID));
  }
  return list;
}

QString CaptureBridge::screenProblem() const {
  const auto& problem = model_.capture.screenCaptureProblem.get();
  return problem ? qText(*problem) : QString();
}

bool CaptureBridge::screenShareOnly() const {
  const auto& displays = model_.capture.screenTargets->displays;
  return !displays.empty() && displays.front().screenShare;
}

QStringList CaptureBridge::warnings() const {
  QStringList lines;
  for (const std::string& line : model_.capture.permissionWarnings()) lines << qText(line);
  return lines;
}

QStringList CaptureBridge::qualities() const {
  QStringList names;
  for (const auto& [quality, key] : EnumNames<CaptureQuality>::table) {
    const CaptureLimits limits = captureLimits(quality);
    const QString size = sizeText(limits.width, limits.height);
    names << (quality == CaptureQuality::automatic ? "Automatic (up to " + size + ")" : "Up to " + size);
  }
  return names;
}

QString CaptureBridge::preview(const QString& kind, const QString& key) {
  CaptureDevices& capture = model_.capture;
  std::optional<std::string> id;
  std::optional<ScreenTarget> target;
  if (kind == "camera") id = capture.previewCamera(key.toStdString());
  if (kind == "display") target = capture.displayTarget(key.toUInt());
  if (kind == "window") target = capture.windowTarget(key.toUInt());
  if (kind == "application") target = capture.applicationTarget(key.toStdString());
  if (target) id = capture.previewScreen(*target);
  return id ? "source:" + qText(*id) : QString();
}

void CaptureBridge::stopPreview() { model_.capture.stopPreview(); }

QString CaptureBridge::add(const QString& kind, const QString& key, int quality) {
  CaptureDevices& capture = model_.capture;
  capture.stopPreview();
  std::optional<std::string> id;
  if (kind == "camera") id = capture.addCamera(key.toStdString());
  if (kind == "display") id = capture.addDisplay(key.toUInt());
  if (kind == "window") id = capture.addWindow(key.toUInt());
  if (kind == "application") id = capture.addApplication(key.toStdString());
  if (!id) return {};
  capture.setCaptureQuality(*id, qualityAt(quality));
  return qText(*id);
}

void CaptureBridge::refresh() { model_.capture.refresh(); }

int CaptureBridge::quality(const QString& sourceID) const {
  const auto source = model_.sourceLifecycle.find(sourceID.toStdString());
  if (!source || !isCapture(source->kind())) return -1;
  const CaptureQuality quality = model_.capture.captureQuality(source->id());
  const auto& table = EnumNames<CaptureQuality>::table;
  for (std::size_t i = 0; i < std::size(table); ++i) {
    if (table[i].first == quality) return static_cast<int>(i);
  }
  return -1;
}

void CaptureBridge::setQuality(const QString& sourceID, int quality) {
  model_.capture.setCaptureQuality(sourceID.toStdString(), qualityAt(quality));
}

}  // namespace tavorin

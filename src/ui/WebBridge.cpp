#include "ui/WebBridge.h"

#include <QUrl>
#include <QVariantMap>

#include "app/AppModel.h"
#include "sources/WebBrowserSource.h"
#include "sources/WebOverlaySource.h"
#include "ui/QtText.h"

namespace tavorin {

WebBridge::WebBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  subscriptions_.push_back(model.overlayStore.overlays.subscribe([this](const auto&) { Q_EMIT overlaysChanged(); }));
  interactivePoll_.setInterval(500);
  connect(&interactivePoll_, &QTimer::timeout, this, [this] {
    if (interactive() == wasInteractive_) return;
    wasInteractive_ = interactive();
    if (!wasInteractive_) interactivePoll_.stop();
    Q_EMIT interactiveChanged();
    Q_EMIT paramsChanged();
  });
}

QVariantList WebBridge::overlays() const {
  QVariantList list;
  for (const auto& item : model_.overlayStore.overlays.get()) {
    list.append(QVariantMap{{"id", qText(item.id.toString())}, {"name", qText(item.name)}});
  }
  return list;
}

QStringList WebBridge::starters() const {
  QStringList labels;
  for (const auto& info : overlayStarters()) labels.append(qText(std::string(info.menuLabel)));
  return labels;
}

void WebBridge::setEditing(const QString& sourceID) {
  if (sourceID == editing_) return;
  editing_ = sourceID;
  Q_EMIT editingChanged();
  Q_EMIT paramsChanged();
}

WebOverlaySource* WebBridge::overlay() const {
  return dynamic_cast<WebOverlaySource*>(model_.sourceLifecycle.find(editing_.toStdString()).get());
}

WebBrowserSource* WebBridge::browser() const {
  return dynamic_cast<WebBrowserSource*>(model_.sourceLifecycle.find(editing_.toStdString()).get());
}

QString WebBridge::editingKind() const { return webKind(editing_); }

QString WebBridge::editingName() const {
  auto source = model_.sourceLifecycle.find(editing_.toStdString());
  return source ? qText(source->displayName()) : QString();
}

QVariantList WebBridge::params() const {
  QVariantList list;
  auto* source = overlay();
  if (!source) return list;
  for (const auto& param : source->schema()) {
    auto value = source->config().find(param.key);
    list.append(QVariantMap{{"key", qText(param.key)},
                            {"label", qText(param.label)},
                            {"type", qText(param.type)},
                            {"value", qText(value != source->config().end() ? value->second : param.defaultValue)}});
  }
  return list;
}

QString WebBridge::address() const {
  auto* source = browser();
  return source ? qText(source->urlString()) : QString();
}

bool WebBridge::interactive() const { return model_.browserEngine && model_.browserEngine->interactiveOpen(); }

QString WebBridge::addStarter(int index) {
  if (index < 0 || index >= int(overlayStarters().size())) return {};
  auto id = model_.addOverlayStarter(overlayStarters()[std::size_t(index)].starter);
  return id ? qText(*id) : QString();
}

QString WebBridge::addOverlay(const QString& itemID) {
  auto uuid = Uuid::parse(itemID.toStdString());
  auto item = uuid ? model_.overlayStore.find(*uuid) : std::nullopt;
  if (!item) return {};
  auto id = model_.addOverlayToShow(*item);
  return id ? qText(*id) : QString();
}

QString WebBridge::addBrowser(const QString& address) {
  auto id = model_.addBrowserSource(address.toStdString());
  return id ? qText(*id) : QString();
}

bool WebBridge::importOverlay(const QString& pathOrURL) {
  QUrl url(pathOrURL);
  QString path = url.isLocalFile() ? url.toLocalFile() : pathOrURL;
  if (model_.overlayStore.importFile(path.toStdString())) return true;
  model_.appendLog("The overlay “" + path.toStdString() + "” could not be read.");
  return false;
}

void WebBridge::duplicateOverlay(const QString& itemID) {
  if (auto uuid = Uuid::parse(itemID.toStdString())) model_.overlayStore.duplicate(*uuid);
}

void WebBridge::renameOverlay(const QString& itemID, const QString& name) {
  if (auto uuid = Uuid::parse(itemID.toStdString())) model_.overlayStore.rename(*uuid, name.toStdString());
}

void WebBridge::deleteOverlay(const QString& itemID) {
  if (auto uuid = Uuid::parse(itemID.toStdString())) model_.overlayStore.remove(*uuid);
}

QString WebBridge::webKind(const QString& sourceID) const {
  auto source = model_.sourceLifecycle.find(sourceID.toStdString());
  if (!source) return {};
  if (source->kind() == SourceKind::overlay) return "overlay";
  if (source->kind() == SourceKind::browser) return "browser";
  return {};
}

void WebBridge::setParam(const QString& key, const QString& value) {
  model_.setOverlayParam(editing_.toStdString(), key.toStdString(), value.toStdString());
}

void WebBridge::replay() { model_.replayOverlay(editing_.toStdString()); }

void WebBridge::navigate(const QString& text) {
  if (auto* source = browser()) source->navigate(text.toStdString());
  Q_EMIT paramsChanged();
}

void WebBridge::goBack() {
  if (auto* source = browser()) source->goBack();
}

void WebBridge::goForward() {
  if (auto* source = browser()) source->goForward();
}

void WebBridge::reload() {
  if (auto* source = browser()) source->reloadPage();
}

bool WebBridge::useThisPage() {
  auto* source = browser();
  bool kept = source && source->useCurrentPage();
  if (kept) Q_EMIT paramsChanged();
  return kept;
}

bool WebBridge::showInteractive() {
  auto* source = browser();
  if (!source || !source->showInteractive()) return false;
  wasInteractive_ = true;
  interactivePoll_.start();
  Q_EMIT interactiveChanged();
  return true;
}

void WebBridge::endInteractive() {
  if (auto* source = browser()) source->endInteractive();
}

}  // namespace tavorin

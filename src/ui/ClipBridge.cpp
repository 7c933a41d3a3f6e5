#include "ui/ClipBridge.h"

#include <QUrl>
#include <algorithm>

#include "app/AppModel.h"
#include "sources/LoopingVideoSource.h"
#include "ui/QtText.h"

namespace tavorin {

namespace {

// The playhead is shown moving at this pace while the editor is open.
constexpr int kPollMilliseconds = 100;

}  // namespace

ClipBridge::ClipBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  poll_.setInterval(kPollMilliseconds);
  connect(&poll_, &QTimer::timeout, this, [this] { Q_EMIT stateChanged(); });
}

void ClipBridge::setClip(const QString& id) {
  if (id == clip_) return;
  clip_ = id;
  if (clip_.isEmpty()) {
    poll_.stop();
  } else {
    poll_.start();
  }
  Q_EMIT clipChanged();
  Q_EMIT stateChanged();
}

QString ClipBridge::name() const { return clip_.isEmpty() ? QString() : qText(model_.displayName(clip_.toStdString())); }

double ClipBridge::duration() const {
  const auto* clip = model_.findClip(clip_.toStdString());
  return clip ? clip->duration() : 0;
}

double ClipBridge::position() const {
  const auto* clip = model_.findClip(clip_.toStdString());
  return clip ? clip->currentTime() : 0;
}

bool ClipBridge::playing() const {
  const auto* clip = model_.findClip(clip_.toStdString());
  return clip && clip->isPlaying();
}

double ClipBridge::trimStart() const {
  const auto* clip = model_.findClip(clip_.toStdString());
  return clip ? clip->trimStart() : 0;
}

double ClipBridge::trimEnd() const {
  const auto* clip = model_.findClip(clip_.toStdString());
  return clip ? clip->trimEnd().value_or(clip->duration()) : 0;
}

QString ClipBridge::error() const {
  const auto* clip = model_.findClip(clip_.toStdString());
  return clip ? qText(clip->lastError()) : QString();
}

QString ClipBridge::add(const QString& pathOrURL) {
  const QUrl url(pathOrURL);
  const QString path = url.isLocalFile() ? url.toLocalFile() : pathOrURL;
  const auto id = model_.addClipSource(path.toStdString());
  return id ? qText(*id) : QString();
}

void ClipBridge::play() { model_.playClip(clip_.toStdString()); }

void ClipBridge::pause() { model_.pauseClip(clip_.toStdString()); }

void ClipBridge::seek(double seconds) {
  model_.seekClip(clip_.toStdString(), seconds);
  Q_EMIT stateChanged();
}

void ClipBridge::setTrim(double start, double end) {
  const double length = duration();
  const bool toTheEnd = length > 0 && end >= length - 1e-3;
  model_.setClipTrim(clip_.toStdString(), std::max(start, 0.0), toTheEnd ? std::nullopt : std::optional(end));
  Q_EMIT stateChanged();
}

void ClipBridge::exportTrim() { model_.exportClipTrim(clip_.toStdString()); }

bool ClipBridge::isClip(const QString& sourceID) const { return model_.findClip(sourceID.toStdString()) != nullptr; }

}  // namespace tavorin

#include "ui/MonitorItem.h"

#include <QImage>
#include <QQuickWindow>
#include <QSGSimpleTextureNode>
#include <QSGTexture>
#include <algorithm>
#include <mutex>

#include "base/HostTime.h"

namespace tavorin {

namespace {

MonitorFeed& feed() {
  static MonitorFeed shared;
  return shared;
}

// A display refreshes at 60 Hz or more; a canvas at most as often.
constexpr int kPollMilliseconds = 8;
constexpr std::size_t kLatencySamples = 4096;

struct Latencies {
  std::mutex lock;
  std::vector<double> samples;
  std::size_t next = 0;
};

Latencies& programLatencyLog() {
  static Latencies log;
  return log;
}

}  // namespace

MonitorItem::MonitorItem(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents, true);
  poll_.setInterval(kPollMilliseconds);
  poll_.setTimerType(Qt::PreciseTimer);
  connect(&poll_, &QTimer::timeout, this, &MonitorItem::poll);
}

MonitorItem::~MonitorItem() {
  if (watchToken_ && feed().unwatch) feed().unwatch(watchToken_);
}

void MonitorItem::setFeed(MonitorFeed shared) { feed() = std::move(shared); }

std::vector<double> MonitorItem::programLatencies() {
  Latencies& log = programLatencyLog();
  std::lock_guard hold(log.lock);
  return log.samples;
}

void MonitorItem::swapped() {
  // The render thread, after the swap (the GUI thread with the basic render loop).
  const double painted = paintedTime_;
  if (painted < 0 || !isProgram_.load(std::memory_order_relaxed)) return;
  paintedTime_ = -1;
  Latencies& log = programLatencyLog();
  std::lock_guard hold(log.lock);
  const double latency = hostTimeNow() - painted;
  if (log.samples.size() < kLatencySamples) {
    log.samples.push_back(latency);
  } else {
    log.samples[log.next++ % kLatencySamples] = latency;
  }
}

void MonitorItem::setCanvas(const QString& canvas) {
  if (canvas == canvas_) return;
  canvas_ = canvas;
  isProgram_.store(canvas == "program", std::memory_order_relaxed);
  frame_.reset();
  shownGeneration_ = 0;
  frameChanged_ = true;
  updateWatch();
  Q_EMIT canvasChanged();
  Q_EMIT hasPictureChanged();
  update();
}

void MonitorItem::setPollInterval(int milliseconds) {
  milliseconds = std::max(milliseconds, kPollMilliseconds);
  if (milliseconds == poll_.interval()) return;
  poll_.setInterval(milliseconds);
  Q_EMIT pollIntervalChanged();
}

void MonitorItem::updateWatch() {
  const bool shown = isVisible() && window() != nullptr && !canvas_.isEmpty();
  if (watchToken_ && feed().unwatch) feed().unwatch(watchToken_);
  watchToken_ = 0;
  if (!shown) {
    poll_.stop();
    return;
  }
  if (feed().watch) watchToken_ = feed().watch(canvas_.toStdString());
  poll_.start();
  poll();
}

void MonitorItem::poll() {
  if (!feed().newest) return;
  FrameRef newest = feed().newest(canvas_.toStdString());
  if (newest == frame_ && (!newest || newest->generation() == shownGeneration_)) return;
  const bool hadPicture = frame_ != nullptr;
  const QRectF before = pictureRect();
  frame_ = std::move(newest);
  shownGeneration_ = frame_ ? frame_->generation() : 0;
  frameChanged_ = true;
  if (hadPicture != (frame_ != nullptr)) Q_EMIT hasPictureChanged();
  if (pictureRect() != before) Q_EMIT pictureRectChanged();
  update();
}

QRectF MonitorItem::pictureRect() const {
  const double w = width(), h = height();
  if (!frame_ || w <= 0 || h <= 0) return {0, 0, w, h};
  const double aspect = static_cast<double>(frame_->width()) / frame_->height();
  if (w / h > aspect) {
    const double fitted = h * aspect;
    return {(w - fitted) / 2, 0, fitted, h};
  }
  const double fitted = w / aspect;
  return {0, (h - fitted) / 2, w, fitted};
}

void MonitorItem::itemChange(ItemChange change, const ItemChangeData& value) {
  if (change == ItemSceneChange) {
    disconnect(swapConnection_);
    if (value.window) {
      swapConnection_ = connect(value.window, &QQuickWindow::frameSwapped, this, &MonitorItem::swapped,
                                Qt::DirectConnection);
    }
  }
  if (change == ItemVisibleHasChanged || change == ItemSceneChange) updateWatch();
  QQuickItem::itemChange(change, value);
}

void MonitorItem::geometryChange(const QRectF& now, const QRectF& before) {
  QQuickItem::geometryChange(now, before);
  Q_EMIT pictureRectChanged();
  update();
}

QSGNode* MonitorItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
  auto* node = static_cast<QSGSimpleTextureNode*>(old);
  if (!frame_) {
    delete node;
    return nullptr;
  }
  if (!node) {
    node = new QSGSimpleTextureNode;
    node->setOwnsTexture(true);
    node->setFiltering(QSGTexture::Linear);
  }
  if (frameChanged_ || !node->texture()) {
    // The picture is wrapped, not copied; the image keeps the frame until the upload is done with it.
    auto* held = new FrameRef(frame_);
    QImage image(
        (*held)->data(), (*held)->width(), (*held)->height(), static_cast<qsizetype>((*held)->bytesPerRow()),
        QImage::Format_ARGB32_Premultiplied, [](void* info) { delete static_cast<FrameRef*>(info); }, held);
    node->setTexture(window()->createTextureFromImage(image));
    frameChanged_ = false;
    paintedTime_ = frame_->hostTime();
  }
  node->setRect(pictureRect());
  return node;
}

}  // namespace tavorin

#include "ui/MonitorItem.h"

#include <QCoreApplication>
#include <QImage>
#include <QTimer>
#include <QQuickWindow>
#include <QSGSimpleTextureNode>
#include <QSGTexture>
#include <QtQuick/qsgtexture_platform.h>
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

MonitorItem::MonitorItem(QQuickItem* parent) : QQuickItem(parent), pollInterval_(kPollMilliseconds) {
  setFlag(ItemHasContents, true);
}

MonitorItem::~MonitorItem() {
  setShown(false);
  if (watchToken_ && feed().unwatch) feed().unwatch(watchToken_);
}

namespace {

std::vector<MonitorItem*>& shownMonitors() {
  static std::vector<MonitorItem*> shown;
  return shown;
}

}  // namespace

void MonitorItem::pollShown() {
  const double now = hostTimeNow();
  // A copy: a new picture may show or hide other monitors.
  const std::vector<MonitorItem*> shown = shownMonitors();
  for (MonitorItem* item : shown) {
    if (now - item->lastPoll_ < (item->pollInterval_ - 1) / 1000.0) continue;
    item->lastPoll_ = now;
    item->poll();
  }
}

void MonitorItem::setShown(bool shown) {
  static QTimer* timer = nullptr;
  std::vector<MonitorItem*>& all = shownMonitors();
  std::erase(all, this);
  if (shown) all.push_back(this);
  if (!timer && !all.empty()) {
    timer = new QTimer(QCoreApplication::instance());
    timer->setInterval(kPollMilliseconds);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, &MonitorItem::pollShown);
  }
  if (!timer) return;
  if (all.empty()) {
    timer->stop();
  } else if (!timer->isActive()) {
    timer->start();
  }
}

void MonitorItem::releaseSampled() {
  if (!sampled_) return;
  // After every command that sampled it; flushed, so the compositor's wait on it ends.
  GLsync fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  glFlush();
  if (GLsync older = sampled_->released.exchange(fence, std::memory_order_release)) glDeleteSync(older);
  sampled_.reset();
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
  picture_ = {};
  shownGeneration_ = 0;
  frameChanged_ = true;
  updateWatch();
  Q_EMIT canvasChanged();
  Q_EMIT hasPictureChanged();
  update();
}

void MonitorItem::setPollInterval(int milliseconds) {
  milliseconds = std::max(milliseconds, kPollMilliseconds);
  if (milliseconds == pollInterval_) return;
  pollInterval_ = milliseconds;
  Q_EMIT pollIntervalChanged();
}

QSizeF MonitorItem::pictureSize() const {
  // A canvas's aspect is its own: a copy drawn at a rounded size, or before a resize, must not change it.
  if (feed().canvasSize) {
    const auto [w, h] = feed().canvasSize(canvas_.toStdString());
    if (w > 0 && h > 0) return QSizeF(w, h);
  }
  if (picture_.texture) return QSizeF(picture_.texture->width, picture_.texture->height);
  if (picture_.image) return QSizeF(picture_.image->width(), picture_.image->height());
  return {};
}

QSize MonitorItem::pixelSize() const {
  // The canvas's own size caps it: a bigger copy would only be interpolated.
  const auto [canvasWidth, canvasHeight] =
      feed().canvasSize ? feed().canvasSize(canvas_.toStdString()) : std::pair{0, 0};
  const QRectF fitted = pictureRect();
  const double scale = window() ? window()->effectiveDevicePixelRatio() : 1.0;
  QSize size(static_cast<int>(fitted.width() * scale + 0.5), static_cast<int>(fitted.height() * scale + 0.5));
  if (canvasWidth > 0 && size.width() > canvasWidth) size = QSize(canvasWidth, canvasHeight);
  return size.expandedTo(QSize(1, 1));
}

void MonitorItem::updateWatch() {
  const bool shown = isVisible() && window() != nullptr && !canvas_.isEmpty();
  if (watchToken_ && feed().unwatch) feed().unwatch(watchToken_);
  watchToken_ = 0;
  if (!shown) {
    setShown(false);
    return;
  }
  requested_ = pixelSize();
  if (feed().watch) watchToken_ = feed().watch(canvas_.toStdString(), requested_.width(), requested_.height());
  setShown(true);
  lastPoll_ = hostTimeNow();
  poll();
}

void MonitorItem::poll() {
  MonitorPicture newest;
  if (watchToken_ && feed().picture) {
    newest = feed().picture(watchToken_);
  } else if (feed().newest) {
    newest.image = feed().newest(canvas_.toStdString());
  }
  // A pooled buffer comes back with new pixels under a new generation.
  const std::uint64_t generation = newest.image ? newest.image->generation() : 0;
  if (newest == picture_ && generation == shownGeneration_) return;
  const bool hadPicture = hasPicture();
  const QRectF before = pictureRect();
  picture_ = std::move(newest);
  shownGeneration_ = generation;
  frameChanged_ = true;
  if (hadPicture != hasPicture()) Q_EMIT hasPictureChanged();
  if (pictureRect() != before) Q_EMIT pictureRectChanged();
  update();
}

QRectF MonitorItem::pictureRect() const {
  const double w = width(), h = height();
  const QSizeF picture = pictureSize();
  if (picture.isEmpty() || w <= 0 || h <= 0) return {0, 0, w, h};
  const double aspect = picture.width() / picture.height();
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
  if (watchToken_ && feed().resize) {
    const QSize wanted = pixelSize();
    if (wanted != requested_) {
      requested_ = wanted;
      feed().resize(watchToken_, wanted.width(), wanted.height());
    }
  }
  update();
}

QSGNode* MonitorItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
  auto* node = static_cast<QSGSimpleTextureNode*>(old);
  if (picture_.empty()) {
    delete node;
    releaseSampled();
    return nullptr;
  }
  if (!node) {
    node = new QSGSimpleTextureNode;
    node->setOwnsTexture(true);
    node->setFiltering(QSGTexture::Linear);
  }
  if (frameChanged_ || !node->texture()) {
    const bool openGL = window()->rendererInterface()->graphicsApi() == QSGRendererInterface::OpenGL;
    if (const std::shared_ptr<MonitorTexture>& shared = picture_.texture; shared && !openGL) {
      // A texture only a GL scene graph can draw: nothing rather than a crash (the runner never lets this happen).
      delete node;
      return nullptr;
    } else if (shared) {
      // The window's context waits on the GPU, not this thread, for the compositor's drawing.
      glWaitSync(shared->drawn, 0, GL_TIMEOUT_IGNORED);
      node->setTexture(QNativeInterface::QSGOpenGLTexture::fromNative(
          shared->texture, window(), QSize(shared->width, shared->height), QQuickWindow::TextureIsOpaque));
      releaseSampled();
      sampled_ = shared;
    } else {
      // The picture is wrapped, not copied; the image keeps the frame until the upload is done with it.
      auto* held = new FrameRef(picture_.image);
      QImage image(
          (*held)->data(), (*held)->width(), (*held)->height(), static_cast<qsizetype>((*held)->bytesPerRow()),
          QImage::Format_ARGB32_Premultiplied, [](void* info) { delete static_cast<FrameRef*>(info); }, held);
      node->setTexture(window()->createTextureFromImage(image));
      releaseSampled();
    }
    frameChanged_ = false;
    paintedTime_ = picture_.hostTime();
  }
  node->setRect(pictureRect());
  return node;
}

}  // namespace tavorin

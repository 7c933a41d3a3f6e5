#pragma once

#include <QQuickItem>
#include <atomic>
#include <vector>

#include "base/PixelBuffer.h"
#include "ui/MonitorFeed.h"

namespace tavorin {

// A canvas's newest picture on screen, scaled into the item with its aspect
// kept. The compositor draws it at the item's size in pixels: a texture the
// window samples where their GL contexts share, else pixels to upload. While
// hidden it asks nothing of the frame clock; while shown it looks for a new
// picture at the display's pace and repaints only when one came.
class MonitorItem : public QQuickItem {
  Q_OBJECT
  Q_PROPERTY(QString canvas READ canvas WRITE setCanvas NOTIFY canvasChanged)
  // The picture's place inside the item, in item coordinates: where the canvas's 0..1 lies.
  Q_PROPERTY(QRectF pictureRect READ pictureRect NOTIFY pictureRectChanged)
  Q_PROPERTY(bool hasPicture READ hasPicture NOTIFY hasPictureChanged)
  // How often it looks for a new picture, in ms: a display refresh for the
  // monitors, a slow pace for thumbnails of sources that publish at full rate.
  Q_PROPERTY(int pollInterval READ pollInterval WRITE setPollInterval NOTIFY pollIntervalChanged)

 public:
  explicit MonitorItem(QQuickItem* parent = nullptr);
  ~MonitorItem() override;

  // Set once, before the window loads.
  static void setFeed(MonitorFeed feed);

  // From a picture's composition to the swap that put it on screen, for the
  // Program monitor: the newest samples, in seconds.
  static std::vector<double> programLatencies();

  QString canvas() const { return canvas_; }
  void setCanvas(const QString& canvas);
  QRectF pictureRect() const;
  bool hasPicture() const { return !picture_.empty(); }
  int pollInterval() const { return pollInterval_; }
  void setPollInterval(int milliseconds);

 Q_SIGNALS:
  void canvasChanged();
  void pictureRectChanged();
  void hasPictureChanged();
  void pollIntervalChanged();

 protected:
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
  void itemChange(ItemChange change, const ItemChangeData& value) override;
  void geometryChange(const QRectF& now, const QRectF& before) override;

 private:
  void poll();
  void updateWatch();
  void swapped();
  QSize pixelSize() const;
  QSizeF pictureSize() const;
  // Render thread: the texture last sampled may be drawn into again once the window's commands passed it.
  void releaseSampled();

  QString canvas_;
  // Every shown monitor is looked at on one timer, so new pictures of several
  // monitors land in one frame of the window rather than one frame each.
  static void pollShown();
  void setShown(bool shown);
  int pollInterval_;
  double lastPoll_ = 0;
  MonitorPicture picture_;  // what is shown
  std::uint64_t shownGeneration_ = 0;
  QSize requested_;  // the size the compositor draws at
  // Render thread: the shared texture the node samples.
  std::shared_ptr<MonitorTexture> sampled_;
  bool frameChanged_ = false;
  std::uint64_t watchToken_ = 0;
  // Render thread: the composition time of the picture last painted, until its swap.
  double paintedTime_ = -1;
  std::atomic<bool> isProgram_{false};  // read at the swap, on the render thread
  QMetaObject::Connection swapConnection_;
};

}  // namespace tavorin

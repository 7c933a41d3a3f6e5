#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The show's settings the window edits (canvas size, frame rate) and the first-launch
// guide, which runs until the operator finishes or skips it once.
class SettingsBridge : public QObject {
  Q_OBJECT
  // "1920 × 1080", … in the order of the canvas sizes.
  Q_PROPERTY(QStringList canvasSizes READ canvasSizes CONSTANT)
  Q_PROPERTY(int canvasSize READ canvasSize NOTIFY changed)
  // Program's frame rates on offer, and the one it runs at.
  Q_PROPERTY(QVariantList frameRates READ frameRates CONSTANT)
  Q_PROPERTY(int frameRate READ frameRate NOTIFY changed)
  Q_PROPERTY(bool showOnboarding READ showOnboarding NOTIFY changed)

 public:
  explicit SettingsBridge(AppModel& model, QObject* parent = nullptr);

  QStringList canvasSizes() const;
  int canvasSize() const;
  QVariantList frameRates() const;
  int frameRate() const;
  bool showOnboarding() const;

  // A recording running at the old size is closed first, and the log says so.
  Q_INVOKABLE void setCanvasSize(int index);
  // Frames a second; a recording running at the old rate is closed first.
  Q_INVOKABLE void setFrameRate(int fps);
  Q_INVOKABLE void finishOnboarding();

 Q_SIGNALS:
  void changed();

 private:
  AppModel& model_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

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
  // The phone remote: whether it listens, the link a phone opens and that link as a QR code (a PNG data URL).
  Q_PROPERTY(bool remoteEnabled READ remoteEnabled NOTIFY remoteChanged)
  Q_PROPERTY(QString remoteLink READ remoteLink NOTIFY remoteChanged)
  Q_PROPERTY(QString remoteQRCode READ remoteQRCode NOTIFY remoteChanged)

 public:
  explicit SettingsBridge(AppModel& model, QObject* parent = nullptr);

  QStringList canvasSizes() const;
  int canvasSize() const;
  QVariantList frameRates() const;
  int frameRate() const;
  bool showOnboarding() const;
  bool remoteEnabled() const;
  QString remoteLink() const { return remoteLink_; }
  QString remoteQRCode() const { return remoteQRCode_; }

  // A recording running at the old size is closed first, and the log says so.
  Q_INVOKABLE void setCanvasSize(int index);
  // Frames a second; a recording running at the old rate is closed first.
  Q_INVOKABLE void setFrameRate(int fps);
  Q_INVOKABLE void finishOnboarding();
  Q_INVOKABLE void setRemoteEnabled(bool on);

 Q_SIGNALS:
  void changed();
  void remoteChanged();

 private:
  // The link follows the machine's network, looked at when the remote is switched on.
  void refreshRemote();

  AppModel& model_;
  QString remoteLink_;
  QString remoteQRCode_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The add-camera and add-screen dialog: what the machine offers, a live look
// at the one picked, adding it, and each capture source's quality.
class CaptureBridge : public QObject {
  Q_OBJECT
  // {key, name, detail} per entry; `key` is what preview() and add() take.
  Q_PROPERTY(QVariantList cameras READ cameras NOTIFY changed)
  Q_PROPERTY(QVariantList displays READ displays NOTIFY changed)
  Q_PROPERTY(QVariantList windows READ windows NOTIFY changed)
  Q_PROPERTY(QVariantList applications READ applications NOTIFY changed)
  // Why screens cannot be captured here; empty when they can.
  Q_PROPERTY(QString screenProblem READ screenProblem NOTIFY changed)
  // On a desktop (Wayland) where screens and windows are chosen in its own dialog, nothing else is listed.
  Q_PROPERTY(bool screenShareOnly READ screenShareOnly NOTIFY changed)
  Q_PROPERTY(QStringList warnings READ warnings NOTIFY changed)
  // "Automatic (up to 4096 × 2304)", … in the order of the capture qualities.
  Q_PROPERTY(QStringList qualities READ qualities CONSTANT)

 public:
  explicit CaptureBridge(AppModel& model, QObject* parent = nullptr);
  ~CaptureBridge() override;

  QVariantList cameras() const;
  QVariantList displays() const;
  QVariantList windows() const;
  QVariantList applications() const;
  QString screenProblem() const;
  bool screenShareOnly() const;
  QStringList warnings() const;
  QStringList qualities() const;

  // `kind` is "camera", "display", "window" or "application".
  // Starts a live look and returns the name a Monitor shows it by; empty when it is gone.
  Q_INVOKABLE QString preview(const QString& kind, const QString& key);
  Q_INVOKABLE void stopPreview();
  // The source's id; empty when it is no longer there.
  Q_INVOKABLE QString add(const QString& kind, const QString& key, int quality);
  // Reads the cameras and screens again (windows come and go).
  Q_INVOKABLE void refresh();
  // -1 for sources that are no capture.
  Q_INVOKABLE int quality(const QString& sourceID) const;
  Q_INVOKABLE void setQuality(const QString& sourceID, int quality);

 Q_SIGNALS:
  void changed();

 private:
  AppModel& model_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

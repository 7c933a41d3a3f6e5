#pragma once

#include <QObject>
#include <QVariantList>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// Every field of the selected Preview layer, as rows a panel draws by kind
// ("number", "bool", "choice", "color") with its label, unit, range and
// value; a change goes through the Preview editor like any other edit.
// Positions and sizes are in canvas pixels, angles in degrees, fractions in %.
class LayerInspector : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool active READ active NOTIFY changed)
  Q_PROPERTY(QVariantList fields READ fields NOTIFY changed)
  // A colour field waiting for a click on the Preview monitor; empty when none.
  Q_PROPERTY(QString pickingKey READ pickingKey WRITE setPickingKey NOTIFY pickingChanged)

 public:
  explicit LayerInspector(AppModel& model, QObject* parent = nullptr);

  bool active() const;
  QVariantList fields() const;
  // Unknown keys and values of the wrong kind change nothing.
  Q_INVOKABLE void setValue(const QString& key, const QVariant& value);
  QString pickingKey() const { return pickingKey_; }
  void setPickingKey(const QString& key);
  // The colour the Preview picture has at (x, y) in canvas units goes to the
  // field being picked (a key colour taken from the very picture), and the pick ends.
  Q_INVOKABLE void pickFromPreview(double x, double y);

 Q_SIGNALS:
  void changed();
  void pickingChanged();

 private:
  AppModel& model_;
  QString pickingKey_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

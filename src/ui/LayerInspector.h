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

 public:
  explicit LayerInspector(AppModel& model, QObject* parent = nullptr);

  bool active() const;
  QVariantList fields() const;
  // Unknown keys and values of the wrong kind change nothing.
  Q_INVOKABLE void setValue(const QString& key, const QVariant& value);

 Q_SIGNALS:
  void changed();

 private:
  AppModel& model_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

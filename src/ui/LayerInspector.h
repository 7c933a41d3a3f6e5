#pragma once

#include <QAbstractListModel>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "model/LayerState.h"

namespace tavorin {

class AppModel;

// Every field of the selected Preview layer, as rows a panel draws by kind
// ("number", "bool", "choice", "color") with its label, unit, range and
// value; a change goes through the Preview editor like any other edit. The
// rows stay while the layer changes (only values move), so a field being
// typed in or dragged keeps its editor.
// Positions and sizes are in canvas pixels, angles in degrees, fractions in %.
class LayerInspector : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(bool active READ active NOTIFY activeChanged)
  // A colour field waiting for a click on the Preview monitor; empty when none.
  Q_PROPERTY(QString pickingKey READ pickingKey WRITE setPickingKey NOTIFY pickingChanged)

 public:
  explicit LayerInspector(AppModel& model, QObject* parent = nullptr);

  enum Role { keyRole = Qt::UserRole + 1, labelRole, kindRole, unitRole, minRole, maxRole, stepRole, choicesRole, valueRole };

  bool active() const { return shown_.has_value(); }
  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;
  // Unknown keys and values of the wrong kind change nothing.
  Q_INVOKABLE void setValue(const QString& key, const QVariant& value);
  QString pickingKey() const { return pickingKey_; }
  void setPickingKey(const QString& key);
  // The colour the Preview picture has at (x, y) in canvas units goes to the
  // field being picked (a key colour taken from the very picture), and the pick ends.
  Q_INVOKABLE void pickFromPreview(double x, double y);

 Q_SIGNALS:
  void activeChanged();
  void pickingChanged();

 private:
  void refresh();

  AppModel& model_;
  std::optional<LayerState> shown_;  // the selected layer as the rows show it
  QString pickingKey_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The selected layer's filter stack in the inspector: its entries with
// their sliders, adding, switching, reordering and removing them, and the
// looks (built in and the operator's own) applied or saved. Every change is
// a layer edit like any other, so Preview shows it at once.
class LayerFilterStack : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool active READ active NOTIFY changed)
  // The kinds' names, in the order add() takes them.
  Q_PROPERTY(QStringList kinds READ kinds CONSTANT)
  // One map per entry: id, label, enabled, and params (key, label, min, max, unit, value).
  Q_PROPERTY(QVariantList filters READ filters NOTIFY changed)
  Q_PROPERTY(QStringList builtInLooks READ builtInLooks CONSTANT)
  // One map per look of the operator's: id, name.
  Q_PROPERTY(QVariantList myLooks READ myLooks NOTIFY changed)

 public:
  explicit LayerFilterStack(AppModel& model, QObject* parent = nullptr);

  bool active() const;
  QStringList kinds() const;
  QVariantList filters() const;
  QStringList builtInLooks() const;
  QVariantList myLooks() const;

  Q_INVOKABLE void add(int kind);
  Q_INVOKABLE void remove(const QString& id);
  Q_INVOKABLE void setEnabled(const QString& id, bool on);
  Q_INVOKABLE void setParam(const QString& id, const QString& key, double value);
  Q_INVOKABLE void move(int from, int to);
  Q_INVOKABLE void applyBuiltIn(int index);
  Q_INVOKABLE void applyMine(const QString& id);
  // Empty when saved; else why not (an empty stack).
  Q_INVOKABLE QString saveLook(const QString& name);
  Q_INVOKABLE void deleteLook(const QString& id);

 Q_SIGNALS:
  void changed();

 private:
  template <class Edit>
  void edit(Edit&& change);

  AppModel& model_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

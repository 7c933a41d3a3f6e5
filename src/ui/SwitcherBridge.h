#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The switcher bar's view of the main switcher: TAKE and CUT, the transition
// kind (a built-in or a custom one) and its duration, studio or direct mode,
// the black and holding-card punches, and the custom transitions to fire.
class SwitcherBridge : public QObject {
  Q_OBJECT
  // One entry per choice: {key, name}; key is a built-in's name or "custom:" + id.
  Q_PROPERTY(QVariantList transitionChoices READ transitionChoices NOTIFY transitionChoicesChanged)
  Q_PROPERTY(QString transitionKey READ transitionKey WRITE setTransitionKey NOTIFY stateChanged)
  // The same choice as a place in transitionChoices, for a picker.
  Q_PROPERTY(int transitionIndex READ transitionIndex WRITE setTransitionIndex NOTIFY stateChanged)
  Q_PROPERTY(double duration READ duration WRITE setDuration NOTIFY stateChanged)
  Q_PROPERTY(bool studioMode READ studioMode WRITE setStudioMode NOTIFY stateChanged)
  Q_PROPERTY(bool transitioning READ transitioning NOTIFY stateChanged)
  Q_PROPERTY(bool brbActive READ brbActive NOTIFY stateChanged)
  // The custom transition the next take runs, set by a deck tile; empty when none.
  Q_PROPERTY(QString pendingTransitionName READ pendingTransitionName NOTIFY stateChanged)
  // {id, name, fired} for each custom transition.
  Q_PROPERTY(QVariantList customTransitions READ customTransitions NOTIFY transitionChoicesChanged)

 public:
  explicit SwitcherBridge(AppModel& model, QObject* parent = nullptr);

  QVariantList transitionChoices() const;
  QString transitionKey() const;
  void setTransitionKey(const QString& key);
  int transitionIndex() const;
  void setTransitionIndex(int index);
  double duration() const;
  void setDuration(double seconds);
  bool studioMode() const;
  void setStudioMode(bool on);
  bool transitioning() const;
  bool brbActive() const;
  QString pendingTransitionName() const;
  QVariantList customTransitions() const;

  Q_INVOKABLE void take();
  Q_INVOKABLE void cut();
  Q_INVOKABLE void punchBlack();
  Q_INVOKABLE void punchBRB();
  Q_INVOKABLE void fireTransition(const QString& id);

 Q_SIGNALS:
  void transitionChoicesChanged();
  void stateChanged();

 private:
  AppModel& model_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

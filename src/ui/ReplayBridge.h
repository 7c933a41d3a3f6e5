#pragma once

#include <QObject>
#include <QStringList>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The replay buffer in the window: save the last seconds, play the newest
// replay over Program, and the buffer's settings.
class ReplayBridge : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool enabled READ enabled NOTIFY changed)
  // "30 seconds", "60 seconds", "2 minutes", "5 minutes".
  Q_PROPERTY(QStringList lengths READ lengths CONSTANT)
  // The length chosen, as an index of lengths; -1 for a stored length not offered.
  Q_PROPERTY(int length READ length NOTIFY changed)
  Q_PROPERTY(bool addsClip READ addsClip NOTIFY changed)
  Q_PROPERTY(bool saving READ saving NOTIFY changed)
  // A replay the "Replay" cue can play.
  Q_PROPERTY(bool canPlay READ canPlay NOTIFY changed)
  // The file name of the newest replay saved this run; empty before one.
  Q_PROPERTY(QString lastReplay READ lastReplay NOTIFY changed)

 public:
  explicit ReplayBridge(AppModel& model, QObject* parent = nullptr);

  bool enabled() const;
  QStringList lengths() const;
  int length() const;
  bool addsClip() const;
  bool saving() const;
  bool canPlay() const;
  QString lastReplay() const;

  Q_INVOKABLE void setEnabled(bool on);
  Q_INVOKABLE void setLength(int index);
  Q_INVOKABLE void setAddsClip(bool on);
  Q_INVOKABLE void save();
  Q_INVOKABLE void play();

 Q_SIGNALS:
  void changed();

 private:
  AppModel& model_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

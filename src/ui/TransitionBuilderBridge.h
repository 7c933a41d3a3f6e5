#pragma once

#include <QObject>
#include <QVariantList>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "switcher/TransitionDraft.h"

namespace tavorin {

class AppModel;

// The custom transition builder over the draft model: tracks of a source each,
// stages with their pose, hold and travel, the library sounds it fires, the
// cut point and the name; saved to "transitions.json", where the switcher
// offers it at once.
class TransitionBuilderBridge : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString name READ name WRITE setName NOTIFY changed)
  Q_PROPERTY(double cutPoint READ cutPoint WRITE setCutPoint NOTIFY changed)
  Q_PROPERTY(double duration READ duration NOTIFY changed)
  Q_PROPERTY(bool editing READ editing NOTIFY changed)
  // Where the studio canvas shows the draft, 0…1 of its length; below zero while it does not.
  Q_PROPERTY(double scrubPosition READ scrubPosition NOTIFY scrubChanged)
  // {id, sourceID, sourceName, stages: [{id, hold, toNext, scale, posX, posY, rotationDeg, yawDeg, pitchDeg, opacity, holdsHere}]}
  Q_PROPERTY(QVariantList tracks READ tracks NOTIFY changed)
  // {id, soundID, soundName, delay (s), gainDB, fadeIn (s), fadeOut (s)}, by delay.
  Q_PROPERTY(QVariantList sounds READ sounds NOTIFY changed)
  // {id, name} of each saved transition, to open for editing.
  Q_PROPERTY(QVariantList saved READ saved NOTIFY savedChanged)

 public:
  explicit TransitionBuilderBridge(AppModel& model, QObject* parent = nullptr);

  QString name() const;
  void setName(const QString& name);
  double cutPoint() const;
  void setCutPoint(double fraction);
  double duration() const { return draft_.totalDuration(); }
  bool editing() const { return draft_.editingID.get().has_value(); }
  QVariantList tracks() const;
  QVariantList saved() const;
  QVariantList sounds() const;
  double scrubPosition() const { return scrub_.value_or(-1); }

  // A new, empty transition.
  Q_INVOKABLE void startNew();
  // Opens a saved transition's stages; false when there is none by that id.
  Q_INVOKABLE bool open(const QString& id);
  Q_INVOKABLE QString addTrack(const QString& sourceID);
  Q_INVOKABLE void removeTrack(const QString& trackID);
  Q_INVOKABLE void moveTrack(const QString& trackID, int by);
  // A stage after the track's last, in the same pose.
  Q_INVOKABLE void addStage(const QString& trackID);
  // A track keeps at least one stage.
  Q_INVOKABLE void removeStage(const QString& trackID, const QString& stageID);
  // `key` is one of the stage fields listed for `tracks`; seconds and poses are clamped to sense.
  Q_INVOKABLE void setStage(const QString& trackID, const QString& stageID, const QString& key, double value);
  // A fired run of the transition waits at this stage's start until fired
  // again; the stage that holds already lets go. Nothing for unknown ids.
  Q_INVOKABLE void toggleHoldStage(const QString& trackID, const QString& stageID);
  // A library sound played `delay` seconds into the transition; its id, empty for an unknown sound.
  Q_INVOKABLE QString addSound(const QString& soundID, double delay);
  Q_INVOKABLE void removeSound(const QString& id);
  // `key` is "delay", "gainDB", "fadeIn" or "fadeOut"; values are clamped to sense.
  Q_INVOKABLE void setSound(const QString& id, const QString& key, double value);
  // Compiles and stores the transition; returns its id, empty when it has no track.
  Q_INVOKABLE QString save();

  // The studio canvas shows the draft alone at `progress` (0…1), and follows
  // its edits until `endScrub`, which gives the canvas back to its Preview.
  Q_INVOKABLE void scrub(double progress);
  Q_INVOKABLE void endScrub();
  // Plays the draft once on the studio canvas over Program, which it leaves as it is.
  Q_INVOKABLE void audition();

 Q_SIGNALS:
  void changed();
  void savedChanged();
  void scrubChanged();

 private:
  template <class Fn>
  void editTrack(const QString& trackID, Fn&& fn);

  // Shows the current draft at the scrub position on the studio canvas.
  void applyScrub();

  AppModel& model_;
  TransitionDraft draft_;
  std::optional<double> scrub_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

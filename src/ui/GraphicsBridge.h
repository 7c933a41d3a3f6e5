#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <vector>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The cues in the window: the list with each cue's tally and its fire/hide
// press, new cues from an overlay or a source, the editor's reading and
// saving of one cue, staging it on the canvas, and the layer toolbar's ✨.
class GraphicsBridge : public QObject {
  Q_OBJECT
  // {id, name, shows, onAir, leaving, missing, autoHide} per cue, in library order.
  Q_PROPERTY(QVariantList cues READ cues NOTIFY cuesChanged)
  // A cue the model asks to open in the editor; empty for none.
  Q_PROPERTY(QString pendingEdit READ pendingEdit NOTIFY pendingEditChanged)
  // {value, label} for the enter and exit moves, and {seconds, label} for auto-hide.
  Q_PROPERTY(QVariantList moves READ moves CONSTANT)
  Q_PROPERTY(QVariantList autoHideChoices READ autoHideChoices CONSTANT)
  // True while a cue is staged on the canvas and ✨ will save back into it.
  Q_PROPERTY(bool staging READ staging NOTIFY stagingChanged)

 public:
  explicit GraphicsBridge(AppModel& model, QObject* parent = nullptr);

  QVariantList cues() const;
  QString pendingEdit() const;
  QVariantList moves() const;
  QVariantList autoHideChoices() const;

  // The tile's toggle: fires a cue, or dismisses one on air.
  Q_INVOKABLE void fire(const QString& id);
  Q_INVOKABLE void clearPendingEdit();
  // New cues, opened in the editor; each returns the cue's id, empty when none was made.
  Q_INVOKABLE QString newFromOverlay(const QString& overlayID);
  Q_INVOKABLE QString newFromSource(const QString& sourceID);
  Q_INVOKABLE void remove(const QString& id);
  // {id, name} of what a cue may show: library overlays, and the show's sources.
  Q_INVOKABLE QVariantList overlayChoices() const;
  Q_INVOKABLE QVariantList sourceChoices() const;
  Q_INVOKABLE QVariantList soundChoices() const;

  // The editor. A cue as fields: id, name, overlayID, sourceID, config (a map),
  // centerX, centerY, width, height (0 to 1 of the canvas), durationSeconds,
  // soundID, enterMove, enterDuration, exitMove, exitDuration. Empty for an unknown id.
  Q_INVOKABLE QVariantMap cue(const QString& id) const;
  // Stores the fields over the cue of that id, keeping its captured layer design.
  Q_INVOKABLE void save(const QVariantMap& fields);
  // The params of a library overlay, with `config` over their defaults: {key, label, type, value}.
  Q_INVOKABLE QVariantList params(const QString& overlayID, const QVariantMap& config) const;
  Q_INVOKABLE void editOnCanvas(const QString& id);
  Q_INVOKABLE void addAsLayer(const QString& id);
  // The layer toolbar's ✨ on a layer of the canvas in focus.
  Q_INVOKABLE void saveLayerAsCue(const QString& layerID);
  bool staging() const;

 Q_SIGNALS:
  void cuesChanged();
  void pendingEditChanged();
  void stagingChanged();

 private:
  AppModel& model_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

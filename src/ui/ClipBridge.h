#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

namespace tavorin {

class AppModel;

// The clip editor: one clip's transport, playhead and trim, seen live, and
// its trimmed range exported as a clip of its own.
class ClipBridge : public QObject {
  Q_OBJECT
  // The clip being edited; empty for none.
  Q_PROPERTY(QString clip READ clip WRITE setClip NOTIFY clipChanged)
  Q_PROPERTY(QString name READ name NOTIFY clipChanged)
  // Seconds; the length is 0 until the file is open.
  Q_PROPERTY(double duration READ duration NOTIFY stateChanged)
  Q_PROPERTY(double position READ position NOTIFY stateChanged)
  Q_PROPERTY(bool playing READ playing NOTIFY stateChanged)
  Q_PROPERTY(double trimStart READ trimStart NOTIFY stateChanged)
  // The out point, or the length when there is none.
  Q_PROPERTY(double trimEnd READ trimEnd NOTIFY stateChanged)
  // Why the file gives no pictures; empty while it plays.
  Q_PROPERTY(QString error READ error NOTIFY stateChanged)

 public:
  explicit ClipBridge(AppModel& model, QObject* parent = nullptr);

  QString clip() const { return clip_; }
  void setClip(const QString& id);
  QString name() const;
  double duration() const;
  double position() const;
  bool playing() const;
  double trimStart() const;
  double trimEnd() const;
  QString error() const;

  // A video file (a local path or file:// URL) joins the show; its id, empty when it is no clip (logged).
  Q_INVOKABLE QString add(const QString& pathOrURL);
  Q_INVOKABLE void play();
  Q_INVOKABLE void pause();
  Q_INVOKABLE void seek(double seconds);
  // An out point at the length is none: the clip plays to its end.
  Q_INVOKABLE void setTrim(double start, double end);
  Q_INVOKABLE void exportTrim();
  // Whether a source is a clip, for the sources panel's menu.
  Q_INVOKABLE bool isClip(const QString& sourceID) const;

 Q_SIGNALS:
  void clipChanged();
  void stateChanged();

 private:
  AppModel& model_;
  QString clip_;
  // The playhead moves by itself: read again while a clip is open.
  QTimer poll_;
};

}  // namespace tavorin

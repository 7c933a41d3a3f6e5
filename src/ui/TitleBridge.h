#pragma once

#include <QColor>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include "base/Published.h"

namespace tavorin {

class AppModel;

// The title and shape editor: one title's or shape's design as its fields,
// each edit drawn at once on the source (and so on every monitor showing it)
// and kept in "sources.json".
class TitleBridge : public QObject {
  Q_OBJECT
  // The title or shape being edited; empty for none.
  Q_PROPERTY(QString source READ source WRITE setSource NOTIFY sourceChanged)
  // "text", "shape", or empty when the source is neither.
  Q_PROPERTY(QString kind READ kind NOTIFY sourceChanged)
  // The design's fields by name, as "sources.json" keeps them (colours as {r, g, b, a}).
  Q_PROPERTY(QVariantMap design READ design NOTIFY designChanged)
  Q_PROPERTY(QStringList shapes READ shapes CONSTANT)
  Q_PROPERTY(QStringList fillStyles READ fillStyles CONSTANT)

 public:
  explicit TitleBridge(AppModel& model, QObject* parent = nullptr);

  QString source() const { return source_; }
  void setSource(const QString& id);
  QString kind() const;
  QVariantMap design() const;
  QStringList shapes() const;
  QStringList fillStyles() const;

  // A new title or shape (`shape` indexes `shapes`); its id, which the editor then edits.
  Q_INVOKABLE QString addText();
  Q_INVOKABLE QString addShape(int shape);
  // `path` names a field, "fontSize" or "background.color1"; a value the
  // design cannot take leaves it as it was (false).
  Q_INVOKABLE bool set(const QString& path, const QVariant& value);
  Q_INVOKABLE bool setColor(const QString& path, const QColor& color);
  Q_INVOKABLE bool isTitle(const QString& sourceID) const;

 Q_SIGNALS:
  void sourceChanged();
  void designChanged();

 private:
  // Follows the edited source's design, whoever changes it (a tile, the remote).
  void watch();

  AppModel& model_;
  QString source_;
  Subscription watching_;
};

}  // namespace tavorin

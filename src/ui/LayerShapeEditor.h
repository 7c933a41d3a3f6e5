#pragma once

#include <QObject>
#include <QPointF>
#include <QVariantList>
#include <vector>

#include "base/Published.h"
#include "model/Geometry.h"

namespace tavorin {

class AppModel;
struct LayerState;

// The selected layer's mask regions and corner pin, drawn and edited on the
// Preview monitor. Points cross here between canvas units (0..1 across and
// down, as the monitor's overlay works) and the mask's own space (the
// layer's drawn box before its rotation). Edits go through the Preview editor.
class LayerShapeEditor : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool maskEditing READ maskEditing WRITE setMaskEditing NOTIFY changed)
  // The region being drawn and the mask's closed regions, in canvas units.
  Q_PROPERTY(QVariantList maskDraft READ maskDraft NOTIFY changed)
  Q_PROPERTY(QVariantList maskRegions READ maskRegions NOTIFY changed)
  // The corner pin's top left, top right, bottom right and bottom left; empty without a pin.
  Q_PROPERTY(QVariantList pin READ pin NOTIFY changed)

 public:
  explicit LayerShapeEditor(AppModel& model, QObject* parent = nullptr);

  bool maskEditing() const;
  void setMaskEditing(bool on);
  QVariantList maskDraft() const;
  QVariantList maskRegions() const;
  QVariantList pin() const;

  Q_INVOKABLE void addMaskPoint(double x, double y);
  Q_INVOKABLE void undoMaskPoint();
  Q_INVOKABLE void closeMaskRegion();
  Q_INVOKABLE void clearMask();
  // On: the pin starts on the layer's corners as drawn now. Off: the layer goes back to its box.
  Q_INVOKABLE void setPinned(bool on);
  Q_INVOKABLE void movePinCorner(int corner, double x, double y);

 Q_SIGNALS:
  void changed();

 private:
  // The selected layer's drawn box: its centre, its size in canvas units, its rotation.
  struct DrawnBox {
    Point center;
    Size size;
    double rotation = 0;
    double aspect = 16.0 / 9.0;  // the canvas's width over its height
  };
  std::optional<DrawnBox> drawnBox() const;
  QPointF toCanvas(const DrawnBox& box, Point mask) const;
  Point toMask(const DrawnBox& box, double x, double y) const;
  QVariantList toCanvas(const DrawnBox& box, const std::vector<Point>& points) const;

  AppModel& model_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

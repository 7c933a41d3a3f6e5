#include "ui/LayerShapeEditor.h"

#include <cmath>

#include "app/AppModel.h"
#include "model/LayerFit.h"

namespace tavorin {

LayerShapeEditor::LayerShapeEditor(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  auto changedNow = [this](const auto&) { Q_EMIT changed(); };
  subscriptions_.push_back(model.switcher.previewScene.subscribe(changedNow));
  subscriptions_.push_back(model.editor.selectedLayerID.subscribe(changedNow));
  subscriptions_.push_back(model.editor.maskEditing.subscribe(changedNow));
  subscriptions_.push_back(model.editor.maskDraft.subscribe(changedNow));
}

bool LayerShapeEditor::maskEditing() const { return model_.editor.maskEditing.get(); }

void LayerShapeEditor::setMaskEditing(bool on) { model_.editor.setMaskEditing(on); }

std::optional<LayerShapeEditor::DrawnBox> LayerShapeEditor::drawnBox() const {
  const LayerState* layer = model_.editor.selectedLayer();
  if (!layer) return std::nullopt;
  DrawnBox box{layer->center, layer->size, layer->rotation};
  if (const auto canvas = model_.switcher.canvasPixelSize ? model_.switcher.canvasPixelSize() : std::nullopt) {
    box.aspect = canvas->width / canvas->height;
  }
  // A fitted layer draws its picture inside the box with the picture's own aspect.
  if (!layer->fill) {
    if (const FrameRef frame = model_.frameSlots.latestFrame(layer->sourceID.get())) {
      box.size = fitSize(static_cast<float>(layer->size.width), static_cast<float>(layer->size.height),
                         layer->cropRect.width() * frame->width(), layer->cropRect.height() * frame->height(),
                         static_cast<float>(box.aspect));
    }
  }
  return box;
}

// Rotation turns the box about its centre in pixels, not in canvas units: x is scaled by the aspect first.
QPointF LayerShapeEditor::toCanvas(const DrawnBox& box, Point mask) const {
  const double dx = (mask.x - 0.5) * box.size.width * box.aspect, dy = (mask.y - 0.5) * box.size.height;
  const double c = std::cos(box.rotation), s = std::sin(box.rotation);
  return {box.center.x + (dx * c - dy * s) / box.aspect, box.center.y + dx * s + dy * c};
}

Point LayerShapeEditor::toMask(const DrawnBox& box, double x, double y) const {
  const double dx = (x - box.center.x) * box.aspect, dy = y - box.center.y;
  const double c = std::cos(box.rotation), s = std::sin(box.rotation);
  return {(dx * c + dy * s) / (box.size.width * box.aspect) + 0.5, (-dx * s + dy * c) / box.size.height + 0.5};
}

QVariantList LayerShapeEditor::toCanvas(const DrawnBox& box, const std::vector<Point>& points) const {
  QVariantList list;
  for (const Point& point : points) list.push_back(toCanvas(box, point));
  return list;
}

QVariantList LayerShapeEditor::maskDraft() const {
  const auto box = drawnBox();
  return box ? toCanvas(*box, model_.editor.maskDraft.get()) : QVariantList{};
}

QVariantList LayerShapeEditor::maskRegions() const {
  const auto box = drawnBox();
  QVariantList regions;
  if (!box) return regions;
  for (const auto& region : model_.editor.selectedLayer()->maskPolygons.get()) {
    regions.push_back(toCanvas(*box, region));
  }
  return regions;
}

QVariantList LayerShapeEditor::pin() const {
  const LayerState* layer = model_.editor.selectedLayer();
  if (!layer || !layer->cornerPin) return {};
  const CornerPin& p = *layer->cornerPin;
  QVariantList corners;
  for (const Point& corner : {p.topLeft, p.topRight, p.bottomRight, p.bottomLeft}) {
    corners.push_back(QPointF(corner.x, corner.y));
  }
  return corners;
}

void LayerShapeEditor::addMaskPoint(double x, double y) {
  if (const auto box = drawnBox()) model_.editor.addMaskPoint(toMask(*box, x, y));
}

void LayerShapeEditor::undoMaskPoint() { model_.editor.undoMaskPoint(); }

void LayerShapeEditor::closeMaskRegion() { model_.editor.closeMaskRegion(); }

void LayerShapeEditor::clearMask() { model_.editor.clearMask(); }

void LayerShapeEditor::setPinned(bool on) {
  const LayerState* selected = model_.editor.selectedLayer();
  const auto box = drawnBox();
  if (!selected || !box || on == selected->cornerPin.has_value()) return;
  LayerState layer = *selected;
  if (on) {
    auto at = [&](double u, double v) {
      const QPointF p = toCanvas(*box, {u, v});
      return Point{p.x(), p.y()};
    };
    layer.cornerPin = CornerPin{at(0, 0), at(1, 0), at(0, 1), at(1, 1)};
  } else {
    layer.cornerPin.reset();
  }
  model_.editor.updateLayer(layer);
}

void LayerShapeEditor::movePinCorner(int corner, double x, double y) {
  const LayerState* selected = model_.editor.selectedLayer();
  if (!selected || !selected->cornerPin || corner < 0 || corner > 3) return;
  LayerState layer = *selected;
  CornerPin& p = *layer.cornerPin;
  Point* corners[] = {&p.topLeft, &p.topRight, &p.bottomRight, &p.bottomLeft};
  *corners[corner] = {x, y};
  model_.editor.updateLayer(layer);
}

}  // namespace tavorin

#include "ui/LayerInspector.h"

#include <QColor>
#include <QStringList>
#include <cmath>
#include <functional>
#include <numbers>

#include "app/AppModel.h"

namespace tavorin {

namespace {

struct PixelCanvas {
  double width, height;
};

// One row of the inspector: how it reads and writes a layer.
struct Field {
  const char* key;
  const char* label;
  const char* kind;  // number, bool, choice, color
  const char* unit;
  double min, max, step;
  QStringList choices;  // for kind "choice": the names, in the order of the values
  std::function<QVariant(const LayerState&, PixelCanvas)> get;
  std::function<void(LayerState&, const QVariant&, PixelCanvas)> set;
};

constexpr double kDegrees = 180.0 / std::numbers::pi;

QColor toColor(const RGBAColor& c) { return QColor::fromRgbF(c.r, c.g, c.b, c.a); }
RGBAColor fromColor(const QColor& c) {
  return {static_cast<float>(c.redF()), static_cast<float>(c.greenF()), static_cast<float>(c.blueF()),
          static_cast<float>(c.alphaF())};
}

Field number(const char* key, const char* label, const char* unit, double min, double max, double step,
             std::function<double(const LayerState&, PixelCanvas)> get, std::function<void(LayerState&, double, PixelCanvas)> set) {
  return {key, label, "number", unit, min, max, step, {},
          [get](const LayerState& l, PixelCanvas c) { return QVariant(get(l, c)); },
          [set](LayerState& l, const QVariant& v, PixelCanvas c) { set(l, v.toDouble(), c); }};
}

// A fraction of 0..1 shown in %.
Field percent(const char* key, const char* label, float LayerLook::*member) {
  return number(key, label, "%", 0, 100, 1, [member](const LayerState& l, PixelCanvas) { return l.*member * 100.0; },
                [member](LayerState& l, double v, PixelCanvas) { l.*member = static_cast<float>(v / 100); });
}

Field toggle(const char* key, const char* label, bool LayerState::*member) {
  return {key, label, "bool", "", 0, 1, 1, {}, [member](const LayerState& l, PixelCanvas) { return QVariant(l.*member); },
          [member](LayerState& l, const QVariant& v, PixelCanvas) { l.*member = v.toBool(); }};
}

Field toggleLook(const char* key, const char* label, bool LayerLook::*member) {
  return {key, label, "bool", "", 0, 1, 1, {}, [member](const LayerState& l, PixelCanvas) { return QVariant(l.*member); },
          [member](LayerState& l, const QVariant& v, PixelCanvas) { l.*member = v.toBool(); }};
}

template <class E>
Field choice(const char* key, const char* label, QStringList names, std::function<E&(LayerState&)> member) {
  return {key, label, "choice", "", 0, static_cast<double>(names.size() - 1), 1, names,
          [member](const LayerState& l, PixelCanvas) { return QVariant(static_cast<int>(member(const_cast<LayerState&>(l)))); },
          [member, count = names.size()](LayerState& l, const QVariant& v, PixelCanvas) {
            const int index = v.toInt();
            if (index >= 0 && index < count) member(l) = static_cast<E>(index);
          }};
}

Field color(const char* key, const char* label, RGBAColor LayerLook::*member) {
  return {key, label, "color", "", 0, 1, 1, {}, [member](const LayerState& l, PixelCanvas) { return QVariant(toColor(l.*member)); },
          [member](LayerState& l, const QVariant& v, PixelCanvas) {
            if (v.canConvert<QColor>()) l.*member = fromColor(v.value<QColor>());
          }};
}

// One corner's radius, in % of the box's shorter side as the uniform one.
Field corner(const char* key, const char* label, float CornerRadii::*member) {
  return number(key, label, "%", 0, 50, 1, [member](const LayerState& l, PixelCanvas) { return l.corners.*member * 100.0; },
                [member](LayerState& l, double v, PixelCanvas) { l.corners.*member = static_cast<float>(v / 100); });
}

const std::vector<Field>& table() {
  using Move = LayerAnimation::Move;
  using Kind = LayerAnimation::Kind;
  const QStringList moves{"None", "Fade", "Pop", "Slide left", "Slide right", "Slide top", "Slide bottom"};
  static const std::vector<Field> fields{
      number("x", "X", "px", -100000, 100000, 1,
             [](const LayerState& l, PixelCanvas c) { return (l.center.x - l.size.width / 2) * c.width; },
             [](LayerState& l, double v, PixelCanvas c) { l.center.x = v / c.width + l.size.width / 2; }),
      number("y", "Y", "px", -100000, 100000, 1,
             [](const LayerState& l, PixelCanvas c) { return (l.center.y - l.size.height / 2) * c.height; },
             [](LayerState& l, double v, PixelCanvas c) { l.center.y = v / c.height + l.size.height / 2; }),
      number("width", "Width", "px", 1, 100000, 1, [](const LayerState& l, PixelCanvas c) { return l.size.width * c.width; },
             [](LayerState& l, double v, PixelCanvas c) {
               const double left = l.center.x - l.size.width / 2;
               l.size.width = std::max(1.0, v) / c.width;
               l.center.x = left + l.size.width / 2;
             }),
      number("height", "Height", "px", 1, 100000, 1, [](const LayerState& l, PixelCanvas c) { return l.size.height * c.height; },
             [](LayerState& l, double v, PixelCanvas c) {
               const double top = l.center.y - l.size.height / 2;
               l.size.height = std::max(1.0, v) / c.height;
               l.center.y = top + l.size.height / 2;
             }),
      number("rotation", "Rotation", "°", -360, 360, 1, [](const LayerState& l, PixelCanvas) { return l.rotation * kDegrees; },
             [](LayerState& l, double v, PixelCanvas) { l.rotation = static_cast<float>(v / kDegrees); }),
      percent("opacity", "Opacity", &LayerLook::opacity),
      {"fill", "Fill the box (else fit)", "bool", "", 0, 1, 1, {},
       [](const LayerState& l, PixelCanvas) { return QVariant(l.fill); },
       [](LayerState& l, const QVariant& v, PixelCanvas) { l.fill = v.toBool(); }},
      number("cropLeft", "Crop left", "%", 0, 99, 1, [](const LayerState& l, PixelCanvas) { return l.cropRect.minX() * 100; },
             [](LayerState& l, double v, PixelCanvas) {
               const double right = l.cropRect.maxX();
               l.cropRect.origin.x = std::clamp(v / 100, 0.0, right - 0.01);
               l.cropRect.size.width = right - l.cropRect.origin.x;
             }),
      number("cropRight", "Crop right", "%", 0, 99, 1,
             [](const LayerState& l, PixelCanvas) { return (1 - l.cropRect.maxX()) * 100; },
             [](LayerState& l, double v, PixelCanvas) {
               l.cropRect.size.width = std::max(0.01, 1 - v / 100 - l.cropRect.origin.x);
             }),
      number("cropTop", "Crop top", "%", 0, 99, 1, [](const LayerState& l, PixelCanvas) { return l.cropRect.minY() * 100; },
             [](LayerState& l, double v, PixelCanvas) {
               const double bottom = l.cropRect.maxY();
               l.cropRect.origin.y = std::clamp(v / 100, 0.0, bottom - 0.01);
               l.cropRect.size.height = bottom - l.cropRect.origin.y;
             }),
      number("cropBottom", "Crop bottom", "%", 0, 99, 1,
             [](const LayerState& l, PixelCanvas) { return (1 - l.cropRect.maxY()) * 100; },
             [](LayerState& l, double v, PixelCanvas) {
               l.cropRect.size.height = std::max(0.01, 1 - v / 100 - l.cropRect.origin.y);
             }),
      number("cornerRadius", "Corner radius", "%", 0, 50, 1,
             [](const LayerState& l, PixelCanvas) { return l.corners.topLeft * 100.0; },
             [](LayerState& l, double v, PixelCanvas) { l.corners = CornerRadii::uniform(static_cast<float>(v / 100)); }),
      corner("radiusTopLeft", "  Top left", &CornerRadii::topLeft),
      corner("radiusTopRight", "  Top right", &CornerRadii::topRight),
      corner("radiusBottomRight", "  Bottom right", &CornerRadii::bottomRight),
      corner("radiusBottomLeft", "  Bottom left", &CornerRadii::bottomLeft),
      number("borderWidth", "Border", "px", 0, 200, 1, [](const LayerState& l, PixelCanvas) { return l.borderWidth; },
             [](LayerState& l, double v, PixelCanvas) { l.borderWidth = static_cast<float>(v); }),
      color("borderColor", "Border colour", &LayerLook::borderColor),
      percent("shadowOpacity", "Shadow", &LayerLook::shadowOpacity),
      percent("shadowRadius", "Shadow softness", &LayerLook::shadowRadius),
      number("shadowX", "Shadow offset X", "px", -2000, 2000, 1,
             [](const LayerState& l, PixelCanvas c) { return l.shadowOffset.width * c.width; },
             [](LayerState& l, double v, PixelCanvas c) { l.shadowOffset.width = v / c.width; }),
      number("shadowY", "Shadow offset Y", "px", -2000, 2000, 1,
             [](const LayerState& l, PixelCanvas c) { return l.shadowOffset.height * c.height; },
             [](LayerState& l, double v, PixelCanvas c) { l.shadowOffset.height = v / c.height; }),
      toggleLook("flipHorizontal", "Flip horizontally", &LayerLook::flipHorizontal),
      toggleLook("flipVertical", "Flip vertically", &LayerLook::flipVertical),
      choice<KeyMode>("keyMode", "Key", {"None", "Chroma key", "Person"}, [](LayerState& l) -> KeyMode& { return l.keyMode; }),
      color("keyColor", "Key colour", &LayerLook::keyColor),
      percent("keyThreshold", "Key threshold", &LayerLook::keyThreshold),
      percent("keySmoothness", "Key smoothness", &LayerLook::keySmoothness),
      {"segmentationQuality", "Person quality", "choice", "", 0, 2, 1, {"Fast", "Balanced", "Accurate"},
       [](const LayerState& l, PixelCanvas) { return QVariant(std::clamp(l.segmentationQuality, 0, 2)); },
       [](LayerState& l, const QVariant& v, PixelCanvas) { l.segmentationQuality = std::clamp(v.toInt(), 0, 2); }},
      percent("segmentationSmoothing", "Person edge smoothing", &LayerLook::segmentationSmoothing),
      percent("backgroundBlur", "Background blur", &LayerLook::backgroundBlur),
      choice<MaskMode>("maskMode", "Mask", {"None", "Cut out", "Keep only"}, [](LayerState& l) -> MaskMode& { return l.maskMode; }),
      choice<Kind>("animation", "Idle motion", {"None", "Fade", "Rotate clockwise", "Rotate anticlockwise", "Jitter"},
                   [](LayerState& l) -> Kind& { return l.animation.kind; }),
      number("animationSpeed", "Motion speed", "×", 0.1, 10, 0.1, [](const LayerState& l, PixelCanvas) { return l.animation.speed; },
             [](LayerState& l, double v, PixelCanvas) { l.animation.speed = v; }),
      choice<Move>("enter", "Enter", moves, [](LayerState& l) -> Move& { return l.animation.enter; }),
      number("enterDuration", "Enter time", "s", 0, 10, 0.05, [](const LayerState& l, PixelCanvas) { return l.animation.enterDuration; },
             [](LayerState& l, double v, PixelCanvas) { l.animation.enterDuration = v; }),
      choice<Move>("exit", "Exit", moves, [](LayerState& l) -> Move& { return l.animation.exit; }),
      number("exitDuration", "Exit time", "s", 0, 10, 0.05, [](const LayerState& l, PixelCanvas) { return l.animation.exitDuration; },
             [](LayerState& l, double v, PixelCanvas) { l.animation.exitDuration = v; }),
      toggle("hidden", "Hidden", &LayerState::hidden),
      toggle("locked", "Locked", &LayerState::locked),
  };
  return fields;
}

PixelCanvas canvasOf(const AppModel& model) {
  const auto size = model.switcher.canvasPixelSize ? model.switcher.canvasPixelSize() : std::nullopt;
  return size ? PixelCanvas{size->width, size->height} : PixelCanvas{1920, 1080};
}

}  // namespace

LayerInspector::LayerInspector(AppModel& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
  auto changed = [this](const auto&) { refresh(); };
  subscriptions_.push_back(model.switcher.previewScene.subscribe(changed));
  subscriptions_.push_back(model.editor.selectedLayerID.subscribe(changed));
  refresh();
}

void LayerInspector::refresh() {
  const LayerState* layer = model_.editor.selectedLayer();
  const bool wasActive = shown_.has_value();
  if (layer && wasActive && *layer == *shown_) return;
  if (layer && wasActive) {
    shown_ = *layer;
    Q_EMIT dataChanged(index(0), index(rowCount() - 1), {valueRole});
    return;
  }
  beginResetModel();
  shown_ = layer ? std::optional<LayerState>(*layer) : std::nullopt;
  endResetModel();
  if (wasActive != shown_.has_value()) Q_EMIT activeChanged();
}

int LayerInspector::rowCount(const QModelIndex& parent) const {
  return parent.isValid() || !shown_ ? 0 : static_cast<int>(table().size());
}

QVariant LayerInspector::data(const QModelIndex& index, int role) const {
  if (!shown_ || index.row() < 0 || index.row() >= rowCount()) return {};
  const Field& field = table()[static_cast<std::size_t>(index.row())];
  switch (role) {
    case keyRole: return QString(field.key);
    case labelRole: return QString(field.label);
    case kindRole: return QString(field.kind);
    case unitRole: return QString(field.unit);
    case minRole: return field.min;
    case maxRole: return field.max;
    case stepRole: return field.step;
    case choicesRole: return field.choices;
    case valueRole: return field.get(*shown_, canvasOf(model_));
  }
  return {};
}

QHash<int, QByteArray> LayerInspector::roleNames() const {
  return {{keyRole, "key"},   {labelRole, "label"}, {kindRole, "kind"},       {unitRole, "unit"},  {minRole, "min"},
          {maxRole, "max"},   {stepRole, "step"},   {choicesRole, "choices"}, {valueRole, "value"}};
}

void LayerInspector::setValue(const QString& key, const QVariant& value) {
  const LayerState* selected = model_.editor.selectedLayer();
  if (!selected) return;
  for (const Field& field : table()) {
    if (key != field.key) continue;
    LayerState layer = *selected;
    field.set(layer, value, canvasOf(model_));
    if (layer != *selected) model_.editor.updateLayer(layer);
    return;
  }
}

}  // namespace tavorin

namespace tavorin {

void LayerInspector::setPickingKey(const QString& key) {
  if (key == pickingKey_) return;
  pickingKey_ = key;
  Q_EMIT pickingChanged();
}

void LayerInspector::pickFromPreview(double x, double y) {
  const QString key = pickingKey_;
  setPickingKey({});
  const FrameRef frame = model_.engine ? model_.engine->drawnFrame(tavorin::Canvas::preview) : nullptr;
  if (key.isEmpty() || !frame || x < 0 || x >= 1 || y < 0 || y >= 1) return;
  const std::uint8_t* pixel = frame->row(static_cast<int>(y * frame->height())) + static_cast<int>(x * frame->width()) * 4;
  // Premultiplied BGRA: the colour itself is the stored one over its alpha.
  const double alpha = pixel[3] / 255.0;
  if (alpha <= 0) return;
  auto channel = [&](std::uint8_t v) { return std::min(1.0, v / 255.0 / alpha); };
  setValue(key, QColor::fromRgbF(static_cast<float>(channel(pixel[2])), static_cast<float>(channel(pixel[1])),
                                 static_cast<float>(channel(pixel[0]))));
}

}  // namespace tavorin

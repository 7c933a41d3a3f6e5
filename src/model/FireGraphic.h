#pragma once

#include <optional>
#include <string>

#include "base/Uuid.h"
#include "model/Geometry.h"
#include "model/LayerAnimation.h"
#include "model/LayerState.h"
#include "model/OverlayManifest.h"

namespace tavorin {

// A prepared graphic (a cue, in the operator's words) shot over Program and
// gone by itself or on a second press: a private copy of a library overlay,
// or any source of the show.
struct FireGraphic {
  Uuid id = Uuid::make();
  std::string name = "Cue";
  std::optional<Uuid> overlayID;         // the library overlay shown; else sourceID says what
  std::optional<std::string> sourceID;   // a source of the show
  OverlayConfig config;                  // the overlay's param values
  Point center{0.5, 0.88};               // unit coordinates of the canvas, as on a layer
  Size size{1.0, 0.2};
  double durationSeconds = 0;            // auto-hide; 0 or less stays until dismissed
  std::optional<Uuid> soundID;           // a sound effect played on firing
  std::optional<LayerState> state;       // the layer design captured from the canvas
  LayerAnimation::Move enterMove = LayerAnimation::Move::none;
  double enterDuration = 0.35;
  LayerAnimation::Move exitMove = LayerAnimation::Move::none;
  double exitDuration = 0.3;

  friend bool operator==(const FireGraphic&, const FireGraphic&) = default;
};

}  // namespace tavorin

#pragma once

#include <string>
#include <utility>

#include "model/ShapeConfig.h"
#include "sources/GeneratedStill.h"
#include "sources/ShapePainter.h"

namespace tavorin {

// A shape filled with a colour or a gradient, always a 1024 by 1024 picture;
// the layer decides how it stands on the canvas.
class ShapeSource final : public GeneratedStill<ShapeConfig, ShapePainter> {
 public:
  ShapeSource(std::string id, std::string displayName, ShapeConfig design = {})
      : GeneratedStill(std::move(id), std::move(displayName), std::move(design), "Tavorin.Shape") {}
};

}  // namespace tavorin

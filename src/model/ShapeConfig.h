#pragma once

#include <string_view>
#include <utility>

#include "base/EnumNames.h"
#include "model/ShapeFill.h"

namespace tavorin {

enum class ShapeType { rectangle, square, circle, hexagon, octagon, star, heart };

template <>
struct EnumNames<ShapeType> {
  using S = ShapeType;
  static constexpr std::pair<S, std::string_view> table[] = {
      {S::rectangle, "rectangle"}, {S::square, "square"}, {S::circle, "circle"}, {S::hexagon, "hexagon"},
      {S::octagon, "octagon"},     {S::star, "star"},     {S::heart, "heart"}};
};

// The design of a shape source: what it draws and with which paint.
struct ShapeConfig {
  ShapeType shape = ShapeType::rectangle;
  ShapeFill fill;

  friend bool operator==(const ShapeConfig&, const ShapeConfig&) = default;
};

}  // namespace tavorin

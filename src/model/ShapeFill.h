#pragma once

#include <string_view>
#include <utility>

#include "base/EnumNames.h"
#include "model/RGBAColor.h"

namespace tavorin {

// How a shape, or a text's background panel, is painted.
struct ShapeFill {
  enum class Style { solid, linear, radial, angular };

  Style style = Style::solid;
  RGBAColor color1{0.3f, 0.55f, 1, 1};  // the solid colour, or the gradient's first
  RGBAColor color2{0.85f, 0.3f, 0.75f, 1};
  double angle = 0;  // degrees: the direction of `linear`, the start of `angular`
  float opacity = 1;  // multiplies both colours' alpha

  friend bool operator==(const ShapeFill&, const ShapeFill&) = default;
};

template <>
struct EnumNames<ShapeFill::Style> {
  using S = ShapeFill::Style;
  static constexpr std::pair<S, std::string_view> table[] = {
      {S::solid, "solid"}, {S::linear, "linear"}, {S::radial, "radial"}, {S::angular, "angular"}};
};

}  // namespace tavorin

#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "base/EnumNames.h"
#include "model/RGBAColor.h"
#include "model/ShapeFill.h"

namespace tavorin {

// The design of a text source (a title). Sizes are in pixels of its picture.
struct TextConfig {
  enum class Align { left, center, right };

  std::string text = "Text";
  std::string fontName = "Helvetica Neue";  // the system font when no such family is installed
  double fontSize = 160;
  bool bold = false;
  bool italic = false;
  RGBAColor color{1, 1, 1, 1};
  Align alignment = Align::center;
  bool backgroundEnabled = false;
  ShapeFill background;
  double cornerRadius = 0.35;  // a share of half the picture's shorter side
  double padding = 0.3;  // a share of fontSize

  friend bool operator==(const TextConfig&, const TextConfig&) = default;
};

template <>
struct EnumNames<TextConfig::Align> {
  using A = TextConfig::Align;
  static constexpr std::pair<A, std::string_view> table[] = {
      {A::left, "left"}, {A::center, "center"}, {A::right, "right"}};
};

}  // namespace tavorin

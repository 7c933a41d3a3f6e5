#pragma once

namespace tavorin {

// A colour with components from 0 to 1.
struct RGBAColor {
  float r = 0;
  float g = 0;
  float b = 0;
  float a = 1;
  friend bool operator==(const RGBAColor&, const RGBAColor&) = default;
};

}  // namespace tavorin

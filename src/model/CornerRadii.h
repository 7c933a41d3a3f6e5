#pragma once

namespace tavorin {

// Rounded corners of a layer, in units of its drawn height.
struct CornerRadii {
  float topLeft = 0;
  float topRight = 0;
  float bottomLeft = 0;
  float bottomRight = 0;

  static CornerRadii uniform(float r) { return {r, r, r, r}; }
  friend bool operator==(const CornerRadii&, const CornerRadii&) = default;
};

}  // namespace tavorin

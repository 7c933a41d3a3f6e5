#pragma once

#include <array>

namespace tavorin {

using Float4 = std::array<float, 4>;
// 4x4 matrix of floats in column order.
using Matrix4 = std::array<float, 16>;

inline constexpr Matrix4 kIdentityMatrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// What one main quad of a layer hands its shaders: a matrix and ten vectors.
struct QuadUniforms {
  Matrix4 transform = kIdentityMatrix;  // unit quad to clip space
  Float4 crop{1, 1, 0, 0};              // width, height, origin x, origin y
  Float4 misc{1, 0, 1, 0};              // opacity, border width, quad aspect, flip flags (1 h, 2 v)
  Float4 corners{0, 0, 0, 0};           // top right, bottom right, top left, bottom left
  Float4 borderColor{0, 0, 0, 0};
  Float4 keyParams{0, 0, 0, 0};         // key mode (0 none, 1 chroma, 2 person), threshold, softness
  Float4 keyColor{0, 0, 0, 0};
  Float4 pinTop{0, 0, 0, 0};            // top left, top right pins in clip space
  Float4 pinBottom{0, 0, 0, 0};         // bottom right, bottom left pins in clip space
  Float4 pinQ{1, 1, 1, 1};              // projective weights: top left, top right, bottom right, bottom left
  Float4 maskParams{0, 0, 0, 0};        // polygon mask mode (0 none, 1 exclude, 2 include)

  friend bool operator==(const QuadUniforms&, const QuadUniforms&) = default;
};
static_assert(sizeof(QuadUniforms) == sizeof(float) * (16 + 10 * 4), "tightly packed");

// What a layer's shadow quad hands its shaders.
struct DecorationUniforms {
  Matrix4 transform = kIdentityMatrix;  // unit quad to clip space, grown for the shadow
  Float4 color{0, 0, 0, 0};             // (0, 0, 0, opacity x shadow opacity)
  Float4 params{1, 0, 0, 0};            // quad aspect, shadow radius, pad
  Float4 offset{0, 0, 0, 0};            // shadow offset x, negated shadow offset y
  Float4 corners{0, 0, 0, 0};

  friend bool operator==(const DecorationUniforms&, const DecorationUniforms&) = default;
};
static_assert(sizeof(DecorationUniforms) == sizeof(float) * (16 + 4 * 4), "tightly packed");

}  // namespace tavorin

#include "model/LayerAnimation.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "model/LayerLook.h"

namespace tavorin {

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;
constexpr double kShortestMove = 0.05;
constexpr double kSlowestSpeed = 0.05;

}  // namespace

void applyMove(LayerAnimation::Move move, LayerLook& layer, double f) {
  using Move = LayerAnimation::Move;
  f = std::clamp(f, 0.0, 1.0);
  switch (move) {
    case Move::none:
      break;
    case Move::fade:
      layer.opacity *= static_cast<float>(1 - f);
      break;
    case Move::pop: {
      const double scale = std::max(1 - f, 0.001);
      layer.size.width *= scale;
      layer.size.height *= scale;
      layer.opacity *= static_cast<float>(1 - 0.4 * f);
      break;
    }
    // Each slide goes its own size plus half a canvas: off screen from anywhere usual.
    case Move::slideLeft:
      layer.center.x -= f * (layer.size.width + 0.5);
      break;
    case Move::slideRight:
      layer.center.x += f * (layer.size.width + 0.5);
      break;
    case Move::slideTop:
      layer.center.y -= f * (layer.size.height + 0.5);
      break;
    case Move::slideBottom:
      layer.center.y += f * (layer.size.height + 0.5);
      break;
  }
}

void LayerAnimation::apply(LayerLook& layer, double t) const {
  if (enterAt) {
    const double u = (t - *enterAt) / std::max(enterDuration, kShortestMove);
    if (u < 0) applyMove(enter, layer, 1);
    else if (u < 1) applyMove(enter, layer, std::pow(1 - u, 3));  // fast start, soft landing
  }
  if (exitAt) {
    const double u = (t - *exitAt) / std::max(exitDuration, kShortestMove);
    if (u >= 1) layer.opacity = 0;
    else if (u >= 0) applyMove(exit, layer, u * u * u);  // slow start, fast departure
  }
  if (kind == Kind::none) return;
  // Absolute time and no start: a take never resets the phase, and equal motions move in step.
  const double s = speed <= kSlowestSpeed ? kSlowestSpeed : speed;
  switch (kind) {
    case Kind::none:
      break;
    case Kind::fade:
      layer.opacity *= static_cast<float>((1 - std::cos(kTwoPi * 0.2 * s * t)) / 2);
      break;
    case Kind::rotateCW:
      layer.rotation += static_cast<float>(kTwoPi * 0.1 * s * t);
      break;
    case Kind::rotateCCW:
      layer.rotation -= static_cast<float>(kTwoPi * 0.1 * s * t);
      break;
    case Kind::jitter: {
      const double a = 6 * s * t;
      layer.center.x += 0.012 * (0.4 * std::sin(1.7 * a + 1.3) + 0.6 * std::sin(a));
      layer.center.y += 0.012 * (0.6 * std::cos(1.3 * a) + 0.4 * std::sin(2.3 * a + 0.7));
      layer.rotation += static_cast<float>(0.025 * std::sin(0.9 * a));
      break;
    }
  }
}

}  // namespace tavorin

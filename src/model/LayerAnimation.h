#pragma once

#include <optional>
#include <string_view>
#include <utility>

#include "base/EnumNames.h"

namespace tavorin {

struct LayerLook;

// A layer's running motion and its enter and exit moves.
struct LayerAnimation {
  enum class Kind { none, fade, rotateCW, rotateCCW, jitter };
  enum class Move { none, fade, pop, slideLeft, slideRight, slideTop, slideBottom };

  Kind kind = Kind::none;
  double speed = 1.0;
  Move enter = Move::none;
  double enterDuration = 0.35;
  std::optional<double> enterAt;  // host time at which the enter move starts
  Move exit = Move::none;
  double exitDuration = 0.3;
  std::optional<double> exitAt;  // host time at which the exit move starts

  // Applies the motion at host time `time` to a layer's drawn copy.
  void apply(LayerLook& layer, double time) const;

  friend bool operator==(const LayerAnimation&, const LayerAnimation&) = default;
};

// Moves a layer's copy a fraction `f` (0 at rest, 1 fully away) along an
// enter or exit move; f is clamped to 0..1.
void applyMove(LayerAnimation::Move move, LayerLook& layer, double f);

template <>
struct EnumNames<LayerAnimation::Kind> {
  using K = LayerAnimation::Kind;
  static constexpr std::pair<K, std::string_view> table[] = {
      {K::none, "none"}, {K::fade, "fade"}, {K::rotateCW, "rotateCW"}, {K::rotateCCW, "rotateCCW"}, {K::jitter, "jitter"}};
};

template <>
struct EnumNames<LayerAnimation::Move> {
  using M = LayerAnimation::Move;
  static constexpr std::pair<M, std::string_view> table[] = {
      {M::none, "none"},           {M::fade, "fade"},         {M::pop, "pop"},
      {M::slideLeft, "slideLeft"}, {M::slideRight, "slideRight"}, {M::slideTop, "slideTop"},
      {M::slideBottom, "slideBottom"}};
};

}  // namespace tavorin

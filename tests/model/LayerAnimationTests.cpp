#include <gtest/gtest.h>

#include <numbers>

#include "model/LayerAnimation.h"
#include "model/RenderLayer.h"

namespace tavorin {
namespace {

RenderLayer animated(const LayerAnimation& animation, double t) {
  RenderLayer layer;
  layer.center = {0.3, 0.4};
  layer.size = {0.2, 0.1};
  layer.opacity = 0.8f;
  animation.apply(layer, t);
  return layer;
}

TEST(LayerAnimation, EnterMoveWaitsAwayThenSettles) {
  LayerAnimation a;
  a.enter = LayerAnimation::Move::slideLeft;
  a.enterAt = 10.0;
  a.enterDuration = 1.0;
  EXPECT_DOUBLE_EQ(animated(a, 9.0).center.x, 0.3 - 0.7);  // before the start: fully away
  EXPECT_DOUBLE_EQ(animated(a, 10.0).center.x, 0.3 - 0.7);
  EXPECT_DOUBLE_EQ(animated(a, 10.5).center.x, 0.3 - 0.7 * 0.125);  // (1 - u)^3
  EXPECT_DOUBLE_EQ(animated(a, 11.0).center.x, 0.3);
  // A zero duration still lasts 0.05 s.
  a.enterDuration = 0;
  EXPECT_NEAR(animated(a, 10.025).center.x, 0.3 - 0.7 * 0.125, 1e-12);
}

TEST(LayerAnimation, ExitMoveLeavesThenHides) {
  LayerAnimation a;
  a.exit = LayerAnimation::Move::none;
  a.exitAt = 5.0;
  a.exitDuration = 0.5;
  EXPECT_FLOAT_EQ(animated(a, 5.4).opacity, 0.8f);  // no move: as it is until the end
  EXPECT_FLOAT_EQ(animated(a, 5.5).opacity, 0.0f);
  a.exit = LayerAnimation::Move::pop;
  const RenderLayer half = animated(a, 5.25);  // u^3 = 0.125
  EXPECT_DOUBLE_EQ(half.size.width, 0.2 * 0.875);
  EXPECT_FLOAT_EQ(half.opacity, 0.8f * (1 - 0.4f * 0.125f));
  // Enter first, then exit, on one layer.
  a.enter = LayerAnimation::Move::slideBottom;
  a.enterAt = 5.0;
  a.enterDuration = 1.0;
  const RenderLayer both = animated(a, 5.25);
  EXPECT_GT(both.center.y, 0.4);
  EXPECT_DOUBLE_EQ(both.size.width, 0.2 * 0.875);
}

TEST(LayerAnimation, MovesAtTheirEnds) {
  RenderLayer layer;
  layer.size = {0.5, 0.5};
  applyMove(LayerAnimation::Move::pop, layer, 3.0);  // clamped to 1
  EXPECT_DOUBLE_EQ(layer.size.width, 0.5 * 0.001);
  EXPECT_FLOAT_EQ(layer.opacity, 0.6f);
}

TEST(LayerAnimation, RunningMotionsUseAbsoluteTime) {
  LayerAnimation a;
  a.kind = LayerAnimation::Kind::fade;
  EXPECT_FLOAT_EQ(animated(a, 0).opacity, 0.0f);
  EXPECT_FLOAT_EQ(animated(a, 2.5).opacity, 0.8f);
  a.kind = LayerAnimation::Kind::rotateCW;
  EXPECT_NEAR(animated(a, 2.5).rotation, std::numbers::pi / 2, 1e-5);
  a.kind = LayerAnimation::Kind::rotateCCW;
  a.speed = 0;  // never frozen: 0.05
  EXPECT_NEAR(animated(a, 10).rotation, -2 * std::numbers::pi * 0.1 * 0.05 * 10, 1e-5);
  a.kind = LayerAnimation::Kind::jitter;
  a.speed = 1;
  const RenderLayer wander = animated(a, 1.0);
  EXPECT_NE(wander.center.x, 0.3);
  EXPECT_LT(std::abs(wander.center.x - 0.3), 0.0121);
}

}  // namespace
}  // namespace tavorin

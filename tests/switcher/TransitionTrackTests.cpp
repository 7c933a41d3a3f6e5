#include "model/TransitionTrack.h"

#include <gtest/gtest.h>

namespace tavorin {
namespace {

TransitionKeyframe key(double time, double x, float opacity = 1) {
  TransitionKeyframe k;
  k.time = time;
  k.state = LayerState::make("logo");
  k.state.id = Uuid{};  // equal poses must compare equal
  k.state.center = {x, 0.5};
  k.state.opacity = opacity;
  return k;
}

TransitionTrack trackOf(std::vector<TransitionKeyframe> keys) {
  TransitionTrack track;
  track.sourceID = "logo";
  track.keyframes = std::move(keys);
  return track;
}

double xAt(const TransitionTrack& track, float p) { return track.layer(p)->center.x; }

TEST(TransitionTrack, EasesBetweenTwoKeyframes) {
  auto track = trackOf({key(0, 0), key(1, 1)});
  // Flat tangents at both ends: the smoothstep curve.
  EXPECT_NEAR(xAt(track, 0.5f), 0.5, 1e-9);
  EXPECT_NEAR(xAt(track, 0.25f), 0.15625, 1e-9);
  EXPECT_TRUE(track.layer(0.25f)->fill);
  // Outside the keyframes' times the layer stands at the nearest one; it does not vanish.
  auto late = trackOf({key(0.2, 0.1), key(0.8, 0.9)});
  EXPECT_DOUBLE_EQ(xAt(late, 0), 0.1);
  EXPECT_DOUBLE_EQ(xAt(late, 1), 0.9);
  EXPECT_FALSE(trackOf({}).layer(0.5f));
}

TEST(TransitionTrack, InnerKeyframeOfAMonotoneRunHasASlope) {
  auto track = trackOf({key(0, 0), key(0.5, 0.5), key(1, 1)});
  // Tangent 1 at the middle key, 0 at the first: h = 0.5 * 0.5 + (0.125 - 0.25) * 0.5 * 1.
  EXPECT_NEAR(xAt(track, 0.25f), 0.1875, 1e-7);
}

TEST(TransitionTrack, KeyframesInAnyOrderDrawAsSorted) {
  auto sorted = trackOf({key(0, 0), key(0.5, 0.8), key(1, 0.2)});
  auto shuffled = trackOf({key(1, 0.2), key(0, 0), key(0.5, 0.8)});
  for (float p : {0.1f, 0.3f, 0.6f, 0.9f}) EXPECT_DOUBLE_EQ(xAt(shuffled, p), xAt(sorted, p)) << p;
}

TEST(TransitionTrack, PeakDoesNotOvershootAndHoldsStayFlat) {
  auto peak = trackOf({key(0, 0), key(0.5, 0.8), key(1, 0.2)});
  for (int i = 0; i <= 100; ++i) {
    double x = xAt(peak, static_cast<float>(i) / 100);
    EXPECT_GE(x, 0);
    EXPECT_LE(x, 0.8 + 1e-12);
  }
  // A hold between two equal keyframes stays put, also right next to its ends.
  auto hold = trackOf({key(0, 0), key(0.4, 0.6), key(0.6, 0.6), key(1, 0)});
  EXPECT_DOUBLE_EQ(xAt(hold, 0.41f), 0.6);
  EXPECT_DOUBLE_EQ(xAt(hold, 0.59f), 0.6);
  EXPECT_LE(xAt(hold, 0.38f), 0.6);
  EXPECT_LE(xAt(hold, 0.62f), 0.6);
}

TEST(TransitionTrack, OpacityStaysInRangeAndSizeNeverNegative) {
  auto a = key(0, 0.5, 1.4f);
  auto b = key(1, 0.5, 1.2f);
  b.state.size = {0, 0};
  b.state.flipVertical = true;
  auto track = trackOf({a, b});
  auto r = *track.layer(0.5f);
  EXPECT_FLOAT_EQ(r.opacity, 1);
  EXPECT_GE(r.size.width, 0);
  EXPECT_NEAR(r.size.height, 0, 1e-12);  // changing vertical flip: zero height at the midpoint
  EXPECT_GT(track.layer(0.25f)->size.height, 0);
}

}  // namespace
}  // namespace tavorin

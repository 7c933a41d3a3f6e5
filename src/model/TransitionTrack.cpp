#include "model/TransitionTrack.h"

#include <algorithm>
#include <cmath>

#include "model/LayerInterpolation.h"

namespace tavorin {

namespace {

// The six values that move along a Hermite curve instead of a straight line.
enum class Channel { centerX, centerY, width, height, rotation, opacity };
constexpr Channel kChannels[] = {Channel::centerX, Channel::centerY, Channel::width,
                                 Channel::height,  Channel::rotation, Channel::opacity};

double value(const TransitionKeyframe& k, Channel c) {
  const LayerState& s = k.state;
  switch (c) {
    case Channel::centerX: return s.center.x;
    case Channel::centerY: return s.center.y;
    case Channel::width: return s.size.width;
    case Channel::height: return s.size.height;
    case Channel::rotation: return s.rotation;
    case Channel::opacity: return s.opacity;
  }
  return 0;
}

float keyTime(const TransitionKeyframe& k) { return static_cast<float>(k.time); }

// Keyframes in time order, seen through `at(i)`, so that an already sorted
// track (the usual case) is read in place without a copy.
template <class At>
class SortedKeys {
 public:
  SortedKeys(std::size_t count, At at) : count_(count), at_(at) {}
  std::size_t size() const { return count_; }
  const TransitionKeyframe& operator[](std::size_t i) const { return at_(i); }

 private:
  std::size_t count_;
  At at_;
};

// The tangent of one value at keyframe i. Zero at the ends and next to a hold,
// so holds stay flat; zero at a peak or valley and limited elsewhere, so the
// curve never overshoots its keyframes.
template <class Keys, class Value>
double tangent(const Keys& keys, std::size_t i, Value&& value) {
  if (i == 0 || i + 1 >= keys.size()) return 0;
  const auto& prev = keys[i - 1];
  const auto& cur = keys[i];
  const auto& next = keys[i + 1];
  if (cur.state == prev.state || cur.state == next.state) return 0;
  const double dl = std::max(cur.time - prev.time, 0.0001);
  const double dr = std::max(next.time - cur.time, 0.0001);
  const double vPrev = value(prev);
  const double vCur = value(cur);
  const double vNext = value(next);
  const double sl = (vCur - vPrev) / dl;
  const double sr = (vNext - vCur) / dr;
  if (sl * sr <= 0) return 0;
  const double m = (vNext - vPrev) / (dl + dr);
  const double limit = 3 * std::min(std::fabs(sl), std::fabs(sr));
  return std::clamp(m, -limit, limit);
}

double hermite(double u, double d, double va, double ma, double vb, double mb) {
  const double u2 = u * u;
  const double u3 = u2 * u;
  return (2 * u3 - 3 * u2 + 1) * va + (u3 - 2 * u2 + u) * d * ma + (3 * u2 - 2 * u3) * vb + (u3 - u2) * d * mb;
}

// The index i of the neighbours (i, i + 1) around p, for p strictly inside the keys' span.
template <class Keys>
std::size_t segmentAt(const Keys& keys, float p) {
  std::size_t i = 0;
  while (i + 1 < keys.size() && !(keyTime(keys[i]) <= p && p <= keyTime(keys[i + 1]))) ++i;
  return i;
}

// One value eased between keyframes i and i + 1 at u.
template <class Keys, class Value>
double easedValue(const Keys& keys, std::size_t i, double u, Value&& value) {
  const double d = std::max(keys[i + 1].time - keys[i].time, 0.0001);
  return hermite(u, d, value(keys[i]), tangent(keys, i, value), value(keys[i + 1]), tangent(keys, i + 1, value));
}

template <class Keys>
std::optional<RenderLayer> layerAt(const Keys& keys, float p) {
  const std::size_t n = keys.size();
  if (n == 0) return std::nullopt;
  if (n == 1 || p <= keyTime(keys[0])) return keys[0].state.toRenderLayer();
  if (p >= keyTime(keys[n - 1])) return keys[n - 1].state.toRenderLayer();

  const std::size_t i = segmentAt(keys, p);
  const auto& a = keys[i];
  const auto& b = keys[i + 1];
  if (a.state == b.state) return a.state.toRenderLayer();

  const float span = keyTime(b) - keyTime(a);
  const float u = span > 0.0001f ? (p - keyTime(a)) / span : 0.0f;
  RenderLayer r = interpolateLayer(a.state, b.state, u);

  const double ud = u;
  double eased[std::size(kChannels)];
  for (std::size_t c = 0; c < std::size(kChannels); ++c) {
    eased[c] = easedValue(keys, i, ud, [ch = kChannels[c]](const TransitionKeyframe& k) { return value(k, ch); });
  }
  r.center.x = eased[0];
  r.center.y = eased[1];
  const double turn = std::fabs(1.0 - 2.0 * ud);
  r.size.width = std::max(eased[2], 0.0);
  r.size.height = std::max(eased[3], 0.0);
  if (a.state.flipHorizontal != b.state.flipHorizontal) r.size.width *= turn;
  if (a.state.flipVertical != b.state.flipVertical) r.size.height *= turn;
  r.rotation = static_cast<float>(eased[4]);
  r.opacity = std::clamp(static_cast<float>(eased[5]), 0.0f, 1.0f);
  return r;
}

template <class Keys>
TextPose poseAt(const Keys& keys, float p) {
  const std::size_t n = keys.size();
  if (n == 1 || p <= keyTime(keys[0])) return {keys[0].yawDeg, keys[0].pitchDeg};
  if (p >= keyTime(keys[n - 1])) return {keys[n - 1].yawDeg, keys[n - 1].pitchDeg};
  const std::size_t i = segmentAt(keys, p);
  const float span = keyTime(keys[i + 1]) - keyTime(keys[i]);
  const double u = span > 0.0001f ? (p - keyTime(keys[i])) / span : 0.0f;
  return {easedValue(keys, i, u, [](const TransitionKeyframe& k) { return k.yawDeg; }),
          easedValue(keys, i, u, [](const TransitionKeyframe& k) { return k.pitchDeg; })};
}

// Calls `fn` with the keyframes seen in time order, sorting a copy of the
// pointers only when the track is not already in order.
template <class Fn>
auto withSortedKeys(const std::vector<TransitionKeyframe>& keyframes, Fn&& fn) {
  const auto byTime = [](const TransitionKeyframe& x, const TransitionKeyframe& y) { return keyTime(x) < keyTime(y); };
  if (std::is_sorted(keyframes.begin(), keyframes.end(), byTime)) {
    auto at = [&keyframes](std::size_t i) -> const TransitionKeyframe& { return keyframes[i]; };
    return fn(SortedKeys(keyframes.size(), at));
  }
  std::vector<const TransitionKeyframe*> sorted;
  sorted.reserve(keyframes.size());
  for (const auto& k : keyframes) sorted.push_back(&k);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [&](const TransitionKeyframe* x, const TransitionKeyframe* y) { return byTime(*x, *y); });
  auto at = [&sorted](std::size_t i) -> const TransitionKeyframe& { return *sorted[i]; };
  return fn(SortedKeys(sorted.size(), at));
}

}  // namespace

std::optional<RenderLayer> TransitionTrack::layer(float p) const {
  return withSortedKeys(keyframes, [p](const auto& keys) { return layerAt(keys, p); });
}

bool TransitionTrack::posesText() const {
  return std::any_of(keyframes.begin(), keyframes.end(),
                     [](const TransitionKeyframe& k) { return k.yawDeg != 0 || k.pitchDeg != 0; });
}

std::optional<TextPose> TransitionTrack::pose(float p) const {
  if (keyframes.empty()) return std::nullopt;
  return withSortedKeys(keyframes, [p](const auto& keys) { return poseAt(keys, p); });
}

}  // namespace tavorin

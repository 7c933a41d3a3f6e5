#include "switcher/ActiveTransition.h"

#include <algorithm>

#include "model/LayerInterpolation.h"
#include "model/StackOrder.h"

namespace tavorin {

namespace {

// Where the layers of one group went between the scenes, averaged over the
// members that appear in both: a shift and a scale per axis.
struct GroupMotion {
  double dx = 0;
  double dy = 0;
  double sx = 1;
  double sy = 1;
};

const LayerState* firstWithSource(const std::vector<LayerState>& layers, const std::string& sourceID) {
  for (const auto& layer : layers) {
    if (layer.sourceID == sourceID) return &layer;
  }
  return nullptr;
}

// Worked out on demand rather than kept in a map: the render thread does not
// allocate, and a scene's few groups make the repeated scans cheap.
std::optional<GroupMotion> groupMotion(const MixerScene& from, const MixerScene& to, const Uuid& groupID) {
  GroupMotion sum{0, 0, 0, 0};
  int count = 0;
  for (const auto& f : from.layers) {
    if (f.groupID != groupID) continue;
    const LayerState* t = firstWithSource(to.layers, f.sourceID);
    if (!t) continue;
    sum.dx += t->center.x - f.center.x;
    sum.dy += t->center.y - f.center.y;
    sum.sx += f.size.width > 0.0001 ? t->size.width / f.size.width : 1.0;
    sum.sy += f.size.height > 0.0001 ? t->size.height / f.size.height : 1.0;
    ++count;
  }
  if (count == 0) return std::nullopt;
  return GroupMotion{sum.dx / count, sum.dy / count, sum.sx / count, sum.sy / count};
}

void appendMatchMove(std::vector<RenderLayer>& out, const MixerScene& from, const MixerScene& to, float p) {
  const double pd = p;
  // Layers whose source has no place in the new scene leave under everything,
  // along with the motion of the group they stood in. Hidden layers move too.
  for (const auto& leaving : from.layers) {
    if (firstWithSource(to.layers, leaving.sourceID)) continue;
    RenderLayer r = leaving.toRenderLayer();
    if (leaving.groupID) {
      if (auto m = groupMotion(from, to, *leaving.groupID)) {
        r.center = {leaving.center.x + m->dx * pd, leaving.center.y + m->dy * pd};
        r.size = {((m->sx - 1) * pd + 1) * leaving.size.width, ((m->sy - 1) * pd + 1) * leaving.size.height};
      }
    }
    r.opacity = (1.0f - p) * leaving.opacity;
    out.push_back(std::move(r));
  }
  forEachInStackOrder(to.layers, [&](const LayerState& target) {
    if (const LayerState* source = firstWithSource(from.layers, target.sourceID)) {
      out.push_back(interpolateLayer(*source, target, p));
      return;
    }
    RenderLayer r = target.toRenderLayer();
    if (target.groupID) {
      if (auto m = groupMotion(from, to, *target.groupID)) {
        r.center = {target.center.x - m->dx * (1 - pd), target.center.y - m->dy * (1 - pd)};
      }
    }
    r.opacity = p * target.opacity;
    out.push_back(std::move(r));
  });
}

}  // namespace

float ActiveTransition::progress(double time) const {
  if (duration <= 0) return 1;
  const float t = static_cast<float>(std::clamp((time - startTime) / duration, 0.0, 1.0));
  if (custom) return t;
  if (t < 0.5f) return 2 * t * t;
  const float u = 2 - 2 * t;
  return 1 - u * u / 2;
}

std::vector<RenderLayer> ActiveTransition::layers(float p, double now) const {
  std::vector<RenderLayer> out;
  out.reserve(layerCountBound());
  appendLayers(out, p, now);
  return out;
}

std::size_t ActiveTransition::layerCountBound() const {
  std::size_t count = from.layers.size() + to.layers.size();
  if (custom) count += custom->tracks.size();
  return count;
}

void ActiveTransition::appendLayers(std::vector<RenderLayer>& out, float p, double now) const {
  if (custom) {
    if (poseUpdate) poseUpdate(p);
    const MixerScene& base = p >= static_cast<float>(custom->cutPoint) ? to : from;
    base.appendRenderLayers(out, now, 1);
    custom->appendLayers(out, p);
    return;
  }
  switch (kind) {
    case TransitionKind::cut:
      to.appendRenderLayers(out, now, 1);
      return;
    case TransitionKind::crossfade:
      from.appendRenderLayers(out, now, 1 - p);
      to.appendRenderLayers(out, now, p);
      return;
    case TransitionKind::slide: {
      const std::size_t fromStart = out.size();
      from.appendRenderLayers(out, now, 1);
      const std::size_t toStart = out.size();
      to.appendRenderLayers(out, now, 1);
      for (std::size_t i = fromStart; i < toStart; ++i) out[i].center.x -= p;
      for (std::size_t i = toStart; i < out.size(); ++i) out[i].center.x += 1 - p;
      return;
    }
    case TransitionKind::shrinkToCorner: {
      // The old scene shrinks on top of the new one, every layer into the same box.
      to.appendRenderLayers(out, now, 1);
      const std::size_t fromStart = out.size();
      from.appendRenderLayers(out, now, 1);
      const double pd = p;
      for (std::size_t i = fromStart; i < out.size(); ++i) {
        auto& r = out[i];
        r.center = {r.center.x + (0.78 - r.center.x) * pd, r.center.y + (0.78 - r.center.y) * pd};
        r.size = {r.size.width + (0.28 - r.size.width) * pd, r.size.height + (0.28 - r.size.height) * pd};
      }
      return;
    }
    case TransitionKind::matchMove:
      appendMatchMove(out, from, to, p);
      return;
  }
}

}  // namespace tavorin

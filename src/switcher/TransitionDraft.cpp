#include "switcher/TransitionDraft.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "switcher/SwitcherEngine.h"

namespace tavorin {

namespace {

constexpr double kShortestTransition = 0.2;  // seconds
constexpr double kSamePose = 0.001;          // below this a keyframe repeats the one before
constexpr double kHoldMatch = 0.03;          // seconds between a hold point and a stage start

double radians(double degrees) { return degrees * std::numbers::pi / 180.0; }
double degrees(double radians) { return radians * 180.0 / std::numbers::pi; }

BuilderStage firstFreshStage() {
  BuilderStage stage;
  stage.toNext = 0.5;
  stage.k = Keyframe{.scale = 0.2, .opacity = 1};
  return stage;
}

// The pose as a layer, with the square turned into the rectangle the source
// fills on the canvas when the engine can tell.
LayerState poseLayer(const BuilderTrack& track, const BuilderStage& stage, const LayerState& fresh, int zOrder,
                     const SwitcherEngine* engine) {
  LayerState state = stage.base ? *stage.base : fresh;
  state.sourceID = track.sourceID;
  state.center = {stage.k.posX, stage.k.posY};
  state.size = {stage.k.scale, stage.k.scale};
  state.rotation = static_cast<float>(radians(stage.k.rotationDeg));
  state.opacity = static_cast<float>(stage.k.opacity);
  state.zOrder = zOrder;
  if (engine && !state.fill) {
    const double aspect = engine->canvasAspect();
    const Size source = engine->sourceSize(track.sourceID);
    const double w = source.width * state.cropRect.width();
    const double h = source.height * state.cropRect.height();
    if (w > 0 && h > 0) {
      const double r = (w / h) / aspect;
      state.size = r <= 1 ? Size{r * stage.k.scale, stage.k.scale} : Size{stage.k.scale, stage.k.scale / r};
      state.fill = true;
    }
  }
  return state;
}

bool samePose(const TransitionKeyframe& a, const TransitionKeyframe& b) {
  const LayerState& s = a.state;
  const LayerState& t = b.state;
  return std::fabs(s.center.x - t.center.x) < kSamePose && std::fabs(s.center.y - t.center.y) < kSamePose &&
         std::fabs(s.size.width - t.size.width) < kSamePose && std::fabs(s.size.height - t.size.height) < kSamePose &&
         std::fabs(s.rotation - t.rotation) < kSamePose && std::fabs(s.opacity - t.opacity) < kSamePose &&
         a.yawDeg == b.yawDeg && a.pitchDeg == b.pitchDeg;
}

std::vector<BuilderStage> stagesOf(std::vector<TransitionKeyframe> keys, double duration) {
  std::stable_sort(keys.begin(), keys.end(),
                   [](const TransitionKeyframe& a, const TransitionKeyframe& b) { return a.time < b.time; });
  std::vector<BuilderStage> stages;
  double prevEnd = 0;
  for (std::size_t i = 0; i < keys.size();) {
    std::size_t j = i;
    while (j + 1 < keys.size() && samePose(keys[i], keys[j + 1])) ++j;
    if (!stages.empty()) stages.back().toNext = std::max(duration * keys[i].time - prevEnd, 0.0);
    const LayerState& s = keys[i].state;
    BuilderStage stage;
    stage.hold = std::max(duration * (keys[j].time - keys[i].time), 0.0);
    stage.base = s;
    stage.k = Keyframe{.scale = std::max(s.size.width, s.size.height),
                       .posX = s.center.x,
                       .posY = s.center.y,
                       .rotationDeg = degrees(s.rotation),
                       .yawDeg = keys[i].yawDeg,
                       .pitchDeg = keys[i].pitchDeg,
                       .opacity = s.opacity};
    stages.push_back(stage);
    prevEnd = duration * keys[j].time;
    i = j + 1;
  }
  if (stages.size() < 2) {
    if (stages.empty()) stages.push_back(firstFreshStage());
    stages.back().toNext = 0.5;
    BuilderStage last;
    last.k = Keyframe{.scale = 1.0, .opacity = 1};
    stages.push_back(last);
  }
  return stages;
}

}  // namespace

Uuid TransitionDraft::addTrack(const std::string& sourceID) {
  BuilderTrack track;
  track.sourceID = sourceID;
  BuilderStage grow = firstFreshStage();
  BuilderStage gone;
  gone.k = Keyframe{.scale = 1.6, .opacity = 0};
  track.selectedStageID = grow.id;
  track.stages = {grow, gone};
  const Uuid id = track.id;
  tracks.modify([&](std::vector<BuilderTrack>& list) { list.push_back(std::move(track)); });
  return id;
}

void TransitionDraft::removeTrack(const Uuid& id) {
  tracks.modify([&](std::vector<BuilderTrack>& list) {
    std::erase_if(list, [&](const BuilderTrack& t) { return t.id == id; });
  });
  if (holdTrackID.get() == id) {
    holdTrackID = std::nullopt;
    holdStageID = std::nullopt;
  }
}

void TransitionDraft::moveTrack(const Uuid& id, int by) {
  const auto& list = tracks.get();
  auto it = std::find_if(list.begin(), list.end(), [&](const BuilderTrack& t) { return t.id == id; });
  if (it == list.end()) return;
  const auto from = it - list.begin();
  const auto to = from + by;
  if (to < 0 || to >= static_cast<std::ptrdiff_t>(list.size())) return;
  tracks.modify([&](std::vector<BuilderTrack>& l) {
    std::swap(l[static_cast<std::size_t>(from)], l[static_cast<std::size_t>(to)]);
  });
}

void TransitionDraft::reset() {
  tracks = std::vector<BuilderTrack>{};
  sounds = std::vector<TransitionSound>{};
  name = std::string();
  cutPoint = kInitialCutPoint;
  editingID = std::nullopt;
  holdTrackID = std::nullopt;
  holdStageID = std::nullopt;
  restageToken = restageToken.get() + 1;
}

double TransitionDraft::totalDuration() const {
  double longest = 0;
  for (const BuilderTrack& track : tracks.get()) {
    double sum = 0;
    for (std::size_t i = 0; i < track.stages.size(); ++i) {
      sum += track.stages[i].hold;
      if (i + 1 < track.stages.size()) sum += track.stages[i].toNext;
    }
    longest = std::max(longest, sum);
  }
  return std::max(longest, kShortestTransition);
}

CustomTransition TransitionDraft::compile(const std::string& transitionName, const SwitcherEngine* engine) const {
  const double total = totalDuration();
  CustomTransition custom;
  custom.name = transitionName.empty() ? "Transition" : transitionName;
  custom.duration = total;
  custom.cutPoint = cutPoint.get();
  custom.sounds = sounds.get();
  const auto& list = tracks.get();
  for (std::size_t index = 0; index < list.size(); ++index) {
    const BuilderTrack& track = list[index];
    TransitionTrack compiled;
    compiled.sourceID = track.sourceID;
    // Stages without a base share one fresh layer, so that equal poses are equal keyframes.
    const LayerState fresh = LayerState::make(track.sourceID);
    double t = 0;
    for (std::size_t i = 0; i < track.stages.size(); ++i) {
      const BuilderStage& stage = track.stages[i];
      const LayerState pose = poseLayer(track, stage, fresh, static_cast<int>(index), engine);
      compiled.keyframes.push_back({t / total, pose, stage.k.yawDeg, stage.k.pitchDeg});
      if (holdTrackID.get() == track.id && holdStageID.get() == stage.id) custom.holdPoint = t / total;
      if (stage.hold > 0) {
        t += stage.hold;
        // A second, equal keyframe: the curve stays flat between them.
        compiled.keyframes.push_back({t / total, pose, stage.k.yawDeg, stage.k.pitchDeg});
      }
      if (i + 1 < track.stages.size()) t += stage.toNext;
    }
    custom.tracks.push_back(std::move(compiled));
  }
  return custom;
}

void TransitionDraft::load(const CustomTransition& custom) {
  editingID = custom.id;
  name = custom.name;
  cutPoint = custom.cutPoint;
  sounds = custom.sounds;
  holdTrackID = std::nullopt;
  holdStageID = std::nullopt;

  std::vector<BuilderTrack> loaded;
  for (const TransitionTrack& track : custom.tracks) {
    BuilderTrack builder;
    builder.sourceID = track.sourceID;
    builder.stages = stagesOf(track.keyframes, custom.duration);
    builder.selectedStageID = builder.stages.front().id;
    if (!track.keyframes.empty()) {
      const auto first = std::min_element(
          track.keyframes.begin(), track.keyframes.end(),
          [](const TransitionKeyframe& a, const TransitionKeyframe& b) { return a.time < b.time; });
      builder.removeBackground = first->state.keyMode == KeyMode::chroma;
      builder.keyColor = first->state.keyColor;
    }
    loaded.push_back(std::move(builder));
  }

  if (custom.holdPoint) {
    const double holdAt = *custom.holdPoint * custom.duration;
    for (const BuilderTrack& track : loaded) {
      double start = 0;
      for (const BuilderStage& stage : track.stages) {
        if (std::fabs(start - holdAt) < kHoldMatch) {
          holdTrackID = track.id;
          holdStageID = stage.id;
          break;
        }
        start += stage.hold + stage.toNext;
      }
      if (holdTrackID.get()) break;
    }
  }
  tracks = std::move(loaded);
  restageToken = restageToken.get() + 1;
}

}  // namespace tavorin

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Published.h"
#include "base/Uuid.h"
#include "model/CustomTransition.h"
#include "model/LayerState.h"

namespace tavorin {

class SwitcherEngine;

// A pose in the transition builder's own terms.
struct Keyframe {
  double scale = 0.2;  // larger side of the box, as a fraction of the canvas
  double posX = 0.5;   // centre, canvas space
  double posY = 0.5;
  double rotationDeg = 0;
  double yawDeg = 0;
  double pitchDeg = 0;
  double opacity = 1;

  friend bool operator==(const Keyframe&, const Keyframe&) = default;
};

// One pose and what happens after it.
struct BuilderStage {
  Uuid id = Uuid::make();
  double hold = 0;    // seconds the pose stays
  double toNext = 0;  // seconds of travel to the next stage; not used on the last
  Keyframe k;
  std::optional<LayerState> base;  // the layer whose other fields the stage keeps

  friend bool operator==(const BuilderStage&, const BuilderStage&) = default;
};

struct BuilderTrack {
  Uuid id = Uuid::make();
  std::string sourceID;
  std::vector<BuilderStage> stages;
  std::optional<Uuid> selectedStageID;
  bool removeBackground = false;
  RGBAColor keyColor{0, 1, 0, 1};

  friend bool operator==(const BuilderTrack&, const BuilderTrack&) = default;
};

// The transition builder's working copy: tracks of stages that compile into a
// keyframed CustomTransition, and back. Main thread only.
class TransitionDraft {
 public:
  static constexpr double kInitialCutPoint = 0.5;

  Published<std::vector<BuilderTrack>> tracks;
  Published<std::string> name;
  Published<double> cutPoint{kInitialCutPoint};
  Published<std::optional<Uuid>> editingID;  // the stored transition being edited
  Published<std::optional<Uuid>> holdTrackID;
  Published<std::optional<Uuid>> holdStageID;  // the stage at which a fired run holds
  Published<std::vector<TransitionSound>> sounds;
  Published<int> restageToken{0};  // raised when the stages are replaced as a whole

  // A track that grows from small to past the canvas and fades out in half a second.
  Uuid addTrack(const std::string& sourceID);
  void removeTrack(const Uuid& id);
  // Swaps the track with the one `by` places away; nothing when that is outside the list.
  void moveTrack(const Uuid& id, int by);
  void reset();

  // Seconds: the longest track's holds and travels, at least 0.2.
  double totalDuration() const;
  // The keyframed transition. With `engine`, a pose's square becomes the
  // rectangle its source fills on that switcher's canvas.
  CustomTransition compile(const std::string& name, const SwitcherEngine* engine) const;
  // Turns a stored transition's keyframes back into stages.
  void load(const CustomTransition& custom);
};

}  // namespace tavorin

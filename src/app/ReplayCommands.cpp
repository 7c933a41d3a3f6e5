// Saved replays as clips of the show, and the cue that plays the newest on air.
#include "app/AppModel.h"

#include <algorithm>

namespace tavorin {

namespace {

constexpr double kReplayFade = 0.3;

}  // namespace

const Uuid AppModel::kReplayCueID = *Uuid::parse("6D1F5C0E-2A47-4B8E-A1D3-5E2C7B9A0F31");

void AppModel::replaySaved(const ReplayBuffer::Saved& saved) {
  if (!replays.addsClip.get()) return;
  const auto clipID = addClipSource(saved.file, ShowFolder::Library::replays);
  if (!clipID) return;
  FireGraphic cue = fireGraphics.store.find(kReplayCueID).value_or(FireGraphic{});
  const bool isNew = cue.id != kReplayCueID;
  cue.id = kReplayCueID;
  if (isNew) {
    cue.name = "Replay";
    cue.center = {0.5, 0.5};
    cue.size = {1, 1};
    cue.enterMove = LayerAnimation::Move::fade;
    cue.enterDuration = kReplayFade;
    cue.exitMove = LayerAnimation::Move::fade;
    cue.exitDuration = kReplayFade;
  }
  cue.overlayID.reset();
  cue.sourceID = *clipID;
  // Gone as the clip ends, before it would loop.
  cue.durationSeconds = std::max(1.0, saved.seconds - cue.exitDuration);
  fireGraphics.store.upsert(cue);
}

bool AppModel::canPlayReplay() const {
  const auto cue = fireGraphics.store.find(kReplayCueID);
  return cue && cue->sourceID && sourceLifecycle.find(*cue->sourceID);
}

void AppModel::playReplay() {
  if (!canPlayReplay()) {
    appendLog("No replay to play yet — save one first.");
    return;
  }
  fireGraphics.fire(kReplayCueID);
}

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/PublishedView.h"
#include "base/Uuid.h"
#include "model/CustomTransition.h"
#include "model/Geometry.h"
#include "model/LayerState.h"
#include "model/MixerScene.h"
#include "model/TransitionKind.h"
#include "model/TransitionSound.h"
#include "switcher/FiredTransitionRun.h"
#include "switcher/SwitcherSnapshotStore.h"

namespace tavorin {

// Preview and Program of one canvas and the take that moves one to the other:
// cuts and transitions, the swap after a take, fired and auditioned custom
// transitions, layouts and the holding card. Layer edits reach Preview through
// `editPreview` (PreviewEditor holds the operator's). Lives on the main thread;
// the render thread sees only the copies in `store()`.
class SwitcherEngine {
  // Declared first: the views below are made from them.
  Published<MixerScene> programScene_{MixerScene::named("Program")};
  Published<MixerScene> previewScene_{MixerScene::named("Preview")};
  Published<TransitionKind> selectedTransition_{TransitionKind::crossfade};
  Published<std::optional<CustomTransition>> selectedCustomTransition_;
  Published<double> transitionDuration_{0.5};
  Published<bool> isTransitioning_{false};
  Published<bool> lockAspectRatio_{true};
  Published<bool> studioMode_{true};
  Published<std::optional<Uuid>> loadedLayoutID_;
  Published<bool> brbActive_{false};
  Published<std::set<Uuid>> firedTransitionIDs_;

 public:
  enum class Role { main, vertical, studio };

  SwitcherEngine(Role role, MainQueue& queue);
  ~SwitcherEngine();
  SwitcherEngine(const SwitcherEngine&) = delete;
  SwitcherEngine& operator=(const SwitcherEngine&) = delete;

  // Closures AppModel installs in place of references to other engines. Each
  // may stay empty; the engine then does without.

  // Pixel size of this switcher's canvas (the vertical compositor's for role
  // `vertical`, the main one's otherwise). Empty, or nothing returned: 16 by 9.
  std::function<std::optional<Size>()> canvasPixelSize;
  // Pixel size of a source's newest frame; nothing when it has no frame yet.
  std::function<std::optional<Size>(const std::string& sourceID)> sourcePixelSize;
  // Audio-follow-video: the sources now on Program, handed to the mixer so that
  // it opens their channels. Installed on the `main` instance only.
  std::function<void(const std::set<std::string>& sourceIDs)> audioFollow;
  // Mutes or unmutes Program audio for the holding card and applies the output volume.
  std::function<void(bool muted)> setProgramMuted;
  // Called with a layout's id and the current Preview just before that layout is
  // left, so that its edits are written back to the layout store.
  std::function<void(const Uuid& layoutID, const MixerScene& preview)> onLeavingLoadedLayout;
  // Finds a stored custom transition by id.
  std::function<std::optional<CustomTransition>(const Uuid& id)> customTransitionLookup;
  // Plays one of a custom transition's sounds.
  std::function<void(const TransitionSound& sound)> playTransitionSound;
  // Wakes and rewinds the sources of a custom transition's tracks before it starts.
  std::function<void(const CustomTransition& custom)> prepareTransitionSources;
  // The 3D text pose driver of a custom transition; an empty function when no
  // track poses a 3D text source.
  std::function<std::function<void(float)>(const CustomTransition& custom)> makePoseUpdate;

  const Role role;

  PublishedView<MixerScene> programScene{programScene_};
  PublishedView<MixerScene> previewScene{previewScene_};
  PublishedView<TransitionKind> selectedTransition{selectedTransition_};
  // Wins over selectedTransition.
  PublishedView<std::optional<CustomTransition>> selectedCustomTransition{selectedCustomTransition_};
  PublishedView<double> transitionDuration{transitionDuration_};  // seconds
  PublishedView<bool> isTransitioning{isTransitioning_};
  PublishedView<bool> lockAspectRatio{lockAspectRatio_};
  // True: Preview and Program are separate and a take moves one to the other.
  // False (direct mode): edits of Preview show on Program at once.
  PublishedView<bool> studioMode{studioMode_};
  // The layout whose working copy is on Preview.
  PublishedView<std::optional<Uuid>> loadedLayoutID{loadedLayoutID_};
  PublishedView<bool> brbActive{brbActive_};  // the holding card is up
  // Custom transitions now fired over Program.
  PublishedView<std::set<Uuid>> firedTransitionIDs{firedTransitionIDs_};

  // Program as it was before the holding card.
  const std::optional<MixerScene>& preBRBProgram() const { return preBRBProgram_; }
  // The custom transition of the running take.
  const std::optional<CustomTransition>& currentActiveCustom() const { return currentActiveCustom_; }
  const SwitcherSnapshotStore& store() const { return store_; }

  // Raised by every start and cancel of a transition; a completion that carries
  // an older value does nothing.
  std::uint64_t transitionGeneration() const { return transitionGeneration_; }

  // Width over height of the canvas.
  double canvasAspect() const;
  // Pixel size of a source's newest frame; without one, a frame of the canvas's shape.
  Size sourceSize(const std::string& sourceID) const;

  void setSelectedTransition(TransitionKind kind);
  void setSelectedCustomTransition(std::optional<CustomTransition> custom);
  void setTransitionDuration(double seconds);
  void setLockAspectRatio(bool on);
  // Puts back the scenes of the last session, publishes them and hands Program
  // to audio follow.
  void restoreSession(MixerScene program, MixerScene preview);

  // Takes Preview to Program with the scene's own transition, else the selected
  // custom one, else the selected kind.
  void take();
  // Dropped while a transition runs. `cut` changes the scenes at once.
  void take(TransitionKind kind, double duration);
  void takeCustom(const CustomTransition& custom);
  // Runs a custom transition with Program on both sides and changes neither
  // scene: the studio switcher auditions a transition with it.
  void playOverProgram(const CustomTransition& custom);
  // Stops the running transition and leaves both scenes as they are.
  void cancelTransition();

  // Fires the stored custom transition `id` over Program without a change of
  // scene. A press while its run holds at the hold point releases it; any
  // other press starts it anew. Nothing when the lookup does not find it.
  void fireTransition(const Uuid& id);
  // The builder's scrub: the studio canvas shows `custom` alone at `progress`
  // while no transition runs; nothing given clears it.
  void scrub(std::optional<CustomTransition> custom, float progress);
  const std::map<Uuid, FiredTransitionRun>& firedRunsByID() const { return firedRunsByID_; }

  // Puts a layout on Preview as its working copy; in direct mode Program stays
  // as it is until a take.
  void stageLayout(const MixerScene& scene);
  // As stageLayout in studio mode; in direct mode the layout is also taken.
  void loadLayout(const MixerScene& scene);
  void leaveLoadedLayout();
  // Preview stays as it is but no longer belongs to a layout: its edits are
  // written back nowhere.
  void forgetLoadedLayout();

  // Punches a holding card of `sourceID` to Program with Program audio muted,
  // or takes back what was on air before it.
  void toggleBRB(const std::string& sourceID, const std::string& sceneName);
  // The graphics fired over Program.
  void setFireLayers(std::vector<LayerState> layers);
  // Copies the scenes to the render thread; in direct mode first mirrors
  // Preview onto Program.
  void publishSnapshot();
  void setStudioMode(bool on);
  // Hands the sources on Program to audio-follow-video.
  void applyAudioFollow();
  // Every source this canvas draws or is about to: its scenes (the studio
  // canvas shows its Preview only) and the tracks of its running transitions.
  std::set<std::string> sourceIDsInUse() const;

  // Applies `edit` to a copy of Preview; when it returns true, Preview becomes
  // the copy and is published. Returns what `edit` returned.
  bool editPreview(const std::function<bool(MixerScene& preview)>& edit);
  // While the operator crops this layer, Preview shows its whole frame so that
  // the part being cut away stays visible. Shown from the next publish.
  void setWholeFrameLayer(std::optional<Uuid> layerID);

 private:
  // The scenes a take puts on Program and back on Preview when it completes.
  struct TakeScenes {
    MixerScene to, from;
  };
  enum class Mirror { inDirectMode, never };

  // `scenes` absent: an audition, whose completion changes no scene.
  void startTransition(std::shared_ptr<ActiveTransition> transition, std::optional<TakeScenes> scenes);
  void completeTransition(std::uint64_t generation, const std::optional<TakeScenes>& scenes);
  void runCustom(const CustomTransition& custom, MixerScene to, bool changesScenes);
  // Rewinds the tracks' sources and plays the sounds, as a custom transition starts.
  void startCustomMedia(const CustomTransition& custom);
  void startFiredRun(const Uuid& id, const CustomTransition& custom);
  void releaseFiredRun(const Uuid& id);
  void scheduleFiredFinish(const Uuid& id, double delay);
  void finishFiredRun(const Uuid& id);
  void dropFiredRun(const Uuid& id);
  void publishFiredRuns();
  void swapStep(const MixerScene& oldProgram);
  void replacePreview(MixerScene scene, Mirror mirror);
  void publish(Mirror mirror);
  MixerScene preparedForMatchMove(MixerScene scene) const;

  MainQueue& queue_;
  SwitcherSnapshotStore store_;
  std::optional<MixerScene> preBRBProgram_;
  std::optional<CustomTransition> currentActiveCustom_;
  std::optional<Uuid> wholeFrameLayerID_;
  std::uint64_t transitionGeneration_ = 0;
  TimerHandle completionTimer_;
  std::map<Uuid, FiredTransitionRun> firedRunsByID_;
  // The sources of the graphics fired over Program.
  std::set<std::string> firedSourceIDs_;
  std::map<Uuid, TimerHandle> firedFinishTimers_;
  // The completion holds this weakly: one that fires after the engine is gone does nothing.
  std::shared_ptr<SwitcherEngine*> self_ = std::make_shared<SwitcherEngine*>(this);
};

}  // namespace tavorin

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
#include "base/Uuid.h"
#include "model/CustomTransition.h"
#include "model/Geometry.h"
#include "model/LayerState.h"
#include "model/MixerScene.h"
#include "model/TransitionKind.h"
#include "model/TransitionSound.h"
#include "model/VideoFilterConfig.h"
#include "switcher/FiredTransitionRun.h"
#include "switcher/SwitcherSnapshotStore.h"

namespace tavorin {

// Preview and Program of one canvas, and every change to them: takes, cuts,
// the swap after a take, layouts, the holding card and all layer edits. Lives
// on the main thread; the render thread sees only the copies in `store`.
class SwitcherEngine {
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

  Published<MixerScene> programScene{MixerScene::named("Program")};
  Published<MixerScene> previewScene{MixerScene::named("Preview")};  // all layer edits go here
  Published<TransitionKind> selectedTransition{TransitionKind::crossfade};
  Published<std::optional<CustomTransition>> selectedCustomTransition;  // wins over selectedTransition
  Published<double> transitionDuration{0.5};                           // seconds
  Published<bool> isTransitioning{false};
  Published<std::optional<Uuid>> selectedLayerID;
  Published<std::optional<Uuid>> selectedGroupID;
  Published<bool> lockAspectRatio{true};
  Published<bool> maskEditing{false};
  Published<std::vector<Point>> maskDraft;  // region being drawn, in the space of maskPolygons
  Published<bool> cropEditing{false};
  bool suppressCropBake = false;  // leaving crop editing keeps the crop as it is
  bool suppressMirror = false;    // direct mode does not copy Preview to Program
  // True: Preview and Program are separate and a take moves one to the other.
  // False (direct mode): edits of Preview show on Program at once.
  Published<bool> studioMode{true};
  Published<std::optional<Uuid>> loadedLayoutID;  // the layout whose working copy is on Preview
  Published<bool> brbActive{false};               // the holding card is up
  std::optional<MixerScene> preBRBProgram;        // Program as it was before the card
  std::optional<CustomTransition> currentActiveCustom;  // the custom transition of the running take
  std::optional<LayerState> copiedLayer;                // the layer clipboard
  Published<std::set<Uuid>> firedTransitionIDs;         // custom transitions now fired over Program

  SwitcherSnapshotStore store;

  // Raised by every start and cancel of a transition; a completion that carries
  // an older value does nothing.
  std::uint64_t transitionGeneration() const { return transitionGeneration_; }

  // Width over height of the canvas.
  double canvasAspect() const;

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

  // Puts a layout on Preview as its working copy.
  void stageLayout(const MixerScene& scene);
  // As stageLayout in studio mode; in direct mode the layout is also taken.
  void loadLayout(const MixerScene& scene);
  void leaveLoadedLayout();

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

  // Layer edits, on Preview unless an argument says Program.
  Uuid addLayer(const std::string& sourceID, bool toPreview = true);
  void removeLayer(Uuid id, bool fromPreview = true);
  void updateLayer(const LayerState& layer);
  const LayerState* selectedLayer() const;
  void selectLayer(std::optional<Uuid> id);
  void copyLayer(Uuid id);
  void duplicateLayer(const LayerState& layer);
  void pasteLayer(const LayerState& layer);
  // `topFirst` lists layer ids from the top of the stack down.
  void applyLayerOrder(const std::vector<Uuid>& topFirst);

  void setCropEditing(bool on);
  void setMaskEditing(bool on);
  void closeMaskRegion();
  void undoMaskPoint();
  void clearMask();
  // Crops the selected layer to `aspect` (width over height, in pixels) and
  // rounds its corners by `radius`: the square and circle presets.
  void applyFrameShape(double aspect, float radius);

  std::optional<Uuid> addVideoFilter(VideoFilterKind kind, Uuid layerID);
  void setVideoFilters(std::vector<VideoFilterConfig> filters, Uuid layerID);
  void setVideoFilterEnabled(Uuid filterID, bool enabled, Uuid layerID);
  void setVideoFilterParam(Uuid filterID, const std::string& key, double value, Uuid layerID);
  void removeVideoFilter(Uuid filterID, Uuid layerID);
  // Moves the entry at index `from` so that it ends up at index `to`.
  void moveVideoFilter(std::size_t from, std::size_t to, Uuid layerID);

  // Groups. A group's layers always lie next to each other in the stack.
  std::optional<Uuid> groupLayers(const std::vector<Uuid>& ids);
  void renameGroup(Uuid id, const std::string& name);
  void selectGroup(std::optional<Uuid> id);
  void setGroupHidden(Uuid id, bool hidden);
  void setGroupLocked(Uuid id, bool locked);
  bool isGroupLocked(Uuid id) const;
  bool isGroupHidden(Uuid id) const;
  void ungroup(Uuid id);
  void moveIntoGroup(Uuid layerID, Uuid groupID);
  void removeFromGroup(Uuid layerID);
  // Members listed in `startCenters` move by (dx, dy) from where a drag began.
  void moveGroup(Uuid id, const std::map<Uuid, Point>& startCenters, double dx, double dy);
  // Members listed in `startLayers` scale about `anchor` by `scale` per axis
  // from how a drag found them.
  void resizeGroup(Uuid id, const std::map<Uuid, LayerState>& startLayers, Point anchor, Size scale);

 private:
  // The scenes a take puts on Program and back on Preview when it completes.
  struct TakeScenes {
    MixerScene to, from;
  };
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
  void replacePreview(MixerScene scene);
  MixerScene preparedForMatchMove(MixerScene scene) const;
  void bakeCrop();
  Size sourceSize(const std::string& sourceID, double aspect) const;
  template <class Fn>
  bool editPreviewLayer(Uuid id, Fn&& fn);

  MainQueue& queue_;
  std::uint64_t transitionGeneration_ = 0;
  TimerHandle completionTimer_;
  std::map<Uuid, FiredTransitionRun> firedRunsByID_;
  std::map<Uuid, TimerHandle> firedFinishTimers_;
  // The completion holds this weakly: one that fires after the engine is gone does nothing.
  std::shared_ptr<SwitcherEngine*> self_ = std::make_shared<SwitcherEngine*>(this);
};

}  // namespace tavorin

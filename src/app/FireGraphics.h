#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "app/SoundEffects.h"
#include "base/FrameSlotMap.h"
#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/Uuid.h"
#include "model/FireGraphic.h"
#include "model/Geometry.h"
#include "model/LayerState.h"
#include "platform/web/WebEngine.h"
#include "sources/SourceLifecycle.h"
#include "sources/WebOverlaySource.h"
#include "stores/FireGraphicStore.h"
#include "stores/OverlayStore.h"
#include "switcher/SwitcherEngine.h"

namespace tavorin {

// Cues fired over Program: each shot as a layer of the main switcher's "Fire"
// scene, with its enter move, its auto-hide and its exit move. An overlay cue
// runs a private page of its own for as long as it is on air; a cue of a
// show's source keeps that source awake. Nothing of it survives a quit.
// Main thread only.
class FireGraphics {
 public:
  // Fire layers draw above every scene layer.
  static constexpr int kFireZOrder = 10000;
  // A leaving cue is removed this long after its exit move should have ended.
  static constexpr double kExitSlack = 0.05;

  struct Wiring {
    MainQueue& queue;
    SwitcherEngine& switcher;
    SourceLifecycle& lifecycle;
    FrameSlotMap& frameSlots;
    OverlayStore& overlays;
    SoundEffects& sounds;
    // The browser of overlay pages; null until the web engine is up.
    std::function<WebEngine*()> webEngine;
    // The main canvas in pixels, which private pages are laid out against.
    std::function<Size()> canvasPixels;
    std::function<void(std::string)> log;
  };

  FireGraphics(Wiring wiring, ShowFolder folder);
  ~FireGraphics();
  FireGraphics(const FireGraphics&) = delete;
  FireGraphics& operator=(const FireGraphics&) = delete;

  FireGraphicStore store;
  // Cues on air and not leaving: what lights their tiles.
  Published<std::set<Uuid>> activeFireIDs;
  // Cues drawn over Program, leaving ones included.
  Published<std::set<Uuid>> drawnFireIDs;
  // A cue to open in its editor; the window clears it once open.
  Published<std::optional<FireGraphic>> pendingFireGraphicEdit;
  // The cue now staged on the canvas for editing.
  std::optional<Uuid> editingFireGraphicID;

  // The toggle of tiles and buttons: dismisses a cue on air, fires one that is not.
  void fireGraphic(const Uuid& id);
  // Clears what is left of an earlier run and shoots the cue; a missing
  // overlay or source is logged and fires nothing.
  void fire(const Uuid& id);
  // Starts the exit move, or removes at once when there is none or it already
  // runs: a second dismiss while leaving cuts the cue.
  void dismiss(const Uuid& id);
  void removeFire(const Uuid& id);
  // Cues removed from the library leave the air first.
  void remove(const Uuid& id);

  // The sources the fire layers show, leaving ones included: kept awake.
  std::set<std::string> sourceIDsOnAir() const;
  // The layers on air, also while leaving, by cue id.
  const std::map<Uuid, LayerState>& fireLayers() const { return fireLayers_; }
  // The private overlay of a cue on air; null otherwise.
  WebOverlaySource* privateSource(const Uuid& id) const;

  // The id of a cue's private overlay source.
  static std::string privateSourceID(const Uuid& id) { return "fire:" + id.toString(); }
  // The cue's layer for `sourceID`: its captured design (with a fresh id and
  // no running moves) or a fresh layer, at the cue's place and size.
  static LayerState layerFor(const FireGraphic& graphic, const std::string& sourceID);

 private:
  std::shared_ptr<WebOverlaySource> makePrivateSource(const FireGraphic& graphic, const OverlayItem& item);
  void publishLayers();

  Wiring wiring_;
  std::map<Uuid, std::shared_ptr<WebOverlaySource>> fireSources_;
  std::map<Uuid, LayerState> fireLayers_;
  std::map<Uuid, TimerHandle> fireDismissals_;
  // Timers hold this weakly and do nothing once the cues are gone.
  std::shared_ptr<FireGraphics*> self_ = std::make_shared<FireGraphics*>(this);
};

}  // namespace tavorin

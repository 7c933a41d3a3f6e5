// The deck's side of the facade: one entry for every press of a tile (on
// screen, by a hotkey, from the phone), the looks and tally of the tiles, the
// fader tiles' values, and what changes when the operator switches decks.
#include <algorithm>
#include <cmath>

#include "app/AppModel.h"
#include "stores/LayoutMigrations.h"

namespace tavorin {

namespace {

template <class List, class Pred>
auto findIn(const List& list, Pred pred) -> const typename List::value_type* {
  auto it = std::find_if(list.begin(), list.end(), pred);
  return it == list.end() ? nullptr : &*it;
}

const char* routeSuffix(ChannelRoute route) {
  switch (route) {
    case ChannelRoute::air:
      return " AIR";
    case ChannelRoute::cue:
      return " CUE";
    case ChannelRoute::monitor:
      return " MON";
    case ChannelRoute::afv:
      return " AFV";
  }
  return "";
}

bool routeFlag(const ChannelInfo& channel, ChannelRoute route) {
  switch (route) {
    case ChannelRoute::air:
      return channel.air;
    case ChannelRoute::cue:
      return channel.cue;
    case ChannelRoute::monitor:
      return channel.monitor;
    case ChannelRoute::afv:
      return channel.afv;
  }
  return false;
}

// The tile's icon when the operator chose none; the window draws each name.
const char* defaultSymbol(DeckActionKind kind) {
  using K = DeckActionKind;
  switch (kind) {
    case K::loadLayout: return "scene";
    case K::toggleStream: return "stream";
    case K::toggleChannelAir: return "mic";
    case K::toggleChannelRoute: return "route";
    case K::channelFader: return "fader";
    case K::channelStrip: return "strip";
    case K::playSound: return "sound";
    case K::fireGraphic: return "graphic";
    case K::fireTransition: return "transition";
    case K::masterStrip: return "output";
    case K::take: return "take";
    case K::cut: return "cut";
    case K::punchBlack: return "black";
    case K::punchBRB: return "pause";
    case K::toggleRecord: return "record";
    case K::saveReplay: return "replay";
    case K::stopSounds: return "stop";
    case K::programScreenshot: return "screenshot";
    case K::restartAudio: return "restart";
    case K::toggleVirtualCamera: return "camera";
    case K::toggleNDI: return "network";
    case K::presenterBar: return "presenter";
    case K::presenterZoomReset: return "zoom";
    case K::presenterClearInk: return "ink";
  }
  return "square";
}

// The actions whose part of the show is not built yet: they stay on the deck
// and in the file, and a press says so instead of doing nothing silently.
bool notAvailableYet(DeckActionKind kind) {
  using K = DeckActionKind;
  switch (kind) {
    case K::toggleVirtualCamera:
    case K::toggleNDI:
    case K::presenterBar:
    case K::presenterZoomReset:
    case K::presenterClearInk:
      return true;
    default:
      return false;
  }
}

}  // namespace

void AppModel::runTile(const DeckTile& tile) {
  const auto& action = tile.action;
  if (action.kind == DeckActionKind::playSound) {
    soundEffects.playTile(action.id, tile.soundMode.value_or(SoundTileMode::restart));
    return;
  }
  if (action.kind == DeckActionKind::loadLayout && tile.takeTransitionID) {
    loadLayout(action.id, tile.takeTransitionID);
    return;
  }
  runAction(action);
}

void AppModel::runAction(const DeckAction& action) {
  using K = DeckActionKind;
  if (notAvailableYet(action.kind)) {
    appendLog(tileSummary(action).realTitle + " is not available in this version yet.");
    return;
  }
  switch (action.kind) {
    case K::loadLayout:
      loadLayout(action.id, std::nullopt);
      break;
    case K::toggleStream:
      toggleStream(action.id);
      break;
    case K::toggleChannelAir:
    case K::toggleChannelRoute: {
      const auto route = action.kind == K::toggleChannelAir ? ChannelRoute::air : action.route;
      const auto* channel = findIn(audioMixer.channels.get(), [&](const ChannelInfo& c) { return c.id == action.channel; });
      if (!channel) break;
      const bool on = !routeFlag(*channel, route);
      const std::string id = channel->id;
      switch (route) {
        case ChannelRoute::air: audioMixer.setAir(id, on); break;
        case ChannelRoute::cue: audioMixer.setCue(id, on); break;
        case ChannelRoute::monitor: audioMixer.setMonitor(id, on); break;
        case ChannelRoute::afv: audioMixer.setAFV(id, on); break;
      }
      break;
    }
    case K::channelFader:
    case K::channelStrip:
    case K::masterStrip:
      break;  // controls, not buttons
    case K::playSound:
      soundEffects.playTile(action.id, SoundTileMode::restart);
      break;
    case K::fireTransition:
      if (transitionStore.find(action.id)) fireTransition(action.id);
      break;
    case K::fireGraphic:
      fireGraphic(action.id);
      break;
    case K::take:
      take(switcher);
      break;
    case K::cut:
      cut(switcher);
      break;
    case K::punchBlack:
      punchBlack();
      break;
    case K::punchBRB:
      punchBRB();
      break;
    case K::toggleRecord:
      toggleRecording();
      break;
    case K::saveReplay:
      saveReplay();
      break;
    case K::stopSounds:
      soundEffects.stopAll();
      break;
    case K::programScreenshot:
      screenshotProgram();
      break;
    case K::restartAudio:
      restartAudio();
      break;
    default:
      break;
  }
}

TileLook AppModel::tileSummary(const DeckAction& action) const {
  using K = DeckActionKind;
  TileLook look;
  look.symbol = defaultSymbol(action.kind);
  auto generated = [&](std::string title, std::string color, bool on) {
    look.realTitle = std::move(title);
    look.color = std::move(color);
    look.on = on;
  };
  auto missing = [&](const char* title, std::string color) {
    look.realTitle = title;
    look.color = std::move(color);
    look.exists = false;
  };
  const auto* channel = findIn(audioMixer.channels.get(), [&](const ChannelInfo& c) { return c.id == action.channel; });

  switch (action.kind) {
    case K::loadLayout: {
      const auto* scene = findIn(layoutStore.layouts.get(), [&](const MixerScene& s) { return s.id == action.id; });
      if (!scene) {
        missing("Missing scene", "#0a84ff");
        break;
      }
      const bool verticalOnly = scene->layers.empty() && scene->verticalLayers.has_value();
      generated(scene->name, verticalOnly ? "#bf5af2" : "#0a84ff",
                switcher.loadedLayoutID.get() == action.id || verticalSwitcher.loadedLayoutID.get() == action.id);
      break;
    }
    case K::toggleStream: {
      const auto* destination = findIn(streamStore.destinations.get(), [&](const StreamDestination& d) { return d.id == action.id; });
      if (!destination) {
        missing("Missing stream", "#ffd60a");
        break;
      }
      const auto& states = streaming.states.get();
      const auto state = states.find(action.id);
      const bool busy = state != states.end() && state->second.isActive();
      const bool live = state != states.end() && state->second.kind == StreamState::Kind::live;
      generated(destination->name, live ? "#ff453a" : "#ffd60a", busy);
      break;
    }
    case K::toggleChannelAir:
      if (!channel) {
        missing("Missing AIR", "#34c759");
        break;
      }
      generated(channel->name + " AIR", "#34c759", channel->air);
      break;
    case K::toggleChannelRoute: {
      if (!channel) {
        missing("Missing channel", "#8e8e93");
        break;
      }
      const char* color = action.route == ChannelRoute::air   ? "#34c759"
                          : action.route == ChannelRoute::cue ? "#ffd60a"
                                                              : "#0a84ff";
      generated(channel->name + routeSuffix(action.route), color, routeFlag(*channel, action.route));
      break;
    }
    case K::channelFader:
      if (!channel) {
        missing("Missing level", "#0a84ff");
        break;
      }
      generated(channel->name + " level", "#0a84ff", false);
      break;
    case K::channelStrip:
      if (!channel) {
        missing("Missing strip", "#0a84ff");
        break;
      }
      generated(channel->name + " strip", "#0a84ff", false);
      break;
    case K::playSound: {
      const auto* sound = findIn(soundEffects.store.sounds.get(), [&](const SFXItem& s) { return s.id == action.id; });
      if (!sound) {
        missing("Missing sound", "#bf5af2");
        break;
      }
      generated(sound->name, "#bf5af2", soundEffects.nowPlayingID.get() == action.id && audioMixer.sfxPlaying.get());
      break;
    }
    case K::fireGraphic: {
      const auto graphic = fireGraphics.store.find(action.id);
      if (!graphic) {
        missing("Missing graphic", "#2ec4b6");
        break;
      }
      generated(graphic->name, "#2ec4b6", fireGraphics.activeFireIDs->contains(action.id));
      break;
    }
    case K::fireTransition: {
      const auto custom = transitionStore.find(action.id);
      if (!custom) {
        missing("Missing transition", "#ff9f0a");
        break;
      }
      generated(custom->name, "#ff9f0a", switcher.firedTransitionIDs.get().contains(action.id));
      break;
    }
    case K::masterStrip: {
      if (action.channel == "program") {
        generated("Program out", "#ff453a", audioMixer.programMuted.get());
        break;
      }
      const auto* bus = findIn(audioMixer.monitors.get(), [&](const MonitorInfo& m) { return m.id == action.channel; });
      if (!bus) {
        missing("Missing output", "#0a84ff");
        break;
      }
      generated(bus->name + " out", "#0a84ff", bus->muted);
      break;
    }
    case K::take:
      generated("TAKE", "#0a84ff", switcher.isTransitioning.get());
      break;
    case K::cut:
      generated("CUT", "#0a84ff", false);
      break;
    case K::punchBlack:
      generated("Black", "#5e5ce6", false);
      break;
    case K::punchBRB:
      generated("BRB", "#ff9f0a", switcher.brbActive.get());
      break;
    case K::toggleRecord:
      generated(recording.isRecording.get() ? "Recording" : "Record", "#ff453a", recording.isRecording.get());
      break;
    case K::saveReplay:
      generated("Save Replay", "#bf5af2", false);
      break;
    case K::stopSounds:
      generated("Stop Sounds", "#ff9f0a", audioMixer.sfxPlaying.get());
      break;
    case K::programScreenshot:
      generated("Screenshot", "#64d2ff", false);
      break;
    case K::restartAudio:
      generated("Restart Audio", "#30b0c7", false);
      break;
    case K::toggleVirtualCamera:
      generated("Virtual Cam", "#34c759", false);
      break;
    case K::toggleNDI:
      generated("NDI Out", "#0a84ff", false);
      break;
    case K::presenterBar:
      generated("Presenter", "#2ec4b6", false);
      break;
    case K::presenterZoomReset:
      generated("Zoom 1×", "#2ec4b6", false);
      break;
    case K::presenterClearInk:
      generated("Clear Ink", "#2ec4b6", false);
      break;
  }
  look.title = look.realTitle;
  return look;
}

TileLook AppModel::tileLook(const DeckTile& tile) const {
  TileLook look = tileSummary(tile.action);
  if (tile.label && !tile.label->empty()) look.title = *tile.label;
  if (tile.colorHex && !tile.colorHex->empty()) look.color = *tile.colorHex;
  if (tile.symbol && !tile.symbol->empty()) look.symbol = *tile.symbol;
  return look;
}

std::optional<double> AppModel::tileValue(const DeckTile& tile) const {
  if (!isFaderTile(tile.action.kind)) return std::nullopt;
  const auto* channel = findIn(audioMixer.channels.get(), [&](const ChannelInfo& c) { return c.id == tile.action.channel; });
  if (!channel) return std::nullopt;
  return std::clamp(channel->level / 2.0, 0.0, 1.0);
}

void AppModel::setTileValue(const DeckTile& tile, double value) {
  if (!isFaderTile(tile.action.kind)) return;
  if (!std::isfinite(value)) return;
  audioMixer.setLevel(tile.action.channel, static_cast<float>(std::clamp(value, 0.0, 1.0) * 2.0));
}

void AppModel::startDecks() {
  deckStore.load();
  runLayoutMigrations(showFolder_, deckStore.deckIDs(), preferences_);
  applyActiveDeck();
  auto lastActive = std::make_shared<std::optional<Uuid>>(deckStore.activeDeckID.get());
  subscriptions_.push_back(deckStore.activeDeckID.subscribe([this, lastActive](const std::optional<Uuid>& id) {
    if (id == *lastActive) return;
    *lastActive = id;
    applyActiveDeck();
    rebuildHotkeys();
  }));
  subscriptions_.push_back(deckStore.decks.subscribe([this](const std::vector<Deck>&) { rebuildHotkeys(); }));
  rebuildHotkeys();
}

void AppModel::applyActiveDeck() {
  const Deck* deck = deckStore.activeDeck();
  if (!deck) return;
  // The scenes being edited belong to the deck being left: written there first.
  layoutWriteBack_.flush();
  verticalWriteBack_.flush();
  if (const auto id = switcher.loadedLayoutID.get()) layoutStore.replace(*id, switcher.previewScene.get());
  if (const auto id = verticalSwitcher.loadedLayoutID.get()) layoutStore.setVertical(*id, verticalSwitcher.previewScene.get());
  switcher.forgetLoadedLayout();
  verticalSwitcher.forgetLoadedLayout();
  layoutStore.switchFile("layouts-" + deck->id.toString() + ".json");
}

}  // namespace tavorin

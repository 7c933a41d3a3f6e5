#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "base/EnumNames.h"
#include "base/Uuid.h"

namespace tavorin {

// What a deck tile does when pressed. The cases with a payload come first, in
// the order the deck's JSON has always listed them.
enum class DeckActionKind {
  loadLayout,          // scene id
  toggleStream,        // destination id
  toggleChannelAir,    // channel id
  toggleChannelRoute,  // channel id + route
  channelFader,        // channel id
  channelStrip,        // channel id
  playSound,           // sound id
  fireGraphic,         // graphic id
  fireTransition,      // custom transition id
  masterStrip,         // "program" or a monitor bus id
  take,
  cut,
  punchBlack,
  punchBRB,
  toggleRecord,
  saveReplay,
  stopSounds,
  programScreenshot,
  restartAudio,
  toggleVirtualCamera,
  toggleNDI,
  presenterBar,
  presenterZoomReset,
  presenterClearInk,
};

// The flag of a mixer channel that a route tile toggles.
enum class ChannelRoute { air, cue, monitor, afv };

// One tile's action: the kind and the payload that kind carries. Fields a kind
// does not use stay at their defaults, so two equal actions compare equal.
struct DeckAction {
  DeckActionKind kind = DeckActionKind::take;
  // Scenes, destinations, sounds, graphics and transitions.
  Uuid id;
  // Mixer channels, and the output of a master strip.
  std::string channel;
  ChannelRoute route = ChannelRoute::air;

  static DeckAction plain(DeckActionKind kind) { return DeckAction{kind, {}, {}, ChannelRoute::air}; }
  static DeckAction withID(DeckActionKind kind, const Uuid& id) { return DeckAction{kind, id, {}, ChannelRoute::air}; }
  static DeckAction withChannel(DeckActionKind kind, std::string channel, ChannelRoute route = ChannelRoute::air) {
    return DeckAction{kind, {}, std::move(channel), route};
  }

  friend bool operator==(const DeckAction&, const DeckAction&) = default;
};

// Tiles that are a channel's fader rather than a button: a value moves them.
constexpr bool isFaderTile(DeckActionKind kind) {
  return kind == DeckActionKind::channelFader || kind == DeckActionKind::channelStrip;
}

enum class DeckPayload { none, id, channel, channelAndRoute };

constexpr DeckPayload payloadOf(DeckActionKind kind) {
  using K = DeckActionKind;
  switch (kind) {
    case K::loadLayout:
    case K::toggleStream:
    case K::playSound:
    case K::fireGraphic:
    case K::fireTransition:
      return DeckPayload::id;
    case K::toggleChannelAir:
    case K::channelFader:
    case K::channelStrip:
    case K::masterStrip:
      return DeckPayload::channel;
    case K::toggleChannelRoute:
      return DeckPayload::channelAndRoute;
    default:
      return DeckPayload::none;
  }
}

template <>
struct EnumNames<DeckActionKind> {
  using K = DeckActionKind;
  static constexpr std::pair<K, std::string_view> table[] = {
      {K::loadLayout, "loadLayout"},
      {K::toggleStream, "toggleStream"},
      {K::toggleChannelAir, "toggleChannelAir"},
      {K::toggleChannelRoute, "toggleChannelRoute"},
      {K::channelFader, "channelFader"},
      {K::channelStrip, "channelStrip"},
      {K::playSound, "playSound"},
      {K::fireGraphic, "fireGraphic"},
      {K::fireTransition, "fireTransition"},
      {K::masterStrip, "masterStrip"},
      {K::take, "take"},
      {K::cut, "cut"},
      {K::punchBlack, "punchBlack"},
      {K::punchBRB, "punchBRB"},
      {K::toggleRecord, "toggleRecord"},
      {K::saveReplay, "saveReplay"},
      {K::stopSounds, "stopSounds"},
      {K::programScreenshot, "programScreenshot"},
      {K::restartAudio, "restartAudio"},
      {K::toggleVirtualCamera, "toggleVirtualCamera"},
      {K::toggleNDI, "toggleNDI"},
      {K::presenterBar, "presenterBar"},
      {K::presenterZoomReset, "presenterZoomReset"},
      {K::presenterClearInk, "presenterClearInk"},
  };
};

template <>
struct EnumNames<ChannelRoute> {
  using R = ChannelRoute;
  static constexpr std::pair<R, std::string_view> table[] = {
      {R::air, "air"}, {R::cue, "cue"}, {R::monitor, "monitor"}, {R::afv, "afv"}};
};

}  // namespace tavorin

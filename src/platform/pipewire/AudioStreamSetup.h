#pragma once

#include <pipewire/stream.h>

#include <string>

#include "platform/pipewire/PipeWireLoop.h"

namespace tavorin {

// What the capture and playback streams share, with the loop locked.
struct AudioStreamSetup {
  std::string streamName;
  // Empty: the default device. Set: that node only, never another in its place.
  std::string targetNodeName;
  // Set: the stream's own node.name, and it is left unlinked for the caller to link.
  std::string unlinkedNodeName;
  pw_direction direction = PW_DIRECTION_OUTPUT;  // output: playback; input: capture
  pw_stream_flags flags = PW_STREAM_FLAG_NONE;
  const spa_pod* format = nullptr;  // the one EnumFormat offered
};

// Creates `stream` with `props` (taken over) plus the shared properties, listens
// with `events` and connects it. On failure nothing is left behind and the
// reason comes back; an empty string means success.
std::string connectAudioStream(PipeWireLoop& loop, const AudioStreamSetup& setup, pw_properties* props,
                               const pw_stream_events& events, void* data, pw_stream*& stream, spa_hook& listener);

// Disconnects and destroys `stream` when there is one; no event reaches the listener afterwards.
void destroyAudioStream(pw_stream*& stream, spa_hook& listener);

}  // namespace tavorin

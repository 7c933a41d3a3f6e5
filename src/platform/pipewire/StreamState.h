#pragma once

#include <pipewire/stream.h>

#include "platform/pipewire/PipeWirePlaybackStream.h"

namespace tavorin {

// What a pw_stream state means to the owner of a stream.
inline PipeWirePlaybackStream::State streamStateFrom(pw_stream_state state) {
  using State = PipeWirePlaybackStream::State;
  switch (state) {
    case PW_STREAM_STATE_ERROR:
      return State::error;
    case PW_STREAM_STATE_UNCONNECTED:
      return State::unconnected;
    case PW_STREAM_STATE_CONNECTING:
    case PW_STREAM_STATE_PAUSED:
      return State::connecting;
    case PW_STREAM_STATE_STREAMING:
      return State::streaming;
  }
  return State::error;
}

}  // namespace tavorin

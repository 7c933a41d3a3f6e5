#pragma once

#include <spa/utils/hook.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/pipewire/PipeWireLoop.h"
#include "platform/pipewire/PipeWirePlaybackStream.h"
#include "platform/pipewire/StreamFormat.h"

struct pw_stream;
struct spa_pod;

namespace tavorin {

// A capture stream from one input node, from the monitor of a sink when
// `captureSink` is set, or from the default source (sink) when the target is
// empty. It takes the node's own rate and channel count (1 to 8) in float,
// 16- or 32-bit form; converting to the mix format is the caller's business.
class PipeWireCaptureStream {
 public:
  // Loop thread. `planes` holds one pointer for interleaved formats and
  // `format.channels` pointers for planar ones.
  // `captured`: host seconds (CLOCK_MONOTONIC) of the block's first frame, from
  // the graph's own clock; negative when PipeWire gives no usable time.
  using Deliver = std::function<void(const StreamFormat& format, const void* const* planes, std::uint32_t frames,
                                     double captured)>;

  PipeWireCaptureStream(PipeWireLoop& loop, std::string streamName, std::string targetNodeName, bool captureSink,
                        Deliver deliver);
  ~PipeWireCaptureStream();
  PipeWireCaptureStream(const PipeWireCaptureStream&) = delete;
  PipeWireCaptureStream& operator=(const PipeWireCaptureStream&) = delete;

  bool start(std::string* error);
  // Disconnects; deliver is not called after it returns. Not from deliver itself.
  void stop();
  PipeWirePlaybackStream::State state() const { return state_.load(); }

  // Loop thread; neither for what start() itself reports nor for stop().
  std::function<void(PipeWirePlaybackStream::State, const std::string& error)> onStateChanged;

 private:
  struct Events;

  PipeWireLoop& loop_;
  const std::string streamName_;
  const std::string targetNodeName_;
  const bool captureSink_;
  const Deliver deliver_;

  // Loop thread only (or under the loop lock).
  pw_stream* stream_ = nullptr;
  spa_hook streamListener_{};
  StreamFormat format_;
  std::atomic<PipeWirePlaybackStream::State> state_{PipeWirePlaybackStream::State::idle};
};

}  // namespace tavorin

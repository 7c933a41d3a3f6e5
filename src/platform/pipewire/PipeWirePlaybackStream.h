#pragma once

#include <spa/utils/hook.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/pipewire/PipeWireLoop.h"

struct pw_stream;

namespace tavorin {

// A stereo playback stream into one output node, or into the default sink when
// the target is empty. Audio goes out as 48 kHz planar float; PipeWire converts
// for the device. A vanished target is reported through the state, never
// silently replaced by another device.
class PipeWirePlaybackStream {
 public:
  // Runs on PipeWire's real-time data thread: fill `frames` frames of left and right. Must not block.
  using Render = std::function<void(float* left, float* right, std::uint32_t frames)>;
  // connecting: waiting to be linked and started; unconnected: the daemon dropped the stream.
  enum class State { idle, connecting, streaming, error, unconnected };

  PipeWirePlaybackStream(PipeWireLoop& loop, std::string streamName, std::string targetNodeName, Render render,
                         std::uint32_t quantumFrames = 1024);
  // After it returns, render is never called again.
  ~PipeWirePlaybackStream();
  PipeWirePlaybackStream(const PipeWirePlaybackStream&) = delete;
  PipeWirePlaybackStream& operator=(const PipeWirePlaybackStream&) = delete;

  // Before start: the stream is not linked by the session manager but left
  // under node.name `nodeName` for the caller to link (into a virtual source).
  void leaveUnlinked(std::string nodeName) { unlinkedNodeName_ = std::move(nodeName); }
  // Connects; false with a message when PipeWire refuses the stream.
  bool start(std::string* error);
  // Disconnects; render is not called after it returns. Not from render itself.
  void stop();
  State state() const { return state_.load(); }

  // Loop thread; neither for what start() itself reports nor for stop().
  std::function<void(State, const std::string& error)> onStateChanged;

 private:
  struct Events;

  PipeWireLoop& loop_;
  const std::string streamName_;
  const std::string targetNodeName_;
  const Render render_;
  const std::uint32_t quantumFrames_;
  std::string unlinkedNodeName_;

  pw_stream* stream_ = nullptr;
  spa_hook streamListener_{};
  std::atomic<State> state_{State::idle};
  // The data thread checks `rendering_` inside a counted section, so stop() can
  // wait out a render already under way without locking the real-time path.
  std::atomic<bool> rendering_{false};
  std::atomic<int> renderersInside_{0};
};

}  // namespace tavorin

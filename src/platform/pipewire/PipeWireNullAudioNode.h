#pragma once

#include <spa/utils/hook.h>

#include <string>

#include "platform/pipewire/PipeWireLoop.h"

struct pw_proxy;

namespace tavorin {

// A stereo node of PipeWire's null-audio-sink kind: a sink whose monitor
// gives back what is played or linked into it, or a virtual source that
// records what is linked into it.
struct NullAudioNodeSetup {
  std::string name;         // node.name
  std::string description;  // node.description
  std::string mediaClass;   // "Audio/Sink" or "Audio/Source/Virtual"
  // Stays in the graph after we disconnect, until the daemon restarts.
  bool lingers = false;
  // A sink of our own: node.virtual, and the last choice for the session manager's default sink.
  bool hidden = false;
};

// A null-audio-sink node we have the daemon make with its adapter factory.
class PipeWireNullAudioNode {
 public:
  PipeWireNullAudioNode(PipeWireLoop& loop, NullAudioNodeSetup setup);
  // Takes the node away, unless it lingers.
  ~PipeWireNullAudioNode();
  PipeWireNullAudioNode(const PipeWireNullAudioNode&) = delete;
  PipeWireNullAudioNode& operator=(const PipeWireNullAudioNode&) = delete;

  // Asks for the node and waits for the daemon's answer; false with its reason.
  // Not from the loop thread.
  bool create(std::string* error);

 private:
  static void onError(void* data, int seq, int res, const char* message);

  PipeWireLoop& loop_;
  const NullAudioNodeSetup setup_;
  // Loop thread only (or under the loop lock).
  pw_proxy* proxy_ = nullptr;
  spa_hook listener_{};
  std::string refusal_;
};

}  // namespace tavorin

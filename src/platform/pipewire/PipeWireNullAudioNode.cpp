#include "platform/pipewire/PipeWireNullAudioNode.h"

#include <pipewire/pipewire.h>

#include <cstring>

namespace tavorin {

PipeWireNullAudioNode::PipeWireNullAudioNode(PipeWireLoop& loop, NullAudioNodeSetup setup)
    : loop_(loop), setup_(std::move(setup)) {}

PipeWireNullAudioNode::~PipeWireNullAudioNode() {
  loop_.locked([&] {
    if (!proxy_) return;
    spa_hook_remove(&listener_);
    pw_proxy_destroy(proxy_);
  });
}

bool PipeWireNullAudioNode::create(std::string* error) {
  static const pw_proxy_events events = [] {
    pw_proxy_events e{};
    e.version = PW_VERSION_PROXY_EVENTS;
    e.error = &PipeWireNullAudioNode::onError;
    return e;
  }();
  bool asked = false;
  loop_.locked([&] {
    asked = proxy_ != nullptr;
    if (asked) return;
    pw_properties* props = pw_properties_new(
        PW_KEY_FACTORY_NAME, "support.null-audio-sink", PW_KEY_NODE_NAME, setup_.name.c_str(), PW_KEY_NODE_DESCRIPTION,
        setup_.description.c_str(), PW_KEY_MEDIA_CLASS, setup_.mediaClass.c_str(), "audio.position", "[ FL FR ]",
        PW_KEY_OBJECT_LINGER, setup_.lingers ? "true" : "false", nullptr);
    if (setup_.hidden) {
      pw_properties_set(props, PW_KEY_NODE_VIRTUAL, "true");
      // WirePlumber picks the default sink by this priority: every real device comes first.
      pw_properties_set(props, PW_KEY_PRIORITY_SESSION, "-1000000");
    }
    proxy_ = static_cast<pw_proxy*>(
        pw_core_create_object(loop_.core(), "adapter", PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, &props->dict, 0));
    pw_properties_free(props);
    if (!proxy_) return;
    pw_proxy_add_listener(proxy_, &listener_, &events, this);
    asked = true;
  });
  if (!asked) {
    if (error) *error = "PipeWire would not make the node " + setup_.name + ": " + std::strerror(errno);
    return false;
  }
  const bool answered = loop_.roundTrip();
  std::string refusal;
  loop_.locked([&] { refusal = refusal_; });
  if (answered && refusal.empty()) return true;
  if (error) {
    *error = "PipeWire would not make the node " + setup_.name + ": " + (refusal.empty() ? "no answer" : refusal);
  }
  return false;
}

void PipeWireNullAudioNode::onError(void* data, int /*seq*/, int res, const char* message) {
  auto* self = static_cast<PipeWireNullAudioNode*>(data);
  self->refusal_ = message && *message ? message : std::strerror(-res);
}

}  // namespace tavorin

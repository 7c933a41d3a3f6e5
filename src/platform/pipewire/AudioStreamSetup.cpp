#include "platform/pipewire/AudioStreamSetup.h"

#include <pipewire/pipewire.h>

#include <cerrno>
#include <cstring>

namespace tavorin {

std::string connectAudioStream(PipeWireLoop& loop, const AudioStreamSetup& setup, pw_properties* props,
                               const pw_stream_events& events, void* data, pw_stream*& stream, spa_hook& listener) {
  const bool playback = setup.direction == PW_DIRECTION_OUTPUT;
  const std::string kind = playback ? "playback" : "capture";
  pw_properties_set(props, PW_KEY_MEDIA_TYPE, "Audio");
  pw_properties_set(props, PW_KEY_MEDIA_CATEGORY, playback ? "Playback" : "Capture");
  pw_properties_set(props, PW_KEY_MEDIA_ROLE, "Production");
  pw_properties_set(props, PW_KEY_APP_ID, PipeWireLoop::applicationID);
  pw_properties_set(props, PW_KEY_APP_NAME, PipeWireLoop::applicationID);
  pw_stream_flags flags = setup.flags;
  if (!setup.unlinkedNodeName.empty()) {
    pw_properties_set(props, PW_KEY_NODE_NAME, setup.unlinkedNodeName.c_str());
    pw_properties_set(props, PW_KEY_NODE_AUTOCONNECT, "false");
    flags = static_cast<pw_stream_flags>(flags & ~PW_STREAM_FLAG_AUTOCONNECT);
  }
  if (!setup.targetNodeName.empty()) {
    pw_properties_set(props, PW_KEY_TARGET_OBJECT, setup.targetNodeName.c_str());
    pw_properties_set(props, PW_KEY_NODE_DONT_RECONNECT, "true");
  }
  stream = pw_stream_new(loop.core(), setup.streamName.c_str(), props);
  if (!stream) return "cannot create the " + kind + " stream " + setup.streamName + ": " + std::strerror(errno);
  pw_stream_add_listener(stream, &listener, &events, data);
  const spa_pod* params[1] = {setup.format};
  const int result = pw_stream_connect(stream, setup.direction, PW_ID_ANY, flags, params, 1);
  if (result >= 0) return {};
  spa_hook_remove(&listener);
  pw_stream_destroy(stream);
  stream = nullptr;
  return "cannot connect the " + kind + " stream " + setup.streamName + ": " + std::strerror(-result);
}

void destroyAudioStream(pw_stream*& stream, spa_hook& listener) {
  if (!stream) return;
  spa_hook_remove(&listener);
  pw_stream_disconnect(stream);
  pw_stream_destroy(stream);
  stream = nullptr;
}

}  // namespace tavorin

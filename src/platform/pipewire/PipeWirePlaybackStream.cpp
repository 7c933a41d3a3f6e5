#include "platform/pipewire/PipeWirePlaybackStream.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <thread>

#include "platform/pipewire/AudioStreamSetup.h"
#include "platform/pipewire/StreamState.h"

namespace tavorin {

namespace {
constexpr int outputRate = 48000;
}

struct PipeWirePlaybackStream::Events {
  static void stateChanged(void* data, pw_stream_state /*old*/, pw_stream_state state, const char* error) {
    auto* self = static_cast<PipeWirePlaybackStream*>(data);
    const State mapped = streamStateFrom(state);
    self->state_ = mapped;
    // start() reports its own outcome; only what happens afterwards goes to the callback.
    if (self->onStateChanged && pw_thread_loop_in_thread(self->loop_.threadLoop())) {
      self->onStateChanged(mapped, error ? error : "");
    }
  }

  static void process(void* data) {
    auto* self = static_cast<PipeWirePlaybackStream*>(data);
    self->renderersInside_.fetch_add(1);
    if (self->rendering_.load()) fill(*self);
    self->renderersInside_.fetch_sub(1);
  }

  static void fill(PipeWirePlaybackStream& self) {
    pw_buffer* buffer = pw_stream_dequeue_buffer(self.stream_);
    if (!buffer) return;
    spa_buffer* spa = buffer->buffer;
    if (spa->n_datas >= 2 && spa->datas[0].data && spa->datas[1].data) {
      const std::uint32_t capacity = std::min(spa->datas[0].maxsize, spa->datas[1].maxsize) / sizeof(float);
      std::uint64_t wanted = buffer->requested ? buffer->requested : self.quantumFrames_;
      const auto frames = static_cast<std::uint32_t>(std::min<std::uint64_t>(wanted, capacity));
      if (frames > 0) self.render_(static_cast<float*>(spa->datas[0].data), static_cast<float*>(spa->datas[1].data), frames);
      for (std::uint32_t plane = 0; plane < 2; ++plane) {
        spa_chunk* chunk = spa->datas[plane].chunk;
        chunk->offset = 0;
        chunk->stride = sizeof(float);
        chunk->size = frames * sizeof(float);
      }
      buffer->size = frames;
    }
    pw_stream_queue_buffer(self.stream_, buffer);
  }
};

PipeWirePlaybackStream::PipeWirePlaybackStream(PipeWireLoop& loop, std::string streamName, std::string targetNodeName,
                                               Render render, std::uint32_t quantumFrames)
    : loop_(loop),
      streamName_(std::move(streamName)),
      targetNodeName_(std::move(targetNodeName)),
      render_(std::move(render)),
      quantumFrames_(quantumFrames > 0 ? quantumFrames : 1024) {}

PipeWirePlaybackStream::~PipeWirePlaybackStream() { stop(); }

bool PipeWirePlaybackStream::start(std::string* error) {
  static const pw_stream_events events = [] {
    pw_stream_events e{};
    e.version = PW_VERSION_STREAM_EVENTS;
    e.state_changed = &Events::stateChanged;
    e.process = &Events::process;
    return e;
  }();
  std::string failure;
  loop_.locked([&] {
    if (stream_) return;
    const std::string latency = std::to_string(quantumFrames_) + "/" + std::to_string(outputRate);
    spa_audio_info_raw info{};
    info.format = SPA_AUDIO_FORMAT_F32P;
    info.rate = outputRate;
    info.channels = 2;
    info.position[0] = SPA_AUDIO_CHANNEL_FL;
    info.position[1] = SPA_AUDIO_CHANNEL_FR;
    std::uint8_t podBuffer[1024];
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(podBuffer, sizeof podBuffer);
    AudioStreamSetup setup;
    setup.streamName = streamName_;
    setup.targetNodeName = targetNodeName_;
    setup.unlinkedNodeName = unlinkedNodeName_;
    setup.direction = PW_DIRECTION_OUTPUT;
    setup.flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                               PW_STREAM_FLAG_RT_PROCESS);
    setup.format = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info);

    state_ = State::connecting;
    rendering_ = true;
    failure = connectAudioStream(loop_, setup, pw_properties_new(PW_KEY_NODE_LATENCY, latency.c_str(), nullptr),
                                 events, this, stream_, streamListener_);
    if (!failure.empty()) {
      rendering_ = false;
      state_ = State::error;
    }
  });
  if (failure.empty()) return true;
  if (error) *error = failure;
  return false;
}

void PipeWirePlaybackStream::stop() {
  rendering_ = false;
  while (renderersInside_.load() > 0) std::this_thread::yield();
  loop_.locked([&] { destroyAudioStream(stream_, streamListener_); });
  state_ = State::idle;
}

}  // namespace tavorin

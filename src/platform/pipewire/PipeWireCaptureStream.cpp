#include "platform/pipewire/PipeWireCaptureStream.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/format-utils.h>
#include <spa/pod/builder.h>

#include <algorithm>
#include <array>
#include <climits>
#include <optional>

#include "platform/pipewire/AudioStreamSetup.h"
#include "platform/pipewire/StreamState.h"

namespace tavorin {
namespace {

constexpr int maxChannels = 8;

std::optional<SampleFormat> sampleFormatFrom(spa_audio_format format) {
  switch (format) {
    case SPA_AUDIO_FORMAT_F32:
      return SampleFormat::f32;
    case SPA_AUDIO_FORMAT_F32P:
      return SampleFormat::f32Planar;
    case SPA_AUDIO_FORMAT_S16:
      return SampleFormat::s16;
    case SPA_AUDIO_FORMAT_S32:
      return SampleFormat::s32;
    case SPA_AUDIO_FORMAT_S24_32:
      return SampleFormat::s24_32;
    default:
      return std::nullopt;
  }
}

std::uint32_t bytesPerSample(SampleFormat format) { return format == SampleFormat::s16 ? 2 : 4; }

// Any rate, one to eight channels, and the sample forms the mixer can resample from.
const spa_pod* buildEnumFormat(spa_pod_builder& builder) {
  spa_pod_frame frame;
  spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_audio), SPA_FORMAT_mediaSubtype,
                      SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_AUDIO_format,
                      SPA_POD_CHOICE_ENUM_Id(5, SPA_AUDIO_FORMAT_F32, SPA_AUDIO_FORMAT_F32, SPA_AUDIO_FORMAT_F32P,
                                             SPA_AUDIO_FORMAT_S16, SPA_AUDIO_FORMAT_S32),
                      SPA_FORMAT_AUDIO_rate, SPA_POD_CHOICE_RANGE_Int(48000, 1, INT_MAX), SPA_FORMAT_AUDIO_channels,
                      SPA_POD_CHOICE_RANGE_Int(2, 1, maxChannels), 0);
  return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
}

}  // namespace

struct PipeWireCaptureStream::Events {
  static void stateChanged(void* data, pw_stream_state /*old*/, pw_stream_state state, const char* error) {
    auto* self = static_cast<PipeWireCaptureStream*>(data);
    const auto mapped = streamStateFrom(state);
    self->state_ = mapped;
    if (self->onStateChanged && pw_thread_loop_in_thread(self->loop_.threadLoop())) {
      self->onStateChanged(mapped, error ? error : "");
    }
  }

  static void paramChanged(void* data, uint32_t id, const spa_pod* param) {
    auto* self = static_cast<PipeWireCaptureStream*>(data);
    if (id != SPA_PARAM_Format) return;
    self->format_ = StreamFormat{};
    std::uint32_t mediaType = 0;
    std::uint32_t mediaSubtype = 0;
    if (!param || spa_format_parse(param, &mediaType, &mediaSubtype) < 0) return;
    if (mediaType != SPA_MEDIA_TYPE_audio || mediaSubtype != SPA_MEDIA_SUBTYPE_raw) return;
    spa_audio_info_raw info{};
    if (spa_format_audio_raw_parse(param, &info) < 0) return;
    const auto format = sampleFormatFrom(info.format);
    if (!format || info.channels < 1 || info.channels > maxChannels || info.rate == 0) return;
    self->format_ = StreamFormat{static_cast<int>(info.rate), static_cast<int>(info.channels), *format};
  }

  static void process(void* data) {
    auto* self = static_cast<PipeWireCaptureStream*>(data);
    pw_buffer* buffer = pw_stream_dequeue_buffer(self->stream_);
    if (!buffer) return;
    pw_time time{};
    const bool timed = pw_stream_get_time_n(self->stream_, &time, sizeof time) == 0 && time.now > 0 &&
                       time.rate.denom > 0;
    deliver(*self, *buffer->buffer, timed ? &time : nullptr);
    pw_stream_queue_buffer(self->stream_, buffer);
  }

  static void deliver(PipeWireCaptureStream& self, const spa_buffer& buffer, const pw_time* time) {
    const StreamFormat& format = self.format_;
    if (format.channels == 0) return;
    const bool planar = format.format == SampleFormat::f32Planar;
    const std::uint32_t planes = planar ? static_cast<std::uint32_t>(format.channels) : 1;
    const std::uint32_t frameBytes = bytesPerSample(format.format) * (planar ? 1 : format.channels);
    if (buffer.n_datas < planes) return;
    std::array<const void*, maxChannels> pointers{};
    std::uint32_t frames = UINT32_MAX;
    for (std::uint32_t i = 0; i < planes; ++i) {
      const spa_data& plane = buffer.datas[i];
      if (!plane.data || !plane.chunk) return;
      const std::uint32_t offset = std::min(plane.chunk->offset, plane.maxsize);
      const std::uint32_t size = std::min(plane.chunk->size, plane.maxsize - offset);
      pointers[i] = static_cast<const std::uint8_t*>(plane.data) + offset;
      frames = std::min(frames, size / frameBytes);
    }
    if (frames == 0) return;
    double captured = -1;
    if (time) {
      // The cycle began at `now`; what it brought in was captured `delay` before, and lasts `frames`.
      const double delay = static_cast<double>(time->delay) * time->rate.num / time->rate.denom;
      captured = static_cast<double>(time->now) * 1e-9 - delay - static_cast<double>(frames) / format.sampleRate;
    }
    self.deliver_(format, pointers.data(), frames, captured);
  }
};

PipeWireCaptureStream::PipeWireCaptureStream(PipeWireLoop& loop, std::string streamName, std::string targetNodeName,
                                             bool captureSink, Deliver deliver)
    : loop_(loop),
      streamName_(std::move(streamName)),
      targetNodeName_(std::move(targetNodeName)),
      captureSink_(captureSink),
      deliver_(std::move(deliver)) {}

PipeWireCaptureStream::~PipeWireCaptureStream() { stop(); }

bool PipeWireCaptureStream::start(std::string* error) {
  static const pw_stream_events events = [] {
    pw_stream_events e{};
    e.version = PW_VERSION_STREAM_EVENTS;
    e.state_changed = &Events::stateChanged;
    e.param_changed = &Events::paramChanged;
    e.process = &Events::process;
    return e;
  }();
  std::string failure;
  loop_.locked([&] {
    if (stream_) return;
    std::uint8_t podBuffer[1024];
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(podBuffer, sizeof podBuffer);
    AudioStreamSetup setup;
    setup.streamName = streamName_;
    setup.targetNodeName = targetNodeName_;
    setup.direction = PW_DIRECTION_INPUT;
    setup.flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS);
    setup.format = buildEnumFormat(builder);
    pw_properties* props = pw_properties_new(nullptr, nullptr);
    if (captureSink_) pw_properties_set(props, PW_KEY_STREAM_CAPTURE_SINK, "true");

    format_ = StreamFormat{};
    state_ = PipeWirePlaybackStream::State::connecting;
    failure = connectAudioStream(loop_, setup, props, events, this, stream_, streamListener_);
    if (!failure.empty()) state_ = PipeWirePlaybackStream::State::error;
  });
  if (failure.empty()) return true;
  if (error) *error = failure;
  return false;
}

void PipeWireCaptureStream::stop() {
  loop_.locked([&] { destroyAudioStream(stream_, streamListener_); });
  state_ = PipeWirePlaybackStream::State::idle;
}

}  // namespace tavorin

#include "streaming/codec/AudioCodec.h"

#include <cmath>
#include <deque>
#include <vector>

#include "platform/media/FFmpegPointers.h"

extern "C" {
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace tavorin {

namespace {

constexpr int kPacketFrames = 1024;
// A block whose host time is further than this from where the running count
// puts it starts a new time line (a stall, a clock step, a device change).
constexpr int kResyncPackets = 4;

struct SwrFreer {
  void operator()(SwrContext* context) const { swr_free(&context); }
};
struct FifoFreer {
  void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};

}  // namespace

struct AudioCodec::Converter {
  ffmpeg::CodecContextPtr encoder;
  std::unique_ptr<SwrContext, SwrFreer> resampler;
  std::unique_ptr<AVAudioFifo, FifoFreer> ringBuffer;
  ffmpeg::FramePtr frame;
  ffmpeg::PacketPtr packet;
  std::shared_ptr<const AudioFormatDescription> format;
  std::vector<int> channelMap;
  std::vector<float> silence;
  std::vector<std::vector<float>> resampled;
  // Host time of the first frame in the ring buffer; none before the first block.
  std::optional<double> bufferStart;
  // Host times of the packets sent to the encoder and not yet out of it.
  std::deque<double> pending;
  std::int64_t framesSent = 0;
  bool failed = false;
};

AudioCodec::AudioCodec() = default;
AudioCodec::~AudioCodec() = default;

AudioCodecSettings AudioCodec::settings() const {
  std::lock_guard lock(mutex_);
  return settings_;
}

void AudioCodec::setSettings(const AudioCodecSettings& settings) {
  std::lock_guard lock(mutex_);
  if (settings == settings_) return;
  settings_ = settings;
  audioConverter_.reset();
}

void AudioCodec::startRunning() {
  std::lock_guard lock(mutex_);
  isRunning_ = true;
}

void AudioCodec::stopRunning() {
  std::lock_guard lock(mutex_);
  isRunning_ = false;
  inputFormat_.reset();
  audioConverter_.reset();
}

bool AudioCodec::isRunning() const {
  std::lock_guard lock(mutex_);
  return isRunning_;
}

std::optional<AudioFormatDescription> AudioCodec::outputFormat() const {
  std::lock_guard lock(mutex_);
  if (!audioConverter_ || audioConverter_->failed) return std::nullopt;
  return *audioConverter_->format;
}

void AudioCodec::append(const float* left, const float* right, int frames, double hostTime) {
  const float* planes[] = {left, right};
  append(planes, InputFormat{48000, 2}, frames, hostTime);
}

void AudioCodec::append(const float* const* planes, InputFormat format, int frames, double hostTime) {
  std::vector<EncodedAudioSample> samples;
  {
    std::lock_guard lock(mutex_);
    take(planes, format, frames, hostTime, samples);
  }
  // Outside the lock, so a handler may ask the codec for its format.
  if (!output_) return;
  for (const auto& sample : samples) output_(sample);
}

void AudioCodec::take(const float* const* planes, InputFormat format, int frames, double hostTime,
                      std::vector<EncodedAudioSample>& out) {
  if (!isRunning_ || frames <= 0 || format.channels <= 0 || format.sampleRate <= 0) return;
  if (inputFormat_ != format) {
    inputFormat_ = format;
    audioConverter_.reset();
  }
  if (!audioConverter_) makeAudioConverter();
  Converter& converter = *audioConverter_;
  if (converter.failed) return;

  std::vector<const float*> mapped;
  for (int source : converter.channelMap) {
    mapped.push_back(source >= 0 && source < format.channels ? planes[source] : nullptr);
  }
  if (converter.silence.size() < static_cast<std::size_t>(frames)) converter.silence.assign(frames, 0.0f);
  for (auto& plane : mapped) {
    if (!plane) plane = converter.silence.data();
  }

  const double rate = converter.format->sampleRate;
  const int buffered = av_audio_fifo_size(converter.ringBuffer.get());
  if (!converter.bufferStart ||
      std::abs(*converter.bufferStart + buffered / rate - hostTime) > kResyncPackets * kPacketFrames / rate) {
    converter.bufferStart = hostTime - buffered / rate;
  }

  int count = frames;
  void* const* data = reinterpret_cast<void* const*>(const_cast<float**>(mapped.data()));
  std::vector<float*> outPlanes;
  if (converter.resampler) {
    const int room = swr_get_out_samples(converter.resampler.get(), frames);
    for (auto& plane : converter.resampled) {
      if (plane.size() < static_cast<std::size_t>(room)) plane.resize(room);
      outPlanes.push_back(plane.data());
    }
    count = swr_convert(converter.resampler.get(), reinterpret_cast<std::uint8_t**>(outPlanes.data()), room,
                        reinterpret_cast<const std::uint8_t**>(mapped.data()), frames);
    if (count < 0) {
      log("audio conversion failed: " + ffmpeg::errorText(count));
      return;
    }
    data = reinterpret_cast<void* const*>(outPlanes.data());
  }
  if (count > 0 && av_audio_fifo_write(converter.ringBuffer.get(), const_cast<void**>(data), count) < count) {
    log("audio ring buffer is out of memory");
    return;
  }
  encodeFullPackets(out);
}

void AudioCodec::makeAudioConverter() {
  auto converter = std::make_unique<Converter>();
  audioConverter_ = std::move(converter);
  Converter& c = *audioConverter_;
  c.failed = true;
  if (settings_.format != AudioCodecSettings::Format::aac) {
    log(std::string("audio format ") + (settings_.format == AudioCodecSettings::Format::opus ? "opus" : "pcm") +
        " is not supported; only aac is encoded");
    return;
  }
  const InputFormat input = *inputFormat_;
  const int rate = settings_.sampleRate > 0 ? static_cast<int>(std::lround(settings_.sampleRate)) : input.sampleRate;
  if (settings_.channelMap && !settings_.channelMap->empty()) {
    c.channelMap = *settings_.channelMap;
  } else {
    for (int i = 0; i < input.channels; ++i) c.channelMap.push_back(i);
  }
  const int mappedChannels = static_cast<int>(c.channelMap.size());
  const int channels = settings_.downmix && mappedChannels > 2 ? 2 : mappedChannels;

  const AVCodec* aac = avcodec_find_encoder_by_name("aac");
  if (!aac) {
    log("no AAC encoder");
    return;
  }
  c.encoder.reset(avcodec_alloc_context3(aac));
  AVCodecContext* encoder = c.encoder.get();
  encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
  encoder->sample_rate = rate;
  av_channel_layout_default(&encoder->ch_layout, channels);
  encoder->bit_rate = settings_.bitRate;
  encoder->time_base = AVRational{1, rate};
  encoder->profile = FF_PROFILE_AAC_LOW;
  if (const int code = avcodec_open2(encoder, aac, nullptr); code < 0) {
    log("can't open the AAC encoder at " + std::to_string(rate) + " Hz, " + std::to_string(channels) +
        " channels: " + ffmpeg::errorText(code));
    return;
  }

  if (rate != input.sampleRate || channels != mappedChannels) {
    AVChannelLayout inLayout, outLayout;
    av_channel_layout_default(&inLayout, mappedChannels);
    av_channel_layout_default(&outLayout, channels);
    SwrContext* resampler = nullptr;
    const int code = swr_alloc_set_opts2(&resampler, &outLayout, AV_SAMPLE_FMT_FLTP, rate, &inLayout,
                                         AV_SAMPLE_FMT_FLTP, input.sampleRate, 0, nullptr);
    c.resampler.reset(resampler);
    av_channel_layout_uninit(&inLayout);
    av_channel_layout_uninit(&outLayout);
    if (code < 0 || swr_init(resampler) < 0) {
      log("can't convert audio from " + std::to_string(input.sampleRate) + " Hz, " + std::to_string(mappedChannels) +
          " channels");
      return;
    }
    c.resampled.resize(channels);
  }

  c.ringBuffer.reset(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, channels, 4 * kPacketFrames));
  c.frame.reset(av_frame_alloc());
  c.packet.reset(av_packet_alloc());
  if (!c.ringBuffer || !c.frame || !c.packet) return;
  c.frame->format = AV_SAMPLE_FMT_FLTP;
  c.frame->nb_samples = kPacketFrames;
  c.frame->sample_rate = rate;
  av_channel_layout_copy(&c.frame->ch_layout, &encoder->ch_layout);
  if (av_frame_get_buffer(c.frame.get(), 0) < 0) return;
  c.format = std::make_shared<const AudioFormatDescription>(AudioFormatDescription{rate, channels, 2});
  c.failed = false;
}

void AudioCodec::encodeFullPackets(std::vector<EncodedAudioSample>& out) {
  Converter& c = *audioConverter_;
  const double rate = c.format->sampleRate;
  while (av_audio_fifo_size(c.ringBuffer.get()) >= kPacketFrames) {
    if (av_frame_make_writable(c.frame.get()) < 0) return;
    av_audio_fifo_read(c.ringBuffer.get(), reinterpret_cast<void**>(c.frame->data), kPacketFrames);
    c.frame->pts = c.framesSent;
    c.framesSent += kPacketFrames;
    c.pending.push_back(*c.bufferStart);
    *c.bufferStart += kPacketFrames / rate;
    if (const int code = avcodec_send_frame(c.encoder.get(), c.frame.get()); code < 0) {
      log("AAC encoding failed: " + ffmpeg::errorText(code));
      c.pending.pop_back();
      continue;
    }
    // The encoder holds one packet back; each packet out takes the oldest time in.
    while (avcodec_receive_packet(c.encoder.get(), c.packet.get()) == 0) {
      EncodedAudioSample sample;
      sample.data.assign(c.packet->data, c.packet->data + c.packet->size);
      sample.pts = c.pending.empty() ? 0 : c.pending.front();
      if (!c.pending.empty()) c.pending.pop_front();
      sample.format = c.format;
      av_packet_unref(c.packet.get());
      out.push_back(std::move(sample));
    }
  }
}

void AudioCodec::log(const std::string& line) const {
  if (log_) log_(line);
}

}  // namespace tavorin

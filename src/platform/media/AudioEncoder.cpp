#include "platform/media/AudioEncoder.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace tavorin {

namespace {

constexpr int kPacketFrames = 1024;
// A block whose host time is further than this from where the running count
// puts it is placed by its time: silence fills a gap, an overlap is dropped,
// so no error builds up over hours.
constexpr double kReanchorSeconds = 0.010;

}  // namespace

void AudioEncoder::SwrFreer::operator()(SwrContext* context) const { swr_free(&context); }

std::unique_ptr<AudioEncoder> AudioEncoder::open(const AudioEncoding& encoding, int inputRate, int inputChannels,
                                                 EncoderError& error) {
  if (inputRate <= 0 || inputChannels <= 0) {
    error = EncoderError::unsupportedFormat;
    return nullptr;
  }
  std::unique_ptr<AudioEncoder> made(new AudioEncoder);
  AudioEncoder& e = *made;
  e.inputRate_ = inputRate;
  e.inputChannels_ = inputChannels;
  const int rate = encoding.sampleRate > 0 ? encoding.sampleRate : inputRate;
  if (encoding.channelMap && !encoding.channelMap->empty()) {
    e.channelMap_ = *encoding.channelMap;
  } else {
    for (int i = 0; i < inputChannels; ++i) e.channelMap_.push_back(i);
  }
  const int mappedChannels = static_cast<int>(e.channelMap_.size());
  const int channels = encoding.downmix && mappedChannels > 2 ? 2 : mappedChannels;
  AudioFormatDescription format{rate, channels, 2};
  if (!audioSpecificConfig(format)) {
    error = EncoderError::unsupportedFormat;
    return nullptr;
  }
  const AVCodec* aac = avcodec_find_encoder_by_name("aac");
  if (!aac) {
    error = EncoderError::noEncoder;
    return nullptr;
  }
  e.encoder_.reset(avcodec_alloc_context3(aac));
  AVCodecContext* encoder = e.encoder_.get();
  encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
  encoder->sample_rate = rate;
  av_channel_layout_default(&encoder->ch_layout, channels);
  // FFmpeg's AAC takes any rate; outside these bounds it sounds bad or wastes bits.
  encoder->bit_rate = std::clamp<std::int64_t>(encoding.bitRate, 32'000, 320'000);
  encoder->time_base = AVRational{1, rate};
  encoder->profile = FF_PROFILE_AAC_LOW;
  encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (avcodec_open2(encoder, aac, nullptr) < 0) {
    error = EncoderError::noEncoder;
    return nullptr;
  }
  if (rate != inputRate || channels != mappedChannels) {
    AVChannelLayout inLayout, outLayout;
    av_channel_layout_default(&inLayout, mappedChannels);
    av_channel_layout_default(&outLayout, channels);
    SwrContext* resampler = nullptr;
    const int code = swr_alloc_set_opts2(&resampler, &outLayout, AV_SAMPLE_FMT_FLTP, rate, &inLayout,
                                         AV_SAMPLE_FMT_FLTP, inputRate, 0, nullptr);
    e.resampler_.reset(resampler);
    av_channel_layout_uninit(&inLayout);
    av_channel_layout_uninit(&outLayout);
    if (code < 0 || swr_init(resampler) < 0) {
      error = EncoderError::unsupportedFormat;
      return nullptr;
    }
    e.resampled_.resize(static_cast<std::size_t>(channels));
  }
  e.fifo_.reset(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, channels, 4 * kPacketFrames));
  e.frame_.reset(av_frame_alloc());
  e.packet_.reset(av_packet_alloc());
  if (!e.fifo_ || !e.frame_ || !e.packet_) {
    error = EncoderError::outOfMemory;
    return nullptr;
  }
  e.frame_->format = AV_SAMPLE_FMT_FLTP;
  e.frame_->nb_samples = kPacketFrames;
  e.frame_->sample_rate = rate;
  av_channel_layout_copy(&e.frame_->ch_layout, &encoder->ch_layout);
  if (av_frame_get_buffer(e.frame_.get(), 0) < 0) {
    error = EncoderError::outOfMemory;
    return nullptr;
  }
  e.format_ = std::make_shared<const AudioFormatDescription>(format);
  error = EncoderError::none;
  return made;
}

AudioEncoder::~AudioEncoder() = default;

EncoderError AudioEncoder::send(const AudioBlock& block) {
  const int frames = static_cast<int>(block.frameCount());
  if (frames <= 0) return EncoderError::none;
  if (block.sampleRate() != inputRate_ || block.channelCount() != inputChannels_) return EncoderError::unsupportedFormat;
  if (silence_.size() < static_cast<std::size_t>(frames)) silence_.assign(static_cast<std::size_t>(frames), 0.0f);
  mapped_.clear();
  for (int source : channelMap_) {
    mapped_.push_back(source >= 0 && source < inputChannels_ ? block.plane(source) : silence_.data());
  }
  const double rate = format_->sampleRate;
  const double hostTime = block.hostTime();
  if (!bufferStart_) bufferStart_ = hostTime;
  // Where the running count puts this block, against where its stamp does.
  const double expected = *bufferStart_ + static_cast<double>(framesQueued_) / rate;
  const double off = hostTime - expected;
  int skip = 0;
  if (off > kReanchorSeconds) {
    insertSilence(static_cast<int>(std::lround(off * rate)));
  } else if (off < -kReanchorSeconds) {
    skip = static_cast<int>(std::lround(-off * block.sampleRate()));
    if (skip >= frames) return EncoderError::none;
  }
  int count = frames - skip;
  if (skip > 0) {
    for (auto& plane : mapped_) plane += skip;
  }
  void* const* data = reinterpret_cast<void* const*>(const_cast<float**>(mapped_.data()));
  std::vector<float*> outPlanes;
  if (resampler_) {
    const int room = swr_get_out_samples(resampler_.get(), frames - skip);
    for (auto& plane : resampled_) {
      if (plane.size() < static_cast<std::size_t>(room)) plane.resize(static_cast<std::size_t>(room));
      outPlanes.push_back(plane.data());
    }
    count = swr_convert(resampler_.get(), reinterpret_cast<std::uint8_t**>(outPlanes.data()), room,
                        reinterpret_cast<const std::uint8_t**>(mapped_.data()), frames - skip);
    if (count < 0) return EncoderError::conversionFailed;
    data = reinterpret_cast<void* const*>(outPlanes.data());
  }
  if (count > 0 && av_audio_fifo_write(fifo_.get(), const_cast<void**>(data), count) < count) {
    return EncoderError::outOfMemory;
  }
  framesQueued_ += std::max(count, 0);
  return encodePackets(false);
}

void AudioEncoder::insertSilence(int frames) {
  if (frames <= 0) return;
  const int channels = format_->channels;
  if (static_cast<int>(silence_.size()) < frames) silence_.assign(static_cast<std::size_t>(frames), 0.0f);
  std::vector<void*> planes(static_cast<std::size_t>(channels), silence_.data());
  if (av_audio_fifo_write(fifo_.get(), planes.data(), frames) == frames) framesQueued_ += frames;
}

EncoderError AudioEncoder::flush() {
  if (const auto error = encodePackets(true); error != EncoderError::none) return error;
  avcodec_send_frame(encoder_.get(), nullptr);
  return encodePackets(false);
}

EncoderError AudioEncoder::encodePackets(bool flushing) {
  const double rate = format_->sampleRate;
  auto drain = [&] {
    // The encoder holds packets back; each packet out takes the oldest time in.
    while (avcodec_receive_packet(encoder_.get(), packet_.get()) == 0) {
      EncodedAudioSample sample;
      sample.data.assign(packet_->data, packet_->data + packet_->size);
      sample.pts = pending_.empty() ? 0 : pending_.front();
      if (!pending_.empty()) pending_.pop_front();
      sample.format = format_;
      av_packet_unref(packet_.get());
      ready_.push_back(std::move(sample));
    }
  };
  while (av_audio_fifo_size(fifo_.get()) >= kPacketFrames || (flushing && av_audio_fifo_size(fifo_.get()) > 0)) {
    if (av_frame_make_writable(frame_.get()) < 0) return EncoderError::outOfMemory;
    const int available = std::min(kPacketFrames, av_audio_fifo_size(fifo_.get()));
    av_samples_set_silence(frame_->data, 0, kPacketFrames, frame_->ch_layout.nb_channels, AV_SAMPLE_FMT_FLTP);
    av_audio_fifo_read(fifo_.get(), reinterpret_cast<void**>(frame_->data), available);
    frame_->pts = framesSent_;
    framesSent_ += kPacketFrames;
    // Every packet is stamped from the running count: gaps are silence in it, overlaps were dropped.
    pending_.push_back(*bufferStart_ + static_cast<double>(framesEncoded_) / rate);
    framesEncoded_ += available;
    if (avcodec_send_frame(encoder_.get(), frame_.get()) < 0) {
      pending_.pop_back();
      return EncoderError::encodeFailed;
    }
    drain();
  }
  drain();
  return EncoderError::none;
}

bool AudioEncoder::receive(EncodedAudioSample& sample, EncoderError& error) {
  error = EncoderError::none;
  if (ready_.empty()) return false;
  sample = std::move(ready_.front());
  ready_.pop_front();
  return true;
}

}  // namespace tavorin

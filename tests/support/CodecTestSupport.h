#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/media/FFmpegPointers.h"

namespace tavorin::testing {

// Decodes length-prefixed or raw packets back with FFmpeg, for round trips.
class TestDecoder {
 public:
  TestDecoder(AVCodecID codec, std::span<const std::uint8_t> extradata, int sampleRate = 0, int channels = 0) {
    const AVCodec* decoder = avcodec_find_decoder(codec);
    context_.reset(avcodec_alloc_context3(decoder));
    context_->extradata = static_cast<std::uint8_t*>(av_mallocz(extradata.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(extradata.begin(), extradata.end(), context_->extradata);
    context_->extradata_size = static_cast<int>(extradata.size());
    if (sampleRate) {
      context_->sample_rate = sampleRate;
      av_channel_layout_default(&context_->ch_layout, channels);
    }
    opened_ = avcodec_open2(context_.get(), decoder, nullptr) >= 0;
    frame_.reset(av_frame_alloc());
    packet_.reset(av_packet_alloc());
  }

  bool opened() const { return opened_; }

  // Calls `take(frame)` for each frame the packet completes.
  template <class F>
  bool decode(std::span<const std::uint8_t> data, F&& take) {
    av_new_packet(packet_.get(), static_cast<int>(data.size()));
    std::copy(data.begin(), data.end(), packet_->data);
    const int sent = avcodec_send_packet(context_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (sent < 0) return false;
    return drain(take);
  }

  template <class F>
  bool flush(F&& take) {
    avcodec_send_packet(context_.get(), nullptr);
    return drain(take);
  }

 private:
  template <class F>
  bool drain(F&& take) {
    for (;;) {
      const int code = avcodec_receive_frame(context_.get(), frame_.get());
      if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return true;
      if (code < 0) return false;
      take(*frame_);
      av_frame_unref(frame_.get());
    }
  }

  ffmpeg::CodecContextPtr context_;
  ffmpeg::FramePtr frame_;
  ffmpeg::PacketPtr packet_;
  bool opened_ = false;
};

}  // namespace tavorin::testing

#include "platform/media/StreamAudioDecoder.h"

#include <algorithm>

namespace tavorin {

std::unique_ptr<StreamAudioDecoder> StreamAudioDecoder::open(const std::vector<std::uint8_t>& config, int sampleRate,
                                                             int channels, std::string& error) {
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_AAC);
  if (!codec) {
    error = "no AAC decoder";
    return nullptr;
  }
  auto made = std::unique_ptr<StreamAudioDecoder>(new StreamAudioDecoder);
  made->context_.reset(avcodec_alloc_context3(codec));
  AVCodecContext* context = made->context_.get();
  ffmpeg::setExtradata(context, config.data(), config.size());
  context->sample_rate = sampleRate;
  av_channel_layout_default(&context->ch_layout, std::max(channels, 1));
  if (const int result = avcodec_open2(context, codec, nullptr); result < 0) {
    error = ffmpeg::errorText(result);
    return nullptr;
  }
  made->packet_.reset(av_packet_alloc());
  made->frame_.reset(av_frame_alloc());
  return made;
}

void StreamAudioDecoder::decode(std::span<const std::uint8_t> frame, const Sink& sink) {
  if (frame.empty() || av_new_packet(packet_.get(), static_cast<int>(frame.size())) < 0) return;
  std::copy(frame.begin(), frame.end(), packet_->data);
  const int sent = avcodec_send_packet(context_.get(), packet_.get());
  av_packet_unref(packet_.get());
  if (sent < 0) return;
  while (avcodec_receive_frame(context_.get(), frame_.get()) == 0) {
    // The AAC decoder gives float planes; other layouts are not produced for AAC.
    if (frame_->format == AV_SAMPLE_FMT_FLTP && sink) {
      const PcmFormat format{frame_->sample_rate, frame_->ch_layout.nb_channels, PcmSampleFormat::f32Planar};
      sink(format, reinterpret_cast<const void* const*>(frame_->extended_data), static_cast<std::uint32_t>(frame_->nb_samples));
    }
    av_frame_unref(frame_.get());
  }
}

}  // namespace tavorin

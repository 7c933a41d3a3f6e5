#include "platform/media/AudioFileReader.h"

#include "platform/media/FFmpegPointers.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace tavorin {

namespace {

using namespace ffmpeg;

struct ResamplerFreer {
  void operator()(SwrContext* context) const { swr_free(&context); }
};
using ResamplerPtr = std::unique_ptr<SwrContext, ResamplerFreer>;

// Gathers decoded frames as float planes; the resampler only changes the
// sample format, so rate and channels stay the file's.
class PlaneCollector {
 public:
  PlaneCollector(SwrContext* resampler, int channels, int sampleRate) : resampler_(resampler) {
    buffer_.sampleRate = sampleRate;
    buffer_.planes.resize(static_cast<std::size_t>(channels));
  }

  // `frame` null drains what the resampler still holds.
  bool add(const AVFrame* frame) {
    const int input = frame ? frame->nb_samples : 0;
    const int capacity = swr_get_out_samples(resampler_, input);
    if (capacity < 0) return false;
    if (capacity == 0) return true;
    const std::size_t at = buffer_.frameLength;
    std::vector<std::uint8_t*> out;
    for (auto& plane : buffer_.planes) {
      plane.resize(at + static_cast<std::size_t>(capacity));
      out.push_back(reinterpret_cast<std::uint8_t*>(plane.data() + at));
    }
    const int made = swr_convert(resampler_, out.data(), capacity,
                                 frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr, input);
    if (made < 0) return false;
    buffer_.frameLength = static_cast<std::uint32_t>(at + static_cast<std::size_t>(made));
    for (auto& plane : buffer_.planes) plane.resize(buffer_.frameLength);
    return true;
  }

  PcmBuffer take() { return std::move(buffer_); }

 private:
  SwrContext* resampler_;
  PcmBuffer buffer_;
};

// Moves every frame the decoder has ready into `collector`; false on a decoding error.
bool drain(AVCodecContext* decoder, AVFrame* frame, PlaneCollector& collector) {
  for (;;) {
    const int status = avcodec_receive_frame(decoder, frame);
    if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return true;
    if (status < 0) return false;
    const bool added = collector.add(frame);
    av_frame_unref(frame);
    if (!added) return false;
  }
}

}  // namespace

std::optional<PcmBuffer> readAudioFile(const std::filesystem::path& path) {
  AVFormatContext* opened = nullptr;
  if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0) return std::nullopt;
  InputFormatPtr format(opened);
  if (avformat_find_stream_info(opened, nullptr) < 0) return std::nullopt;
  const AVCodec* codec = nullptr;
  const int index = av_find_best_stream(opened, AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
  if (index < 0 || !codec) return std::nullopt;
  CodecContextPtr decoder(avcodec_alloc_context3(codec));
  if (!decoder || avcodec_parameters_to_context(decoder.get(), opened->streams[index]->codecpar) < 0 ||
      avcodec_open2(decoder.get(), codec, nullptr) < 0) {
    return std::nullopt;
  }
  const int channels = decoder->ch_layout.nb_channels;
  if (channels <= 0 || decoder->sample_rate <= 0) return std::nullopt;

  AVChannelLayout layout{};
  if (decoder->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
    av_channel_layout_default(&layout, channels);
  } else {
    av_channel_layout_copy(&layout, &decoder->ch_layout);
  }
  SwrContext* made = nullptr;
  const int status = swr_alloc_set_opts2(&made, &layout, AV_SAMPLE_FMT_FLTP, decoder->sample_rate, &layout,
                                         decoder->sample_fmt, decoder->sample_rate, 0, nullptr);
  av_channel_layout_uninit(&layout);
  ResamplerPtr resampler(made);
  if (status < 0 || swr_init(made) < 0) return std::nullopt;

  FramePtr frame(av_frame_alloc());
  PacketPtr packet(av_packet_alloc());
  if (!frame || !packet) return std::nullopt;
  PlaneCollector collector(made, channels, decoder->sample_rate);
  for (;;) {
    const int read = av_read_frame(opened, packet.get());
    if (read == AVERROR_EOF) break;
    if (read < 0) return std::nullopt;
    if (packet->stream_index != index) {
      av_packet_unref(packet.get());
      continue;
    }
    const int sent = avcodec_send_packet(decoder.get(), packet.get());
    av_packet_unref(packet.get());
    // A damaged packet costs its own samples only, as in any player.
    if (sent < 0 && sent != AVERROR_INVALIDDATA) return std::nullopt;
    if (!drain(decoder.get(), frame.get(), collector)) return std::nullopt;
  }
  if (avcodec_send_packet(decoder.get(), nullptr) < 0 || !drain(decoder.get(), frame.get(), collector) ||
      !collector.add(nullptr)) {
    return std::nullopt;
  }
  PcmBuffer buffer = collector.take();
  if (buffer.frameLength == 0) return std::nullopt;
  return buffer;
}

}  // namespace tavorin

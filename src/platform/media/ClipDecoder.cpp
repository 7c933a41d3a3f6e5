#include "platform/media/ClipDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace tavorin {

namespace {

using namespace ffmpeg;

// VP9 keeps its alpha in a side channel that only libvpx's decoder reads.
const AVCodec* videoDecoderFor(const AVStream& stream) {
  if (stream.codecpar->codec_id == AV_CODEC_ID_VP9) {
    const AVDictionaryEntry* alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
    if (alpha && std::strcmp(alpha->value, "1") == 0) {
      if (const AVCodec* libvpx = avcodec_find_decoder_by_name("libvpx-vp9")) return libvpx;
    }
  }
  return avcodec_find_decoder(stream.codecpar->codec_id);
}

}  // namespace

std::unique_ptr<ClipDecoder> ClipDecoder::open(const std::filesystem::path& file, std::string& error) {
  std::unique_ptr<ClipDecoder> decoder(new ClipDecoder);
  AVFormatContext* opened = nullptr;
  if (const int status = avformat_open_input(&opened, file.c_str(), nullptr, nullptr); status < 0) {
    error = "can't open " + file.string() + ": " + errorText(status);
    return nullptr;
  }
  decoder->format_.reset(opened);
  if (const int status = avformat_find_stream_info(opened, nullptr); status < 0) {
    error = "can't read " + file.string() + ": " + errorText(status);
    return nullptr;
  }
  if (!decoder->openVideo(error)) {
    error += " in " + file.string();
    return nullptr;
  }
  decoder->openAudio();
  decoder->frame_.reset(av_frame_alloc());
  decoder->packet_.reset(av_packet_alloc());
  if (!decoder->frame_ || !decoder->packet_) {
    error = "out of memory";
    return nullptr;
  }
  if (opened->duration > 0) decoder->duration_ = static_cast<double>(opened->duration) / AV_TIME_BASE;
  return decoder;
}

ClipDecoder::~ClipDecoder() { swr_free(&resampler_); }

bool ClipDecoder::openVideo(std::string& error) {
  videoIndex_ = av_find_best_stream(format_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (videoIndex_ < 0) {
    error = "no pictures";
    return false;
  }
  const AVStream& stream = *format_->streams[videoIndex_];
  const AVCodec* codec = videoDecoderFor(stream);
  if (!codec) {
    error = "no decoder for the pictures";
    return false;
  }
  video_.reset(avcodec_alloc_context3(codec));
  if (!video_ || avcodec_parameters_to_context(video_.get(), stream.codecpar) < 0) {
    error = "can't set up the decoder";
    return false;
  }
  video_->thread_count = 0;
  if (const int status = avcodec_open2(video_.get(), codec, nullptr); status < 0) {
    error = "can't open the decoder: " + errorText(status);
    return false;
  }
  if (stream.start_time != AV_NOPTS_VALUE) origin_ = static_cast<double>(stream.start_time) * av_q2d(stream.time_base);
  if (stream.avg_frame_rate.num > 0 && stream.avg_frame_rate.den > 0) frameDuration_ = av_q2d(av_inv_q(stream.avg_frame_rate));
  const auto* matrix =
      reinterpret_cast<const std::int32_t*>(av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
  converter_ = std::make_unique<ClipPictureConverter>(quarterTurnsFor(matrix));
  return true;
}

// A clip whose sound can't be decoded plays its pictures in silence.
void ClipDecoder::openAudio() {
  const AVCodec* codec = nullptr;
  audioIndex_ = av_find_best_stream(format_.get(), AVMEDIA_TYPE_AUDIO, -1, videoIndex_, &codec, 0);
  if (audioIndex_ < 0 || !codec) return;
  CodecContextPtr audio(avcodec_alloc_context3(codec));
  if (!audio || avcodec_parameters_to_context(audio.get(), format_->streams[audioIndex_]->codecpar) < 0 ||
      avcodec_open2(audio.get(), codec, nullptr) < 0) {
    return;
  }
  AVChannelLayout input{};
  if (audio->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
    av_channel_layout_default(&input, audio->ch_layout.nb_channels);
  } else {
    av_channel_layout_copy(&input, &audio->ch_layout);
  }
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  const int status = swr_alloc_set_opts2(&resampler_, &stereo, AV_SAMPLE_FMT_FLTP, kCommonSampleRate, &input,
                                         audio->sample_fmt, audio->sample_rate, 0, nullptr);
  av_channel_layout_uninit(&input);
  if (status < 0 || swr_init(resampler_) < 0) {
    swr_free(&resampler_);
    return;
  }
  audio_ = std::move(audio);
}

double ClipDecoder::secondsOf(std::int64_t timestamp, const AVStream& stream) const {
  return static_cast<double>(timestamp) * av_q2d(stream.time_base) - origin_;
}

bool ClipDecoder::seek(double seconds) {
  const AVStream& stream = *format_->streams[videoIndex_];
  const auto target = static_cast<std::int64_t>(std::floor((seconds + origin_) / av_q2d(stream.time_base)));
  // To the key frame at or before the target; what lies between is decoded and dropped.
  if (av_seek_frame(format_.get(), videoIndex_, target, AVSEEK_FLAG_BACKWARD) < 0 &&
      av_seek_frame(format_.get(), videoIndex_, target, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY) < 0) {
    return false;
  }
  avcodec_flush_buffers(video_.get());
  if (audio_) {
    avcodec_flush_buffers(audio_.get());
    swr_close(resampler_);
    swr_init(resampler_);
  }
  discardBefore_ = seconds;
  soundClock_.reset();
  flushed_ = videoEnded_ = false;
  audioEnded_ = !audio_;
  return true;
}

std::optional<ClipDecoder::Step> ClipDecoder::receivePicture(ClipPicture& picture) {
  while (!videoEnded_) {
    const int status = avcodec_receive_frame(video_.get(), frame_.get());
    if (status == AVERROR_EOF) videoEnded_ = true;
    if (status < 0) return std::nullopt;
    ++decodedPictures_;
    const AVStream& stream = *format_->streams[videoIndex_];
    const double pts = frame_->best_effort_timestamp == AV_NOPTS_VALUE
                           ? 0
                           : secondsOf(frame_->best_effort_timestamp, stream);
    const double length =
        frame_->pkt_duration > 0 ? static_cast<double>(frame_->pkt_duration) * av_q2d(stream.time_base) : frameDuration_;
    // The picture that still shows at the seek's target is kept; the ones before it go.
    const bool before = pts + length <= discardBefore_ + 1e-6;
    PixelBufferRef buffer = before ? nullptr : converter_->convert(*frame_);
    av_frame_unref(frame_.get());
    if (!buffer) continue;
    picture.buffer = std::move(buffer);
    picture.pts = pts;
    picture.duration = length;
    return Step::picture;
  }
  return std::nullopt;
}

std::optional<ClipDecoder::Step> ClipDecoder::receiveSound(ClipSound& sound) {
  while (audio_ && !audioEnded_) {
    const int status = avcodec_receive_frame(audio_.get(), frame_.get());
    if (status == AVERROR_EOF) audioEnded_ = true;
    if (status < 0) return std::nullopt;
    const AVStream& stream = *format_->streams[audioIndex_];
    if (!soundClock_) {
      soundClock_ = frame_->best_effort_timestamp == AV_NOPTS_VALUE ? std::max(discardBefore_, 0.0)
                                                                     : secondsOf(frame_->best_effort_timestamp, stream);
    }
    const int capacity = swr_get_out_samples(resampler_, frame_->nb_samples);
    if (capacity <= 0) {
      av_frame_unref(frame_.get());
      continue;
    }
    sound.block = PcmBuffer::make(kCommonChannels, static_cast<std::uint32_t>(capacity));
    std::uint8_t* out[kCommonChannels];
    for (int c = 0; c < kCommonChannels; ++c) out[c] = reinterpret_cast<std::uint8_t*>(sound.block.planes[c].data());
    const int made = swr_convert(resampler_, out, capacity, const_cast<const std::uint8_t**>(frame_->extended_data),
                                 frame_->nb_samples);
    av_frame_unref(frame_.get());
    if (made <= 0) continue;
    double pts = *soundClock_;
    *soundClock_ += static_cast<double>(made) / kCommonSampleRate;
    // Samples before the seek's target go, to the sample.
    auto skip = static_cast<std::uint32_t>(std::clamp((discardBefore_ - pts) * kCommonSampleRate, 0.0, double(made)));
    if (skip == static_cast<std::uint32_t>(made)) continue;
    for (auto& plane : sound.block.planes) {
      plane.erase(plane.begin(), plane.begin() + skip);
      plane.resize(static_cast<std::size_t>(made) - skip);
    }
    sound.block.frameLength = static_cast<std::uint32_t>(made) - skip;
    sound.pts = pts + static_cast<double>(skip) / kCommonSampleRate;
    return Step::sound;
  }
  return std::nullopt;
}

ClipDecoder::Step ClipDecoder::next(ClipPicture& picture, ClipSound& sound) {
  for (;;) {
    if (auto step = receivePicture(picture)) return *step;
    if (auto step = receiveSound(sound)) return *step;
    if (videoEnded_ && (audioEnded_ || !audio_)) return Step::end;
    if (flushed_) {
      // A decoder that holds nothing back has ended too.
      videoEnded_ = true;
      audioEnded_ = true;
      continue;
    }
    const int status = av_read_frame(format_.get(), packet_.get());
    if (status < 0) {
      // The end, or a file cut short: what the decoders hold still comes out.
      avcodec_send_packet(video_.get(), nullptr);
      if (audio_) avcodec_send_packet(audio_.get(), nullptr);
      flushed_ = true;
      continue;
    }
    // A damaged packet is skipped; the decoder picks up at the next good one.
    if (packet_->stream_index == videoIndex_) {
      avcodec_send_packet(video_.get(), packet_.get());
    } else if (audio_ && packet_->stream_index == audioIndex_) {
      avcodec_send_packet(audio_.get(), packet_.get());
    }
    av_packet_unref(packet_.get());
  }
}

}  // namespace tavorin

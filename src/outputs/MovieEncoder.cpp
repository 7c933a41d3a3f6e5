#include "outputs/MovieEncoder.h"

#include <algorithm>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace tavorin {

namespace {

constexpr int kTimeScale = MovieEncoder::videoTimeScale;
constexpr int kSampleRate = MovieEncoder::audioSampleRate;
constexpr std::int64_t kVideoBitRate = 40'000'000;
constexpr std::int64_t kAudioBitRate = 256'000;

}  // namespace

MovieEncoder::~MovieEncoder() {
  if (format_ && headerWritten_ && !failed_) close();
}

bool MovieEncoder::openVideo(int width, int height, int frameRate, VideoCodec codec, std::string* error) {
  // HEVC in hardware where it works; otherwise H.264 in software, since a
  // software HEVC encoder cannot keep real time on a CPU.
  std::vector<const char*> candidates;
  if (codec == VideoCodec::proRes422) {
    candidates = {"prores_ks"};
  } else {
    candidates = {"hevc_nvenc", "libx264"};
  }
  for (const char* name : candidates) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(name);
    if (!encoder) continue;
    ffmpeg::CodecContextPtr owned(avcodec_alloc_context3(encoder));
    AVCodecContext* context = owned.get();
    context->width = width;
    context->height = height;
    context->time_base = AVRational{1, kTimeScale};
    context->framerate = AVRational{frameRate, 1};
    if (codec == VideoCodec::proRes422) {
      context->pix_fmt = AV_PIX_FMT_YUV422P10LE;
      av_opt_set(context->priv_data, "profile", "standard", 0);
    } else {
      context->pix_fmt = AV_PIX_FMT_YUV420P;
      context->bit_rate = kVideoBitRate;
      context->rc_max_rate = kVideoBitRate;
      context->rc_buffer_size = static_cast<int>(kVideoBitRate);
      context->gop_size = frameRate;  // a key frame every second
      context->max_b_frames = 0;
      if (std::string(name) == "libx264") av_opt_set(context->priv_data, "preset", "superfast", 0);
    }
    if (format_->oformat->flags & AVFMT_GLOBALHEADER) context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    // A hardware encoder that is not there is an expected answer, not an error to print.
    const bool probing = std::string(name) == "hevc_nvenc";
    const int level = av_log_get_level();
    if (probing) av_log_set_level(AV_LOG_QUIET);
    const int opened = avcodec_open2(context, encoder, nullptr);
    if (probing) av_log_set_level(level);
    if (opened < 0) continue;
    video_ = std::move(owned);
    videoEncoderName_ = name;
    break;
  }
  if (!video_) {
    if (error) *error = "No video encoder could be opened.";
    return false;
  }
  videoStream_ = avformat_new_stream(format_.get(), nullptr);
  videoStream_->time_base = AVRational{1, kTimeScale};
  avcodec_parameters_from_context(videoStream_->codecpar, video_.get());
  videoFrame_.reset(av_frame_alloc());
  videoFrame_->format = video_->pix_fmt;
  videoFrame_->width = width;
  videoFrame_->height = height;
  if (av_frame_get_buffer(videoFrame_.get(), 0) < 0) {
    if (error) *error = "Out of memory for video frames.";
    return false;
  }
  scaler_.reset(sws_getContext(width, height, AV_PIX_FMT_BGRA, width, height, video_->pix_fmt, SWS_BILINEAR,
                               nullptr, nullptr, nullptr));
  return scaler_ != nullptr;
}

bool MovieEncoder::openAudio(std::string* error) {
  const AVCodec* encoder = avcodec_find_encoder_by_name("aac");
  if (!encoder) {
    if (error) *error = "No AAC encoder.";
    return false;
  }
  audio_.reset(avcodec_alloc_context3(encoder));
  audio_->sample_fmt = AV_SAMPLE_FMT_FLTP;
  audio_->sample_rate = kSampleRate;
  av_channel_layout_default(&audio_->ch_layout, 2);
  audio_->bit_rate = kAudioBitRate;
  audio_->time_base = AVRational{1, kSampleRate};
  if (format_->oformat->flags & AVFMT_GLOBALHEADER) audio_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (avcodec_open2(audio_.get(), encoder, nullptr) < 0) {
    audio_.reset();
    if (error) *error = "The AAC encoder did not open.";
    return false;
  }
  audioStream_ = avformat_new_stream(format_.get(), nullptr);
  audioStream_->time_base = AVRational{1, kSampleRate};
  avcodec_parameters_from_context(audioStream_->codecpar, audio_.get());
  audioFrame_.reset(av_frame_alloc());
  audioFrame_->format = AV_SAMPLE_FMT_FLTP;
  audioFrame_->nb_samples = audio_->frame_size;
  av_channel_layout_copy(&audioFrame_->ch_layout, &audio_->ch_layout);
  audioFrame_->sample_rate = kSampleRate;
  av_frame_get_buffer(audioFrame_.get(), 0);
  fifo_.reset(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, 2, kSampleRate));
  return fifo_ != nullptr;
}

bool MovieEncoder::open(const std::filesystem::path& file, int width, int height, int frameRate, VideoCodec codec,
                        bool withAudio, std::string* error) {
  AVFormatContext* made = nullptr;
  if (avformat_alloc_output_context2(&made, nullptr, "mov", file.c_str()) < 0 || !made) {
    if (error) *error = "Can't make a movie file.";
    return false;
  }
  format_.reset(made);
  packet_.reset(av_packet_alloc());
  if (!openVideo(width, height, frameRate, codec, error)) return false;
  // Without audio the recording goes on with video alone.
  if (withAudio && !openAudio(nullptr)) audio_.reset();
  if (const int code = avio_open(&format_->pb, file.c_str(), AVIO_FLAG_WRITE); code < 0) {
    if (error) *error = ffmpeg::errorText(code);
    return false;
  }
  AVDictionary* options = nullptr;
  // Fragments are cut by hand every 2 s, at a key frame (see writePacket).
  av_dict_set(&options, "movflags", "empty_moov+default_base_moof+frag_custom", 0);
  av_dict_set(&options, "video_track_timescale", std::to_string(kTimeScale).c_str(), 0);
  const int code = avformat_write_header(format_.get(), &options);
  av_dict_free(&options);
  if (code < 0) {
    if (error) *error = ffmpeg::errorText(code);
    return false;
  }
  headerWritten_ = true;
  avio_flush(format_->pb);
  return true;
}

bool MovieEncoder::writePacket(AVStream* stream) {
  // A crash loses at most the fragment being written: close one on the first
  // video key frame 2 s after the last, and put it on disk.
  if (stream == videoStream_ && (packet_->flags & AV_PKT_FLAG_KEY)) {
    const std::int64_t at = av_rescale_q(packet_->pts, stream->time_base, AVRational{1, kTimeScale});
    if (at - fragmentStart_ >= 2 * kTimeScale) {
      if (av_interleaved_write_frame(format_.get(), nullptr) < 0 || av_write_frame(format_.get(), nullptr) < 0) {
        return false;
      }
      avio_flush(format_->pb);
      fragmentStart_ = at;
    }
  }
  return av_interleaved_write_frame(format_.get(), packet_.get()) >= 0;
}

bool MovieEncoder::drain(AVCodecContext* codec, AVStream* stream) {
  for (;;) {
    const int code = avcodec_receive_packet(codec, packet_.get());
    if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return true;
    if (code < 0) return false;
    av_packet_rescale_ts(packet_.get(), codec->time_base, stream->time_base);
    packet_->stream_index = stream->index;
    if (!writePacket(stream)) return false;
  }
}

bool MovieEncoder::writeVideo(const PixelBuffer& frame, std::int64_t pts) {
  if (failed_ || !video_ || frame.width() != video_->width || frame.height() != video_->height) return false;
  if (av_frame_make_writable(videoFrame_.get()) < 0) return false;
  const std::uint8_t* source[] = {frame.data()};
  const int stride[] = {static_cast<int>(frame.bytesPerRow())};
  sws_scale(scaler_.get(), source, stride, 0, frame.height(), videoFrame_->data, videoFrame_->linesize);
  videoFrame_->pts = pts;
  if (avcodec_send_frame(video_.get(), videoFrame_.get()) < 0 || !drain(video_.get(), videoStream_)) failed_ = true;
  return !failed_;
}

bool MovieEncoder::encodeAudioFrames(bool flush) {
  const int frameSize = audio_->frame_size;
  AVAudioFifo* fifo = fifo_.get();
  while (av_audio_fifo_size(fifo) >= frameSize || (flush && av_audio_fifo_size(fifo) > 0)) {
    const int n = std::min(frameSize, av_audio_fifo_size(fifo));
    if (av_frame_make_writable(audioFrame_.get()) < 0) return false;
    audioFrame_->nb_samples = n;
    av_audio_fifo_read(fifo, reinterpret_cast<void**>(audioFrame_->data), n);
    audioFrame_->pts = audioNextPts_;
    audioNextPts_ += n;
    if (avcodec_send_frame(audio_.get(), audioFrame_.get()) < 0 || !drain(audio_.get(), audioStream_)) return false;
  }
  return true;
}

bool MovieEncoder::writeAudio(const float* left, const float* right, std::uint32_t frames, std::int64_t pts) {
  if (failed_ || !audio_) return false;
  // The mix is continuous: later blocks follow on from the first one's time.
  if (audioNextPts_ < 0) audioNextPts_ = pts;
  void* planes[] = {const_cast<float*>(left), const_cast<float*>(right)};
  if (av_audio_fifo_write(fifo_.get(), planes, static_cast<int>(frames)) < static_cast<int>(frames) ||
      !encodeAudioFrames(false)) {
    failed_ = true;
  }
  return !failed_;
}

bool MovieEncoder::close() {
  if (!format_ || !headerWritten_) return false;
  bool ok = !failed_;
  if (video_) {
    avcodec_send_frame(video_.get(), nullptr);
    ok = drain(video_.get(), videoStream_) && ok;
  }
  if (audio_ && audioNextPts_ >= 0) {
    ok = encodeAudioFrames(true) && ok;
    avcodec_send_frame(audio_.get(), nullptr);
    ok = drain(audio_.get(), audioStream_) && ok;
  }
  // The fragmented muxer reports what its last flush wrote: only a negative value is a failure.
  ok = av_write_trailer(format_.get()) >= 0 && ok;
  headerWritten_ = false;
  avio_closep(&format_->pb);
  return ok;
}

}  // namespace tavorin

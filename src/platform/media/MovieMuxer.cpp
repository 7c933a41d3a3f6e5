#include "platform/media/MovieMuxer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace tavorin {

namespace {

bool setExtradata(AVCodecParameters* parameters, const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return true;
  parameters->extradata = static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
  if (!parameters->extradata) return false;
  std::memcpy(parameters->extradata, bytes, size);
  parameters->extradata_size = static_cast<int>(size);
  return true;
}

}  // namespace

MovieMuxer::~MovieMuxer() {
  if (headerWritten_) close();
}

bool MovieMuxer::open(const std::filesystem::path& file, const VideoFormatDescription& video,
                      const std::optional<AudioFormatDescription>& audio, std::string* error) {
  auto fail = [&](std::string text) {
    if (error) *error = std::move(text);
    format_.reset();
    return false;
  };
  AVFormatContext* made = nullptr;
  if (avformat_alloc_output_context2(&made, nullptr, "mov", file.c_str()) < 0 || !made) {
    return fail("Can't make a movie file.");
  }
  format_.reset(made);
  packet_.reset(av_packet_alloc());
  videoStream_ = avformat_new_stream(made, nullptr);
  if (!packet_ || !videoStream_) return fail("Out of memory for the movie.");
  videoStream_->time_base = AVRational{1, kVideoTimeScale};
  AVCodecParameters* v = videoStream_->codecpar;
  v->codec_type = AVMEDIA_TYPE_VIDEO;
  v->codec_id = video.codec == VideoCodecKind::h264   ? AV_CODEC_ID_H264
                : video.codec == VideoCodecKind::hevc ? AV_CODEC_ID_HEVC
                                                      : AV_CODEC_ID_PRORES;
  if (video.codec == VideoCodecKind::proRes422) {
    v->profile = FF_PROFILE_PRORES_STANDARD;
    v->format = AV_PIX_FMT_YUV422P10LE;
  } else {
    v->format = AV_PIX_FMT_YUV420P;
  }
  v->width = video.width;
  v->height = video.height;
  if (!setExtradata(v, video.configurationRecord.data(), video.configurationRecord.size())) {
    return fail("Out of memory for the movie.");
  }
  if (audio) {
    const auto config = audioSpecificConfig(*audio);
    audioStream_ = avformat_new_stream(made, nullptr);
    if (!config || !audioStream_) return fail("The audio track could not be made.");
    audioStream_->time_base = AVRational{1, audio->sampleRate};
    AVCodecParameters* a = audioStream_->codecpar;
    a->codec_type = AVMEDIA_TYPE_AUDIO;
    a->codec_id = AV_CODEC_ID_AAC;
    a->sample_rate = audio->sampleRate;
    a->frame_size = 1024;
    av_channel_layout_default(&a->ch_layout, audio->channels);
    if (!setExtradata(a, config->data(), config->size())) return fail("Out of memory for the movie.");
  }
  if (const int code = avio_open(&made->pb, file.c_str(), AVIO_FLAG_WRITE); code < 0) {
    return fail(ffmpeg::errorText(code));
  }
  AVDictionary* options = nullptr;
  // Fragments are cut by hand every 2 s, at a key frame (see write).
  av_dict_set(&options, "movflags", "empty_moov+default_base_moof+frag_custom", 0);
  av_dict_set(&options, "video_track_timescale", std::to_string(kVideoTimeScale).c_str(), 0);
  const int code = avformat_write_header(made, &options);
  av_dict_free(&options);
  if (code < 0) return fail(ffmpeg::errorText(code));
  headerWritten_ = true;
  avio_flush(made->pb);
  return true;
}

bool MovieMuxer::write(AVStream* stream, const std::vector<std::uint8_t>& data, std::int64_t pts, std::int64_t dts,
                       bool key) {
  if (failed_ || !headerWritten_ || data.empty()) return false;
  if (stream == videoStream_ && key) {
    const std::int64_t at = av_rescale_q(dts, stream->time_base, AVRational{1, kVideoTimeScale});
    if (at - fragmentStart_ >= 2 * kVideoTimeScale) {
      if (av_interleaved_write_frame(format_.get(), nullptr) < 0 || av_write_frame(format_.get(), nullptr) < 0) {
        failed_ = true;
        return false;
      }
      avio_flush(format_->pb);
      fragmentStart_ = at;
    }
  }
  AVPacket* packet = packet_.get();
  if (av_new_packet(packet, static_cast<int>(data.size())) < 0) {
    failed_ = true;
    return false;
  }
  std::memcpy(packet->data, data.data(), data.size());
  packet->pts = pts;
  packet->dts = dts;
  packet->stream_index = stream->index;
  if (key) packet->flags |= AV_PKT_FLAG_KEY;
  failed_ = av_interleaved_write_frame(format_.get(), packet) < 0;
  av_packet_unref(packet);
  return !failed_;
}

bool MovieMuxer::writeVideo(const EncodedVideoSample& sample, double pts, double dts) {
  // Decode times must rise strictly; a rounding onto the last one moves up a tick.
  std::int64_t d = static_cast<std::int64_t>(std::llround(dts * kVideoTimeScale));
  d = std::max(d, lastVideoDts_ + 1);
  const std::int64_t p = std::max<std::int64_t>(std::llround(pts * kVideoTimeScale), d);
  lastVideoDts_ = d;
  return write(videoStream_, sample.data, p, d, sample.isKeyFrame);
}

bool MovieMuxer::writeAudio(const EncodedAudioSample& sample, double pts) {
  if (!audioStream_) return false;
  std::int64_t at = static_cast<std::int64_t>(std::llround(pts * audioStream_->time_base.den));
  at = std::max(at, lastAudioPts_ + 1);
  lastAudioPts_ = at;
  return write(audioStream_, sample.data, at, at, true);
}

bool MovieMuxer::close() {
  if (!format_ || !headerWritten_) return false;
  // The fragmented writer reports what its last flush wrote: only a negative value is a failure.
  const bool ok = av_write_trailer(format_.get()) >= 0 && !failed_;
  headerWritten_ = false;
  avio_closep(&format_->pb);
  return ok;
}

}  // namespace tavorin

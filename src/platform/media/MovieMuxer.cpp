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
  video_.held.reset(av_packet_alloc());
  video_.stream = avformat_new_stream(made, nullptr);
  if (!video_.held || !video_.stream) return fail("Out of memory for the movie.");
  video_.stream->time_base = AVRational{1, kVideoTimeScale};
  video_.lastDuration = kVideoTimeScale / 30;
  AVCodecParameters* v = video_.stream->codecpar;
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
    audio_.held.reset(av_packet_alloc());
    audio_.stream = avformat_new_stream(made, nullptr);
    if (!config || !audio_.held || !audio_.stream) return fail("The audio track could not be made.");
    audio_.stream->time_base = AVRational{1, audio->sampleRate};
    audio_.lastDuration = 1024;
    AVCodecParameters* a = audio_.stream->codecpar;
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
  av_dict_set(&options, "movflags", "delay_moov+default_base_moof+frag_custom", 0);
  av_dict_set(&options, "video_track_timescale", std::to_string(kVideoTimeScale).c_str(), 0);
  const int code = avformat_write_header(made, &options);
  av_dict_free(&options);
  if (code < 0) return fail(ffmpeg::errorText(code));
  headerWritten_ = true;
  avio_flush(made->pb);
  return true;
}

bool MovieMuxer::release(Track& track, std::int64_t nextDts) {
  if (!track.holding) return true;
  track.holding = false;
  AVPacket* packet = track.held.get();
  packet->duration = std::max<std::int64_t>(nextDts - packet->dts, 1);
  track.lastDuration = packet->duration;
  failed_ = av_interleaved_write_frame(format_.get(), packet) < 0;
  av_packet_unref(packet);
  return !failed_;
}

bool MovieMuxer::cutFragment() {
  if (av_interleaved_write_frame(format_.get(), nullptr) < 0 || av_write_frame(format_.get(), nullptr) < 0 ||
      (!moovWritten_ && av_write_frame(format_.get(), nullptr) < 0)) {
    failed_ = true;
    return false;
  }
  moovWritten_ = true;
  avio_flush(format_->pb);
  return true;
}

bool MovieMuxer::write(Track& track, const std::vector<std::uint8_t>& data, std::int64_t pts, std::int64_t dts,
                       bool key) {
  if (failed_ || !headerWritten_ || data.empty()) return false;
  if (!release(track, dts)) return false;
  if (&track == &video_ && key) {
    const std::int64_t at = av_rescale_q(dts, track.stream->time_base, AVRational{1, kVideoTimeScale});
    if (at - fragmentStart_ >= 2 * kVideoTimeScale) {
      if (!cutFragment()) return false;
      fragmentStart_ = at;
    }
  }
  AVPacket* packet = track.held.get();
  if (av_new_packet(packet, static_cast<int>(data.size())) < 0) {
    failed_ = true;
    return false;
  }
  std::memcpy(packet->data, data.data(), data.size());
  packet->pts = pts;
  packet->dts = dts;
  packet->stream_index = track.stream->index;
  if (key) packet->flags |= AV_PKT_FLAG_KEY;
  track.holding = true;
  return true;
}

bool MovieMuxer::writeVideo(const EncodedVideoSample& sample, double pts, double dts) {
  // Decode times must rise strictly; a rounding onto the last one moves up a tick.
  std::int64_t d = static_cast<std::int64_t>(std::llround(dts * kVideoTimeScale));
  d = std::max(d, lastVideoDts_ + 1);
  const std::int64_t p = std::max<std::int64_t>(std::llround(pts * kVideoTimeScale), d);
  lastVideoDts_ = d;
  return write(video_, sample.data, p, d, sample.isKeyFrame);
}

bool MovieMuxer::writeAudio(const EncodedAudioSample& sample, double pts) {
  if (!audio_.stream) return false;
  std::int64_t at = static_cast<std::int64_t>(std::llround(pts * audio_.stream->time_base.den));
  at = std::max(at, lastAudioPts_ + 1);
  lastAudioPts_ = at;
  return write(audio_, sample.data, at, at, true);
}

bool MovieMuxer::close() {
  if (!format_ || !headerWritten_) return false;
  // The last samples last as long as the ones before them.
  for (Track* track : {&video_, &audio_}) {
    if (track->holding && !failed_) release(*track, track->held->dts + track->lastDuration);
  }
  // The fragmented writer reports what its last flush wrote: only a negative value is a failure.
  const bool ok = av_write_trailer(format_.get()) >= 0 && !failed_;
  headerWritten_ = false;
  avio_closep(&format_->pb);
  return ok;
}

}  // namespace tavorin

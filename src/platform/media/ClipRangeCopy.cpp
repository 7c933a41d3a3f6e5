#include "platform/media/ClipRangeCopy.h"

#include <cmath>
#include <vector>

#include "platform/media/FFmpegPointers.h"

namespace tavorin {

namespace {

using namespace ffmpeg;

std::optional<std::string> copy(const std::filesystem::path& input, const std::filesystem::path& output, double start,
                                double end) {
  AVFormatContext* opened = nullptr;
  if (const int status = avformat_open_input(&opened, input.c_str(), nullptr, nullptr); status < 0) {
    return "can't open " + input.string() + ": " + errorText(status);
  }
  InputFormatPtr in(opened);
  if (const int status = avformat_find_stream_info(in.get(), nullptr); status < 0) return errorText(status);
  const int videoIndex = av_find_best_stream(in.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (videoIndex < 0) return "no pictures in " + input.string();

  AVFormatContext* made = nullptr;
  if (avformat_alloc_output_context2(&made, nullptr, "mov", output.c_str()) < 0 || !made) return "can't make a movie";
  OutputFormatPtr out(made);
  // Input stream → output stream, -1 for streams left out.
  std::vector<int> mapped(in->nb_streams, -1);
  for (unsigned i = 0; i < in->nb_streams; ++i) {
    const AVCodecParameters* parameters = in->streams[i]->codecpar;
    if (parameters->codec_type != AVMEDIA_TYPE_VIDEO && parameters->codec_type != AVMEDIA_TYPE_AUDIO) continue;
    if (parameters->codec_type == AVMEDIA_TYPE_VIDEO && static_cast<int>(i) != videoIndex) continue;
    AVStream* stream = avformat_new_stream(out.get(), nullptr);
    if (!stream || avcodec_parameters_copy(stream->codecpar, parameters) < 0) return "can't copy the streams";
    stream->codecpar->codec_tag = 0;
    stream->time_base = in->streams[i]->time_base;
    av_dict_copy(&stream->metadata, in->streams[i]->metadata, 0);
    if (const std::uint8_t* matrix = av_stream_get_side_data(in->streams[i], AV_PKT_DATA_DISPLAYMATRIX, nullptr)) {
      if (std::uint8_t* copied = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, 36)) {
        std::copy(matrix, matrix + 36, copied);
      }
    }
    mapped[i] = stream->index;
  }
  if (const int status = avio_open(&out->pb, output.c_str(), AVIO_FLAG_WRITE); status < 0) {
    return "can't write " + output.string() + ": " + errorText(status);
  }
  AVDictionary* options = nullptr;
  av_dict_set(&options, "use_editlist", "1", 0);
  const int written = avformat_write_header(out.get(), &options);
  av_dict_free(&options);
  if (written < 0) return "can't write the movie's header: " + errorText(written);

  // Back to the key frame at or before the in point: the pictures before it only prime the decoder.
  const AVStream& video = *in->streams[videoIndex];
  const double origin = video.start_time == AV_NOPTS_VALUE ? 0 : static_cast<double>(video.start_time) * av_q2d(video.time_base);
  const auto target = static_cast<std::int64_t>(std::floor((start + origin) / av_q2d(video.time_base)));
  if (const int status = av_seek_frame(in.get(), videoIndex, target, AVSEEK_FLAG_BACKWARD); status < 0) {
    return "can't seek to the in point: " + errorText(status);
  }
  PacketPtr packet(av_packet_alloc());
  std::vector<bool> ended(in->nb_streams, false);
  std::optional<double> keyTime;
  while (av_read_frame(in.get(), packet.get()) >= 0) {
    const int index = packet->stream_index;
    const int to = mapped[index];
    const AVStream& from = *in->streams[index];
    const double tb = av_q2d(from.time_base);
    const auto seconds = [&](std::int64_t ts) { return static_cast<double>(ts) * tb - origin; };
    const bool skip = to < 0 || ended[index] || packet->pts == AV_NOPTS_VALUE;
    if (!skip && index == videoIndex && !keyTime) keyTime = seconds(packet->pts);
    const double pts = skip ? 0 : seconds(packet->pts);
    if (!skip && packet->dts != AV_NOPTS_VALUE && seconds(packet->dts) >= end) ended[index] = true;
    // Pictures are cut in decode order: a reference decoded before the out
    // point stays even when it shows after it, or the pictures that lean on
    // it would break. Sound starts with the pictures the file keeps and
    // stops at the out point.
    const double decodedAt = skip || packet->dts == AV_NOPTS_VALUE ? pts : seconds(packet->dts);
    const bool keep = !skip && keyTime && (index == videoIndex ? decodedAt < end : pts < end && pts >= *keyTime);
    if (keep) {
      // Times run from the in point: what lies before it is negative and the edit list hides it.
      const auto shift = static_cast<std::int64_t>(std::llround((start + origin) / tb));
      packet->pts -= shift;
      if (packet->dts != AV_NOPTS_VALUE) packet->dts -= shift;
      packet->stream_index = to;
      av_packet_rescale_ts(packet.get(), from.time_base, out->streams[to]->time_base);
      packet->pos = -1;
      if (const int status = av_interleaved_write_frame(out.get(), packet.get()); status < 0) {
        return "can't write the movie: " + errorText(status);
      }
    }
    av_packet_unref(packet.get());
  }
  if (const int status = av_write_trailer(out.get()); status < 0) return "can't finish the movie: " + errorText(status);
  return std::nullopt;
}

}  // namespace

std::optional<std::string> copyClipRange(const std::filesystem::path& input, const std::filesystem::path& output,
                                         double start, double end) {
  auto error = copy(input, output, start, end);
  if (error) {
    std::error_code ignored;
    std::filesystem::remove(output, ignored);
  }
  return error;
}

}  // namespace tavorin

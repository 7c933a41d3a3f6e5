#include "platform/media/CodecConfiguration.h"

#include <algorithm>
#include <cstring>

#include "platform/media/FFmpegPointers.h"

namespace tavorin {

std::optional<std::vector<std::uint8_t>> hevcConfigurationRecord(std::span<const std::uint8_t> parameterSets,
                                                                 int width, int height) {
  if (parameterSets.empty()) return std::nullopt;
  // The record needs the profile, tier and level parsed out of the SPS; the
  // MP4 writer does that. Write an empty movie header to memory and cut the box out.
  AVFormatContext* made = nullptr;
  if (avformat_alloc_output_context2(&made, nullptr, "mp4", nullptr) < 0 || !made) return std::nullopt;
  ffmpeg::OutputFormatPtr format(made);
  AVStream* stream = avformat_new_stream(made, nullptr);
  if (!stream) return std::nullopt;
  stream->time_base = AVRational{1, 90000};
  stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
  stream->codecpar->codec_id = AV_CODEC_ID_HEVC;
  stream->codecpar->width = width;
  stream->codecpar->height = height;
  stream->codecpar->extradata =
      static_cast<std::uint8_t*>(av_mallocz(parameterSets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  if (!stream->codecpar->extradata) return std::nullopt;
  std::memcpy(stream->codecpar->extradata, parameterSets.data(), parameterSets.size());
  stream->codecpar->extradata_size = static_cast<int>(parameterSets.size());
  if (avio_open_dyn_buf(&made->pb) < 0) return std::nullopt;
  AVDictionary* options = nullptr;
  av_dict_set(&options, "movflags", "empty_moov+frag_custom", 0);
  const int written = avformat_write_header(made, &options);
  av_dict_free(&options);
  std::uint8_t* bytes = nullptr;
  const int size = avio_close_dyn_buf(made->pb, &bytes);
  made->pb = nullptr;
  std::vector<std::uint8_t> movie(bytes, bytes + std::max(size, 0));
  av_free(bytes);
  if (written < 0) return std::nullopt;
  for (std::size_t at = 4; at + 4 <= movie.size(); ++at) {
    if (std::memcmp(movie.data() + at, "hvcC", 4) != 0) continue;
    const std::size_t boxSize = (std::size_t(movie[at - 4]) << 24) | (std::size_t(movie[at - 3]) << 16) |
                                (std::size_t(movie[at - 2]) << 8) | std::size_t(movie[at - 1]);
    if (boxSize < 8 || at - 4 + boxSize > movie.size()) return std::nullopt;
    return std::vector<std::uint8_t>(movie.begin() + static_cast<long>(at + 4),
                                     movie.begin() + static_cast<long>(at - 4 + boxSize));
  }
  return std::nullopt;
}

}  // namespace tavorin

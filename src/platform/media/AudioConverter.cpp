#include "platform/media/AudioConverter.h"

#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace tavorin {

namespace {

AVSampleFormat avFormat(PcmSampleFormat format) {
  switch (format) {
    case PcmSampleFormat::f32: return AV_SAMPLE_FMT_FLT;
    case PcmSampleFormat::f32Planar: return AV_SAMPLE_FMT_FLTP;
    case PcmSampleFormat::s16: return AV_SAMPLE_FMT_S16;
    case PcmSampleFormat::s32: return AV_SAMPLE_FMT_S32;
  }
  return AV_SAMPLE_FMT_NONE;
}

}  // namespace

AudioConverter::AudioConverter(PcmFormat input) : input_(input) {
  if (input.sampleRate <= 0 || input.channels <= 0 || input.channels > 64) return;
  AVChannelLayout in{}, out{};
  av_channel_layout_default(&in, input.channels);
  av_channel_layout_default(&out, kCommonChannels);
  SwrContext* swr = nullptr;
  if (swr_alloc_set_opts2(&swr, &out, AV_SAMPLE_FMT_FLTP, kCommonSampleRate, &in, avFormat(input.sampleFormat),
                          input.sampleRate, 0, nullptr) < 0) {
    return;
  }
  // A mono microphone belongs on both sides at its own level, not 3 dB down.
  const double monoToBoth[] = {1.0, 1.0};
  if (input.channels == 1) swr_set_matrix(swr, monoToBoth, 1);
  if (swr_init(swr) < 0) {
    swr_free(&swr);
    return;
  }
  swr_ = swr;
}

AudioConverter::~AudioConverter() { swr_free(&swr_); }

std::optional<PcmBuffer> AudioConverter::convert(const void* const* planes, std::uint32_t frames) {
  if (!swr_ || !planes || frames == 0) return std::nullopt;
  const auto capacity = static_cast<std::uint32_t>(static_cast<double>(kCommonSampleRate) / input_.sampleRate * frames) + 1024;
  PcmBuffer out = PcmBuffer::make(kCommonChannels, capacity);
  std::uint8_t* outPlanes[kCommonChannels] = {reinterpret_cast<std::uint8_t*>(out.planes[0].data()),
                                              reinterpret_cast<std::uint8_t*>(out.planes[1].data())};
  const int written = swr_convert(swr_, outPlanes, static_cast<int>(capacity),
                                  reinterpret_cast<const std::uint8_t**>(const_cast<const void**>(planes)),
                                  static_cast<int>(frames));
  if (written < 0) return std::nullopt;
  out.frameLength = static_cast<std::uint32_t>(written);
  for (auto& plane : out.planes) plane.resize(out.frameLength);
  return out;
}

std::optional<PcmBuffer> AudioConverter::convert(const PcmBuffer& buffer) {
  std::vector<const void*> planes;
  for (const auto& plane : buffer.planes) planes.push_back(plane.data());
  return convert(planes.data(), buffer.frameLength);
}

std::optional<PcmBuffer> AudioConverter::convertWhole(const PcmBuffer& buffer) {
  auto out = convert(buffer);
  if (!out) return std::nullopt;
  const int pending = swr_get_out_samples(swr_, 0);
  if (pending <= 0) return out;
  std::vector<float> left(static_cast<std::size_t>(pending)), right(static_cast<std::size_t>(pending));
  std::uint8_t* tail[kCommonChannels] = {reinterpret_cast<std::uint8_t*>(left.data()),
                                         reinterpret_cast<std::uint8_t*>(right.data())};
  const int drained = swr_convert(swr_, tail, pending, nullptr, 0);
  if (drained <= 0) return out;
  out->planes[0].insert(out->planes[0].end(), left.begin(), left.begin() + drained);
  out->planes[1].insert(out->planes[1].end(), right.begin(), right.begin() + drained);
  out->frameLength += static_cast<std::uint32_t>(drained);
  return out;
}

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/PcmFormat.h"
#include "platform/media/FFmpegPointers.h"

namespace tavorin {

// Decodes a network stream's AAC frames (with the AudioSpecificConfig its
// description gave) into float planes, on the caller's thread: AAC is cheap
// next to pictures. One thread uses it.
class StreamAudioDecoder {
 public:
  using Sink = std::function<void(const PcmFormat& format, const void* const* planes, std::uint32_t frames)>;

  // Null, with `error` saying why, when no decoder opens for the config.
  static std::unique_ptr<StreamAudioDecoder> open(const std::vector<std::uint8_t>& config, int sampleRate, int channels,
                                                  std::string& error);

  // A frame that does not decode is skipped.
  void decode(std::span<const std::uint8_t> frame, const Sink& sink);

 private:
  StreamAudioDecoder() = default;
  ffmpeg::CodecContextPtr context_;
  ffmpeg::PacketPtr packet_;
  ffmpeg::FramePtr frame_;
};

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "base/PcmFormat.h"
#include "base/PcmBuffer.h"

struct SwrContext;

namespace tavorin {

// Brings one input format to the mixer's common format (48 kHz stereo float
// planes) with libswresample, keeping the resampler's state between blocks.
// Mono goes to both sides at full level.
class AudioConverter {
 public:
  explicit AudioConverter(PcmFormat input);
  ~AudioConverter();
  AudioConverter(const AudioConverter&) = delete;
  AudioConverter& operator=(const AudioConverter&) = delete;

  const PcmFormat& input() const { return input_; }
  bool valid() const { return swr_ != nullptr; }
  // `planes`: one pointer for interleaved input, one per channel for planar.
  // Nothing when the block cannot be converted.
  std::optional<PcmBuffer> convert(const void* const* planes, std::uint32_t frames);
  std::optional<PcmBuffer> convert(const PcmBuffer& buffer);
  // A whole clip: converted, then the resampler's held-back tail drained, so its end is not cut.
  std::optional<PcmBuffer> convertWhole(const PcmBuffer& buffer);

 private:
  PcmFormat input_;
  SwrContext* swr_ = nullptr;
};

}  // namespace tavorin

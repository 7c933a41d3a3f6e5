#pragma once

#include <cstdint>
#include <vector>

namespace tavorin {

// The mixer's common format: 48 kHz, two channels, 32-bit float, one plane per channel.
inline constexpr int kCommonSampleRate = 48000;
inline constexpr int kCommonChannels = 2;
// The Program mix reaches recorders and streams in blocks of this many frames.
inline constexpr std::uint32_t kProgramBlockFrames = 1024;

// A block of float PCM, one plane per channel.
struct PcmBuffer {
  int sampleRate = kCommonSampleRate;
  std::vector<std::vector<float>> planes;
  std::uint32_t frameLength = 0;

  static PcmBuffer make(int channels, std::uint32_t frames, int sampleRate = kCommonSampleRate) {
    PcmBuffer buffer;
    buffer.sampleRate = sampleRate;
    buffer.planes.assign(static_cast<std::size_t>(channels), std::vector<float>(frames, 0.0f));
    buffer.frameLength = frames;
    return buffer;
  }

  int channelCount() const { return static_cast<int>(planes.size()); }
  bool isCommonFormat() const { return sampleRate == kCommonSampleRate && channelCount() == kCommonChannels; }
};

// The meter level of a block: twice the RMS of its first channel, at most 1; 0 when empty.
float meterLevel(const float* samples, std::uint32_t frames);
inline float meterLevel(const PcmBuffer& buffer) {
  return buffer.planes.empty() ? 0.0f : meterLevel(buffer.planes[0].data(), buffer.frameLength);
}

}  // namespace tavorin

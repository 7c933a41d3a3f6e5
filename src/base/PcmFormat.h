#pragma once

namespace tavorin {

// How a capture delivers its samples.
enum class PcmSampleFormat { f32, f32Planar, s16, s32 };

struct PcmFormat {
  int sampleRate = 0;
  int channels = 0;
  PcmSampleFormat sampleFormat = PcmSampleFormat::f32;

  bool planar() const { return sampleFormat == PcmSampleFormat::f32Planar; }
  friend bool operator==(const PcmFormat&, const PcmFormat&) = default;
};

}  // namespace tavorin

#pragma once

namespace tavorin {

// Sample layouts a capture stream may deliver. s24_32 is 24-bit audio in the
// low bits of 32-bit words.
enum class SampleFormat { f32, f32Planar, s16, s32, s24_32 };

// What a stream negotiated with PipeWire.
struct StreamFormat {
  int sampleRate = 0;
  int channels = 0;
  SampleFormat format = SampleFormat::f32;

  friend bool operator==(const StreamFormat&, const StreamFormat&) = default;
};

}  // namespace tavorin

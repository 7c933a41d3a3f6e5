#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "outputs/ReplayBuffer.h"
#include "platform/media/VideoEncoder.h"

namespace tavorin::testing {

// The replay buffer as its shared encoder and the audio tap would fill it,
// without their real-time pacing: `seconds` of 30 fps pictures of
// `width`×`height` from host time `start`, grey but white at `flashAt`, and
// the Program mix, silent but for a 30 ms 1 kHz click from the sample of `flashAt`.
inline void fillReplay(ReplayBuffer& buffer, double seconds, int width, int height, double start, double flashAt) {
  EncoderError error;
  auto encoder = VideoEncoder::open(ReplayBuffer::encodingFor(width, height, 60), HardwareEncoders{}, error);
  ASSERT_TRUE(encoder) << describe(error);
  EncodedVideoSample sample;
  auto take = [&] {
    while (encoder->receive(sample, error)) {
      buffer.appendVideo(std::make_shared<const EncodedVideoSample>(std::move(sample)));
      sample = {};
    }
  };
  double audio = start;
  for (int i = 0; i < static_cast<int>(seconds * 30); ++i) {
    const double time = start + i / 30.0;
    auto frame = PixelBuffer::make(width, height);
    const std::uint8_t level = std::fabs(time - flashAt) < 0.001 ? 255 : 60;
    frame->fill(level, level, level, 255);
    ASSERT_EQ(encoder->send(*frame, time), EncoderError::none);
    take();
    for (; audio < time + 1 / 30.0; audio += 1024 / 48000.0) {
      auto block = std::make_shared<AudioBlock>(2, 1024);
      for (std::uint32_t s = 0; s < 1024; ++s) {
        const double t = audio + s / 48000.0 - flashAt;
        const float v = t >= -1e-7 && t < 0.03 ? 0.5f * static_cast<float>(std::sin(2 * M_PI * 1000 * t)) + 0.2f : 0.f;
        block->plane(0)[s] = block->plane(1)[s] = v;
      }
      block->stamp(1024, 48000, audio);
      buffer.appendAudio(block);
    }
  }
  encoder->flush();
  take();
}

}  // namespace tavorin::testing

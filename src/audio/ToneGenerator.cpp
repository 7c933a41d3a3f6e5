#include "audio/ToneGenerator.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "base/HostTime.h"
#include "base/HostTimeSleep.h"
#include "base/ThreadName.h"

namespace tavorin {

ToneGenerator::ToneGenerator(std::shared_ptr<AudioTrackProcessor> channel, double frequency, float amplitude)
    : ToneGenerator(
          std::move(channel),
          [step = 2 * std::numbers::pi * frequency / kCommonSampleRate, amplitude](PcmBuffer& block, std::int64_t first) {
            for (std::uint32_t i = 0; i < block.frameLength; ++i) {
              const float sample = amplitude * static_cast<float>(std::sin(step * static_cast<double>(first + i)));
              block.planes[0][i] = block.planes[1][i] = sample;
            }
          },
          hostTimeNow()) {}

ToneGenerator::ToneGenerator(std::shared_ptr<AudioTrackProcessor> channel, Signal signal, double origin)
    : channel_(std::move(channel)), signal_(std::move(signal)), origin_(origin), thread_([this] { run(); }) {}

ToneGenerator::~ToneGenerator() {
  running_ = false;
  thread_.join();
}

void ToneGenerator::run() {
  nameThisThread("Tavorin.Tone");
  const auto elapsed = static_cast<std::int64_t>(std::floor((hostTimeNow() - origin_) * kCommonSampleRate));
  std::int64_t first = std::max<std::int64_t>(0, elapsed / kBlockFrames * kBlockFrames);
  // Every block overwrites all of it, whatever the channel's filters did to the last.
  PcmBuffer block = PcmBuffer::make(kCommonChannels, kBlockFrames);
  while (running_.load()) {
    signal_(block, first);
    channel_->process(block, origin_ + static_cast<double>(first) / kCommonSampleRate);
    first += kBlockFrames;
    // Paced on the origin, so the stamps and the clock never drift apart.
    sleepUntilHostTime(origin_ + static_cast<double>(first) / kCommonSampleRate);
  }
}

ToneGenerator::Signal syncBeep(float amplitude) {
  constexpr std::int64_t kBeepFrames = kCommonSampleRate / 30;
  constexpr double kStep = 2 * std::numbers::pi * 1000.0 / kCommonSampleRate;
  return [amplitude](PcmBuffer& block, std::int64_t first) {
    for (std::uint32_t i = 0; i < block.frameLength; ++i) {
      const std::int64_t inSecond = (first + i) % kCommonSampleRate;
      const float sample =
          inSecond < kBeepFrames ? amplitude * static_cast<float>(std::sin(kStep * static_cast<double>(inSecond))) : 0.0f;
      block.planes[0][i] = block.planes[1][i] = sample;
    }
  };
}

}  // namespace tavorin

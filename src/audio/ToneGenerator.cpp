#include "audio/ToneGenerator.h"

#include <time.h>

#include <cerrno>
#include <cmath>
#include <numbers>

#include "base/ThreadName.h"

namespace tavorin {

namespace {

constexpr std::uint32_t kBlockFrames = 480;  // 10 ms

}  // namespace

ToneGenerator::ToneGenerator(std::shared_ptr<AudioTrackProcessor> channel, double frequency, float amplitude)
    : channel_(std::move(channel)), frequency_(frequency), amplitude_(amplitude), thread_([this] { run(); }) {}

ToneGenerator::~ToneGenerator() {
  running_ = false;
  thread_.join();
}

void ToneGenerator::run() {
  nameThisThread("Tavorin.Tone");
  timespec next{};
  clock_gettime(CLOCK_MONOTONIC, &next);
  const double step = 2 * std::numbers::pi * frequency_ / kCommonSampleRate;
  double phase = 0;
  // Every block overwrites all of it, whatever the channel's filters did to the last.
  PcmBuffer block = PcmBuffer::make(kCommonChannels, kBlockFrames);
  while (running_.load()) {
    for (std::uint32_t i = 0; i < kBlockFrames; ++i) {
      const float sample = amplitude_ * static_cast<float>(std::sin(phase));
      block.planes[0][i] = block.planes[1][i] = sample;
      phase = std::fmod(phase + step, 2 * std::numbers::pi);
    }
    channel_->process(block);
    next.tv_nsec += 10'000'000;
    if (next.tv_nsec >= 1'000'000'000) {
      next.tv_nsec -= 1'000'000'000;
      ++next.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr) == EINTR) {
    }
  }
}

}  // namespace tavorin

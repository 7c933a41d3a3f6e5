#include "audio/AudioBus.h"

#include <algorithm>
#include <cstring>

#include "audio/ClockedAudioPort.h"
#include "base/HostTime.h"

namespace tavorin {

namespace {

// Scales a block from gain `from` to `to` along a straight line, so a mute fades
// over one block instead of clicking.
void rampGain(float* left, float* right, std::uint32_t frames, float from, float to) {
  if (from == to) {
    if (to == 1.0f) return;
    for (std::uint32_t i = 0; i < frames; ++i) {
      left[i] *= to;
      right[i] *= to;
    }
    return;
  }
  const float step = (to - from) / static_cast<float>(frames);
  for (std::uint32_t i = 0; i < frames; ++i) {
    const float gain = from + step * static_cast<float>(i + 1);
    left[i] *= gain;
    right[i] *= gain;
  }
}

}  // namespace

AudioBus::AudioBus() : scratchLeft_(kMaxRenderFrames), scratchRight_(kMaxRenderFrames) {}

void AudioBus::render(float* left, float* right, std::uint32_t frames) {
  const double now = hostTimeNow();
  for (std::uint32_t done = 0; done < frames;) {
    const std::uint32_t n = std::min(frames - done, kMaxRenderFrames);
    float* outLeft = left + done;
    float* outRight = right + done;
    std::memset(outLeft, 0, n * sizeof(float));
    std::memset(outRight, 0, n * sizeof(float));
    // The mix is stamped with when its sound was captured, not when it plays:
    // the first feed that gave audio with a capture time says when.
    double captured = -1;
    for (const auto& feed : feeds_) {
      if (!feed->render(scratchLeft_.data(), scratchRight_.data(), n)) continue;
      if (captured < 0) captured = feed->ring.lastReadTime();
      for (std::uint32_t i = 0; i < n; ++i) {
        outLeft[i] += scratchLeft_[i];
        outRight[i] += scratchRight_[i];
      }
    }
    const float muteTarget = muted_.load(std::memory_order_relaxed) ? 0.0f : 1.0f;
    rampGain(outLeft, outRight, n, muteGain_, muteTarget);
    muteGain_ = muteTarget;
    const double renderedAt = now + static_cast<double>(done) / kCommonSampleRate;
    if (captured >= 0) captureLead_ = renderedAt - captured;
    if (tap_) tap_->write(outLeft, outRight, n, captured >= 0 ? captured : renderedAt - captureLead_);
    done += n;
  }
  const float volume = outputVolume();
  if (volume != 1.0f) {
    for (std::uint32_t i = 0; i < frames; ++i) {
      left[i] *= volume;
      right[i] *= volume;
    }
  }
  meterRaw_.store(meterLevel(left, frames), std::memory_order_relaxed);
}

bool AudioBus::start(AudioBackend& backend, const AudioOutputDevice& device, const std::string& streamName,
                     std::string* error) {
  stop();
  auto port = backend.makeOutput(device, streamName,
                                 [this](float* left, float* right, std::uint32_t frames) { render(left, right, frames); });
  if (!port || !port->start(error)) return false;
  port_ = std::move(port);
  return true;
}

void AudioBus::startWithoutDevice() {
  stop();
  auto port = std::make_unique<ClockedAudioPort>(
      [this](float* left, float* right, std::uint32_t frames) { render(left, right, frames); });
  port->start(nullptr);
  port_ = std::move(port);
}

void AudioBus::stop() {
  if (!port_) return;
  port_->stop();
  port_.reset();
}

}  // namespace tavorin

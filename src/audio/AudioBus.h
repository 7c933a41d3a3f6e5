#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "audio/AudioBackend.h"
#include "audio/AudioLiveFeed.h"
#include "audio/AudioTap.h"

namespace tavorin {

// The mix of one output: on each pull of its device it sums its feeds, silences
// the sum while muted, hands it to its tap (before the output volume), applies
// the volume, and measures what the device plays. Its feed list changes only
// while stopped.
class AudioBus {
 public:
  static constexpr std::uint32_t kMaxRenderFrames = 4096;

  AudioBus();
  AudioBus(const AudioBus&) = delete;
  AudioBus& operator=(const AudioBus&) = delete;

  // While stopped only.
  void setFeeds(std::vector<std::shared_ptr<AudioLiveFeed>> feeds) { feeds_ = std::move(feeds); }
  void setTap(std::unique_ptr<AudioTap> tap) { tap_ = std::move(tap); }

  // A muted bus gives its tap silence as well as its device, so what is recorded
  // and streamed goes quiet with what plays.
  void setMuted(bool on) { muted_.store(on, std::memory_order_relaxed); }
  void setOutputVolume(float volume) { outputVolume_.store(volume, std::memory_order_relaxed); }
  float outputVolume() const { return outputVolume_.load(std::memory_order_relaxed); }
  // The level of what the device last played.
  float meterRaw() const { return meterRaw_.load(std::memory_order_relaxed); }

  // The device's real-time pull.
  void render(float* left, float* right, std::uint32_t frames);

  // Opens the bus's device through `backend`; false with `error` set on failure.
  bool start(AudioBackend& backend, const AudioOutputDevice& device, const std::string& streamName, std::string* error);
  // Runs the mix on the host clock, with no device to play it.
  void startWithoutDevice();
  void stop();
  bool running() const { return port_ != nullptr; }

 private:
  std::vector<std::shared_ptr<AudioLiveFeed>> feeds_;
  std::unique_ptr<AudioTap> tap_;
  std::unique_ptr<AudioPort> port_;
  std::vector<float> scratchLeft_, scratchRight_;
  std::atomic<bool> muted_{false};
  // The mute's gain as the device thread last left it; it moves to its target over one block.
  float muteGain_ = 1.0f;
  // How long before its render the mix was last captured: a render with no
  // captured feed keeps that base, so the stamps do not jump by the latency.
  double captureLead_ = 0;
  std::atomic<float> outputVolume_{1.0f};
  std::atomic<float> meterRaw_{0.0f};
};

}  // namespace tavorin

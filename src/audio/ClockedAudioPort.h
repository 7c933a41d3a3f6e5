#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "audio/AudioBackend.h"

namespace tavorin {

// A playback port with no device: a thread of its own pulls the render
// callback in blocks on the host clock, so a mix runs (and its tap fires)
// where no output device is chosen or none exists. Deadlines are absolute,
// so the pace never drifts from the host clock.
class ClockedAudioPort final : public AudioPort {
 public:
  static constexpr std::uint32_t kBlockFrames = 480;  // 10 ms at 48 kHz

  explicit ClockedAudioPort(AudioRender render);
  ~ClockedAudioPort() override;

  bool start(std::string* error) override;
  void stop() override;

 private:
  void run();

  AudioRender render_;
  std::atomic<bool> running_{false};
  std::thread thread_;
};

}  // namespace tavorin

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/PcmBuffer.h"

namespace tavorin {

// Plays one whole clip (a sound effect) into a bus: the main thread starts
// and stops it, the bus's real-time render reads it. A new clip replaces the
// one playing at once. The render never allocates, frees or waits: clips are
// handed over as commands that the main thread frees once the render has
// moved past them.
class AudioClipPlayer {
 public:
  using Clip = std::shared_ptr<const PcmBuffer>;  // the common format

  AudioClipPlayer() = default;
  AudioClipPlayer(const AudioClipPlayer&) = delete;
  AudioClipPlayer& operator=(const AudioClipPlayer&) = delete;

  // Main thread: `clip` from its first frame on, at the next render.
  void play(Clip clip);
  // Main thread: silence from the next render on.
  void stop() { play(nullptr); }

  // The bus's real-time pull: `frames` frames at `gain` into `left`/`right`,
  // ramped from the last render's gain. True while the clip gave sound.
  bool render(float* left, float* right, std::uint32_t frames, float gain);

 private:
  struct Command {
    std::uint64_t sequence = 0;
    Clip clip;
  };
  // Main thread: drops the commands the render no longer reads.
  void collect();

  std::atomic<const Command*> command_{nullptr};
  std::atomic<std::uint64_t> taken_{0};  // the sequence the render last took
  // Main thread only.
  std::vector<std::unique_ptr<Command>> held_;
  std::uint64_t nextSequence_ = 1;
  // Render only.
  const Command* current_ = nullptr;
  std::uint32_t position_ = 0;
  float lastGain_ = 0;
};

}  // namespace tavorin

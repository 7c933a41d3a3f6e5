#include "audio/AudioClipPlayer.h"

#include <algorithm>
#include <cstring>

namespace tavorin {

void AudioClipPlayer::play(Clip clip) {
  auto command = std::make_unique<Command>(Command{nextSequence_++, std::move(clip)});
  command_.store(command.get(), std::memory_order_release);
  held_.push_back(std::move(command));
  collect();
}

void AudioClipPlayer::collect() {
  // Everything older than what the render took last is out of its reach: it
  // reads the command pointer once per render, and the pointer only moves forward.
  const std::uint64_t taken = taken_.load(std::memory_order_acquire);
  std::erase_if(held_, [&](const std::unique_ptr<Command>& c) { return c->sequence < taken; });
}

bool AudioClipPlayer::render(float* left, float* right, std::uint32_t frames, float gain) {
  const Command* command = command_.load(std::memory_order_acquire);
  if (command != current_) {
    current_ = command;
    position_ = 0;
    taken_.store(command ? command->sequence : 0, std::memory_order_release);
  }
  std::memset(left, 0, frames * sizeof(float));
  std::memset(right, 0, frames * sizeof(float));
  const float from = lastGain_;
  lastGain_ = gain;
  const PcmBuffer* clip = current_ ? current_->clip.get() : nullptr;
  if (!clip || position_ >= clip->frameLength || clip->planes.empty()) return false;
  const std::uint32_t n = std::min(frames, clip->frameLength - position_);
  const float* l = clip->planes[0].data() + position_;
  const float* r = clip->planes[clip->planes.size() > 1 ? 1 : 0].data() + position_;
  // A fader moved mid-clip glides over the block instead of clicking.
  const float step = (gain - from) / static_cast<float>(frames);
  for (std::uint32_t i = 0; i < n; ++i) {
    const float g = from + step * static_cast<float>(i + 1);
    left[i] = l[i] * g;
    right[i] = r[i] * g;
  }
  position_ += n;
  return true;
}

}  // namespace tavorin

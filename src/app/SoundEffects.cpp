#include "app/SoundEffects.h"

#include <algorithm>

namespace tavorin {

namespace {
// Transition sounds are a handful per take; this many waiting covers any real show.
constexpr std::size_t kMaxPending = 64;
}  // namespace

SoundEffects::SoundEffects(MainQueue& queue, ShowFolder folder, AudioMixerEngine& mixer,
                           std::function<void(const std::string&)> log)
    : store(std::move(folder), queue, log), queue_(queue), mixer_(mixer), log_(std::move(log)) {
  playingSubscription_ = mixer_.sfxPlaying.subscribe([this](bool playing) { sfxPlayingChanged(playing); });
}

bool SoundEffects::anyOutput() const {
  if (mixer_.programOutput.get() && !mixer_.programOutputOffline.get()) return true;
  const auto& monitors = mixer_.monitors.get();
  return std::any_of(monitors.begin(), monitors.end(),
                     [](const MonitorInfo& m) { return m.deviceUID.has_value() && m.connected; });
}

void SoundEffects::play(const SFXItem& item) {
  nowPlayingID = item.id;
  if (!anyOutput() && log_) log_("Pick a Program output or a monitor output in the audio mixer to hear sound effects.");
  mixer_.playSFX(store.fileURL(item), 1.0f, 0, 0);
}

void SoundEffects::play(const Uuid& id) {
  if (auto item = store.find(id)) play(*item);
}

void SoundEffects::playTile(const Uuid& id, SoundTileMode mode) {
  const auto item = store.find(id);
  if (!item) return;
  switch (mode) {
    case SoundTileMode::restart:
      loopingID.reset();
      break;
    case SoundTileMode::stop:
      if (nowPlayingID.get() == id && mixer_.sfxPlaying.get()) {
        stopAll();
        return;
      }
      loopingID.reset();
      break;
    case SoundTileMode::loop:
      if (loopingID == id) {
        stopAll();
        return;
      }
      loopingID = id;
      break;
  }
  play(*item);
}

void SoundEffects::stopAll() {
  loopingID.reset();
  nowPlayingID = std::nullopt;
  pending_.clear();
  mixer_.stopSFX();
}

void SoundEffects::sfxPlayingChanged(bool playing) {
  if (playing) return;
  if (loopingID) {
    if (auto item = store.find(*loopingID)) {
      play(*item);
      return;
    }
    loopingID.reset();
  }
  if (nowPlayingID.get() && !store.find(*nowPlayingID.get())) nowPlayingID = std::nullopt;
}

void SoundEffects::playTransitionSound(const TransitionSound& sound) {
  auto start = [this, sound] {
    const auto item = store.find(sound.soundID);
    if (!item) return;
    nowPlayingID = item->id;
    mixer_.playSFX(store.fileURL(*item), static_cast<float>(sound.gain), sound.fadeIn, sound.fadeOut);
  };
  if (sound.delay <= 0.01) {
    start();
    return;
  }
  if (pending_.size() >= kMaxPending) pending_.pop_front();
  pending_.push_back(queue_.after(sound.delay, std::move(start)));
}

void SoundEffects::remove(const Uuid& id) {
  const auto item = store.find(id);
  if (!item) return;
  if (loopingID == id) loopingID.reset();
  store.remove(*item);
}

}  // namespace tavorin

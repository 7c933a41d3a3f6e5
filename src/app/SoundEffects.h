#pragma once

#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "audio/AudioMixerEngine.h"
#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/Uuid.h"
#include "model/Deck.h"
#include "model/SFXItem.h"
#include "model/TransitionSound.h"
#include "stores/SFXStore.h"
#include "stores/ShowFolder.h"

namespace tavorin {

// The show's sound effects as the operator fires them: from the library, from
// pads and tiles (once, restarting, looping) and from custom transitions at
// their times. They play through the mixer's "Sound FX" channel. Main thread.
class SoundEffects {
 public:
  SoundEffects(MainQueue& queue, ShowFolder folder, AudioMixerEngine& mixer, std::function<void(const std::string&)> log);
  SoundEffects(const SoundEffects&) = delete;
  SoundEffects& operator=(const SoundEffects&) = delete;

  SFXStore store;
  // The sound last started, while it may still play; and the one that repeats.
  Published<std::optional<Uuid>> nowPlayingID;
  std::optional<Uuid> loopingID;

  // Plays the sound from its start, replacing what played. Says so when no
  // output would make it heard.
  void play(const SFXItem& item);
  void play(const Uuid& id);
  // A pad's or tile's press; an id that is gone does nothing.
  void playTile(const Uuid& id, SoundTileMode mode);
  // Everything stops, a loop included.
  void stopAll();
  // A custom transition's sound, at its delay from now; a sound no longer in the library is skipped.
  void playTransitionSound(const TransitionSound& sound);

  std::optional<SFXItem> importFile(const std::filesystem::path& file) { return store.importFile(file); }
  void rename(const Uuid& id, const std::string& name) { store.rename(id, name); }
  void remove(const Uuid& id);

 private:
  // Repeats the looping sound when the mixer says it ended.
  void sfxPlayingChanged(bool playing);
  bool anyOutput() const;

  MainQueue& queue_;
  AudioMixerEngine& mixer_;
  std::function<void(const std::string&)> log_;
  Subscription playingSubscription_;
  // Transition sounds waiting for their time; the oldest are long done.
  std::deque<TimerHandle> pending_;
};

}  // namespace tavorin

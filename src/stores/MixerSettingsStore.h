#pragma once

#include "model/MixerSettings.h"

namespace tavorin {

class Preferences;

// Keeps the mixer's settings in the preferences, one key per table. A key
// that does not decode reads as absent; a save writes only the keys whose
// value changed since the last load or save. Main thread only.
class MixerSettingsStore {
 public:
  explicit MixerSettingsStore(Preferences& preferences) : preferences_(preferences) {}

  MixerSettings load();
  void save(const MixerSettings& settings);

 private:
  Preferences& preferences_;
  MixerSettings last_;
};

}  // namespace tavorin

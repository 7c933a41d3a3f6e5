#pragma once

#include <functional>
#include <string>
#include <vector>

#include "audio/AudioBackend.h"
#include "audio/AudioMixerEngine.h"
#include "base/MainQueue.h"
#include "base/Published.h"
#include "stores/Preferences.h"

namespace tavorin {

// The machine's sound as the show sees it: the device lists, the three
// virtual devices that exchange sound with other applications, the machine's
// default output routed into the mixer and back, and the channels that hear
// applications. Every outcome is a line in the operator's log. Main thread.
class AudioDevices {
 public:
  static constexpr const char* kSystemChannelID = "sysaudio";
  static constexpr const char* kAppChannelPrefix = "appaudio:";

  // `backend` may be null: no audio service, and the commands say so.
  AudioDevices(MainQueue& queue, AudioBackend* backend, AudioMixerEngine& mixer, Preferences& preferences,
               std::function<void(const std::string&)> log);

  Published<std::vector<AudioOutputDevice>> outputs;
  Published<std::vector<AudioInputDevice>> inputs;
  // Applications playing sound now, for the per-application channels.
  Published<std::vector<AudioApplication>> applications;
  // All three virtual devices are in the graph.
  Published<bool> driverInstalled{false};
  // The machine's default output is "Tavorin System".
  Published<bool> machineAudioRouted{false};
  // Applications the "System Audio" channel never hears, by app id.
  Published<std::vector<std::string>> excludedApps;

  // New lists and statuses from the audio service.
  void refresh();
  void installDrivers();
  void uninstallDrivers();
  void routeMachineAudioToMixer();
  void restoreMachineAudio();
  // The channels that hear applications: all but the excluded, or one.
  bool addSystemAudio();
  bool addApplicationAudio(const std::string& appID);
  // Brings back the application channels among the saved channel ids.
  void restoreApplicationChannels(const std::vector<std::string>& savedIDs);
  // Stored, and heard at once by the running "System Audio" channel.
  void setExcludedApps(std::vector<std::string> apps);

 private:
  void log(const std::string& line) const {
    if (log_) log_(line);
  }
  std::string applicationName(const std::string& appID) const;
  // Runs an install or uninstall and logs its outcome in the operator's words.
  void changeDrivers(const std::string& verb, const std::function<bool(std::string*)>& change);

  MainQueue& queue_;
  AudioBackend* backend_;
  AudioMixerEngine& mixer_;
  Preferences& preferences_;
  std::function<void(const std::string&)> log_;
  TimerHandle lateRefresh_;
};

}  // namespace tavorin

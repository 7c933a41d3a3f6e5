#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "audio/AudioBackend.h"
#include "audio/AudioBus.h"
#include "audio/AudioLog.h"
#include "audio/AudioMeters.h"
#include "audio/AudioTrackProcessor.h"
#include "audio/ChannelInfo.h"
#include "audio/MonitorBuses.h"
#include "audio/dsp/LoudnessMeter.h"
#include "base/AudioBlock.h"
#include "base/MainQueue.h"
#include "base/Published.h"
#include "model/AudioFilterConfig.h"
#include "model/MixerSettings.h"

namespace tavorin {

// The audio mixer: channels, the Program bus and any number of monitor buses,
// each bus on its own output device and clock, fed by every channel through
// a ring of its own. Decides who is heard where and how loud, hands the
// Program mix to recorders and streams, and survives devices that come and go.
// Main thread, except where a member says otherwise.
class AudioMixerEngine {
 public:
  // Program mix before the master gain (silent while Program is muted), in
  // blocks of 1024 frames on the tap's thread; every sink holds the very same block.
  using AudioSink = std::function<void(const AudioBlockRef& block)>;

  static constexpr double kMeterInterval = 1.0 / 15;
  // The permanent sound-effects channel.
  static constexpr const char* kSFXChannelID = "__sfx";
  static constexpr const char* kHeadphonesID = MonitorBuses::kHeadphonesID;

  // `backend` may be null (no audio service): channels and routing still work
  // and no bus plays. `settings` is what the mixer kept last time.
  AudioMixerEngine(MainQueue& queue, MixerSettings settings, AudioBackend* backend, std::filesystem::path logFile);
  ~AudioMixerEngine();
  AudioMixerEngine(const AudioMixerEngine&) = delete;
  AudioMixerEngine& operator=(const AudioMixerEngine&) = delete;

  Published<std::vector<ChannelInfo>> channels;
  Published<std::optional<AudioOutputDevice>> programOutput;
  Published<bool> micAuthorized{true};  // PipeWire asks no permission
  Published<std::vector<MonitorInfo>> monitors;
  Published<float> programMasterGain{1.0f};
  Published<bool> programMuted{false};
  // Every change of what the mixer keeps between runs, with the whole record.
  std::function<void(const MixerSettings&)> onSettingsChanged;
  // After the mixer has rebound its inputs to a new device list.
  std::function<void()> onDevicesChanged;
  Published<AudioMeters> meters;
  // How far each compressor and limiter turned its channel down lately, in dB, by filter id; absent when not at all.
  Published<std::map<std::string, float>> gainReduction;
  // EBU R128 loudness of Program as it goes out, measured on the tap's thread, published with the meters.
  Published<LoudnessReading> loudness;
  Published<std::set<std::string>> offlineChannels;
  Published<bool> programOutputOffline{false};
  Published<std::vector<AudioChannelHealth>> audioHealth;
  // Each channel's filter stages, in order; kept for channels that are away too.
  Published<std::map<std::string, std::vector<AudioFilterConfig>>> channelFilters;
  // A sound effect is playing; falls when the meter tick sees its end, or on stopSFX.
  Published<bool> sfxPlaying{false};
  Published<bool> recordAllAudio{false};
  Published<std::set<std::string>> recordAudioIDs;

  // Sinks of the Program mix; set and cleared any time, called on the tap's thread.
  void setProgramAudioSink(AudioSink sink);
  void setNDIAudioSink(AudioSink sink);
  void setStreamAudioSink(AudioSink sink);
  void setReplayAudioSink(AudioSink sink);

  // Channels.
  // A capture device; logs "AudioMixer addInput failed: …" and adds nothing when it cannot start.
  bool addDeviceChannel(const AudioInputDevice& device);
  // A channel fed by a source through `ingest`; returns it (the existing one for a known id).
  std::shared_ptr<AudioTrackProcessor> addSourceChannel(const std::string& id, const std::string& name,
                                                        const std::string& icon, bool afvDefault,
                                                        std::optional<std::string> videoSourceID);
  // What applications play ("sysaudio": all but the excluded; "appaudio:" + id: one), never ourselves.
  bool addSystemChannel(const std::string& id, const std::string& name, ApplicationAudioFilter filter);
  // Hears anew with another filter; nothing for a channel that is not one of those.
  void setSystemChannelFilter(const std::string& id, ApplicationAudioFilter filter);
  void removeChannel(const std::string& id);
  void rebindInputs(const std::vector<AudioInputDevice>& devices);
  void restoreInputs(const std::vector<std::string>& savedIDs, const std::vector<AudioInputDevice>& devices);
  std::shared_ptr<AudioTrackProcessor> processor(const std::string& id) const;

  // Sound effects, through the "Sound FX" channel: the whole file read at once,
  // scaled by `gain` with linear fades (seconds), replacing what played. A file
  // that cannot be read plays nothing and says nothing. False then.
  bool playSFX(const std::filesystem::path& file, float gain, double fadeIn, double fadeOut);
  void stopSFX();

  // Routing.
  void setLevel(const std::string& id, float level);
  void setAir(const std::string& id, bool on);
  void setCue(const std::string& id, bool on);
  void setMonitor(const std::string& id, bool on);
  void setAFV(const std::string& id, bool on);
  void renameChannel(const std::string& id, const std::string& name);
  void clearCues();
  void moveChannel(const std::string& id, const std::string& before);
  // Audio follows video: channels with afv are on air exactly when their video source is on Program.
  void followProgram(const std::set<std::string>& sourceIDs);

  // Program.
  void setProgramOutput(std::optional<AudioOutputDevice> device);
  // The room's level: what the Program device plays, never what is recorded or streamed.
  void setProgramMasterGain(float gain);
  // Program off air: the device and every sink get silence, faded over one block.
  void setProgramMuted(bool on);

  // Monitors.
  std::string addMonitor(const std::string& name);
  void removeMonitor(const std::string& id);
  void renameMonitor(const std::string& id, const std::string& name);
  void setMonitorDevice(const std::string& id, std::optional<AudioOutputDevice> device);
  void setMonitorGain(const std::string& id, float gain);
  void setMonitorMuted(const std::string& id, bool on);
  void restoreMonitors();
  // "monitor mix", or "soloing " and the cued channels' names.
  std::string monitorLabel() const;

  // Filters: each change stores the channel's list, hands it to the channel's chain and saves.
  std::optional<Uuid> addFilter(AudioFilterKind kind, const std::string& channel);
  void removeFilter(const Uuid& filterID, const std::string& channel);
  // Starts the loudness measurement again (the integrated figure and the range).
  void resetLoudness();
  // Moves the filter at `from` in the chain so that it ends up at `to`; out of range does nothing.
  void moveFilter(std::size_t from, std::size_t to, const std::string& channel);
  void setFilterEnabled(bool on, const Uuid& filterID, const std::string& channel);
  void setFilterParam(const std::string& key, double value, const Uuid& filterID, const std::string& channel);

  // Recording selection.
  void setRecordAllAudio(bool on);
  void toggleRecordAudio(const std::string& id);

  // Maintenance.
  void restartAudio();
  void scheduleRebuild();
  // True for a second after a rebuild, whose own device changes are not news.
  bool suppressingConfigChanges() const { return queue_.now() < suppressConfigChangesUntil_; }
  void audioLog(const std::string& message) { log_.append(message); }
  // What the operator reads about the mix, in plain words; main thread.
  std::function<void(const std::string&)> onLog;

  // Program goes to "Tavorin Mic" while the virtual devices exist, for call
  // applications to record; checked again on every device change.
  void refreshMicFeed();
  bool feedingMic() const { return micPort_ != nullptr; }

  // For tests and benchmarks: the buses as the devices pull them.
  AudioBus& programBus() { return programBus_; }
  AudioBus* monitorBus(const std::string& id) { return monitorBuses_.bus(id); }
  // One meter tick at once.
  void meterTick();

 private:
  struct Sinks {
    AudioSink program;
    AudioSink ndi;
    AudioSink stream;
    AudioSink replay;
  };

  void registerChannel(std::shared_ptr<AudioTrackProcessor> processor, ChannelInfo info);
  // Sets every feed's gain from the channels' routing.
  void applyRouting();
  bool hasChannel(const std::string& id) const;
  template <class Fn>
  void changeRouting(const std::string& id, bool apply, Fn&& fn);
  void sortChannels();
  void rebuildAll();
  void rebuildProgram();
  MonitorBuses::Feeds monitorFeeds(const std::string& busID);
  void rebindOutputs();
  void applyProgramVolume();
  void refreshHealth();
  void setSink(AudioSink Sinks::*which, AudioSink sink);
  void fanOut(const AudioBlockRef& block);
  std::optional<AudioOutputDevice> outputForUID(const std::string& uid) const;

  // Persistence.
  void reportSettings();
  // Publishes the buses' view and, with `keep`, reports them as settings.
  void monitorsChanged(bool keep = true);
  std::optional<ChannelRouting> savedRouting(const std::string& id) const;
  void saveRouting();
  void changeFilters(const std::string& channel, const std::function<void(std::vector<AudioFilterConfig>&)>& fn);

  MainQueue& queue_;
  MixerSettings settings_;
  AudioBackend* backend_;
  AudioLog log_;
  bool toldWithoutDevice_ = false;
  AudioBus programBus_;
  MonitorBuses monitorBuses_;
  // The channels' capture and feeds; their routing is in `channels`.
  std::map<std::string, std::shared_ptr<AudioTrackProcessor>> processors_;
  std::optional<std::string> programSavedUID_;
  bool rebuildPending_ = false;
  double suppressConfigChangesUntil_ = 0;
  int healthTick_ = 0;
  // Swapped whole under the lock, so the tap takes one reference per block and copies no sink.
  mutable std::mutex sinkLock_;
  LoudnessMeter loudnessMeter_{kCommonChannels, kCommonSampleRate};
  std::shared_ptr<const Sinks> sinks_ = std::make_shared<const Sinks>();
  // The effect now playing, as the buses play it, and when it started on the media clock.
  std::shared_ptr<const PcmBuffer> sfxBuffer_;
  double sfxStartTime_ = 0;
  void meterSFX();
  // The Program mix on its way to "Tavorin Mic": written by the tap, read by the mic's stream.
  AudioLiveFeed micFeed_;
  std::atomic<bool> micFeeding_{false};
  std::unique_ptr<AudioPort> micPort_;
  TimerHandle meterTimer_;
  TimerHandle rebuildTimer_;
};

}  // namespace tavorin

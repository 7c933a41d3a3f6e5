#include "audio/AudioMixerEngine.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "audio/DeviceAudioChannel.h"
#include "base/Text.h"
#include "platform/media/AudioFileReader.h"

namespace tavorin {

namespace {

constexpr double kRebuildDelay = 0.4;
constexpr double kSuppressAfterRebuild = 1.0;

}  // namespace

AudioMixerEngine::AudioMixerEngine(MainQueue& queue, MixerSettings settings, AudioBackend* backend,
                                   std::filesystem::path logFile)
    : queue_(queue),
      settings_(std::move(settings)),
      backend_(backend),
      log_(std::move(logFile)),
      monitorBuses_(settings_, backend_, log_, [this](const std::string& busID) { return monitorFeeds(busID); }) {
  programBus_.setTap(std::make_unique<AudioTap>([this](const AudioBlockRef& block) { fanOut(block); }));
  monitors = monitorBuses_.infos();
  channelFilters = settings_.channelFilters;
  recordAllAudio = settings_.recordAllAudio;
  recordAudioIDs = settings_.recordAudioIDs;
  programMasterGain = settings_.programMasterGain;
  applyProgramVolume();
  if (backend_) {
    // A new device list is always news; a stream losing its device may be
    // the echo of a rebuild of our own.
    backend_->onDevicesChanged = [this] {
      refreshMicFeed();
      rebindInputs(backend_->inputDevices());
      if (onDevicesChanged) onDevicesChanged();
    };
    backend_->onStreamInterrupted = [this] {
      if (!suppressingConfigChanges()) scheduleRebuild();
    };
  }
  // Sound effects have a fader, routing and meter like any channel, and never go away.
  registerChannel(std::make_shared<AudioTrackProcessor>(kSFXChannelID, "Sound FX", &log_, true),
                  ChannelInfo{.id = kSFXChannelID, .name = "Sound FX", .level = 0.9f, .removable = false,
                              .icon = "music.note"});
  refreshMicFeed();
  meterTimer_ = queue_.every(kMeterInterval, [this] { meterTick(); });
}

AudioMixerEngine::~AudioMixerEngine() {
  if (backend_) {
    backend_->onDevicesChanged = nullptr;
    backend_->onStreamInterrupted = nullptr;
  }
  // Devices stop pulling before the feeds and processors go, and the tap's
  // thread ends before the sinks it calls.
  if (micPort_) micPort_->stop();
  programBus_.stop();
  programBus_.setTap(nullptr);
  monitorBuses_.stop();
  for (auto& [id, processor] : processors_) processor->stop();
}

// Sinks

void AudioMixerEngine::setProgramAudioSink(AudioSink sink) { setSink(&Sinks::program, std::move(sink)); }
void AudioMixerEngine::setNDIAudioSink(AudioSink sink) { setSink(&Sinks::ndi, std::move(sink)); }
void AudioMixerEngine::setStreamAudioSink(AudioSink sink) { setSink(&Sinks::stream, std::move(sink)); }
void AudioMixerEngine::setReplayAudioSink(AudioSink sink) { setSink(&Sinks::replay, std::move(sink)); }

void AudioMixerEngine::setSink(AudioSink Sinks::*which, AudioSink sink) {
  // The replaced sinks go after the lock: the tap may still be calling them.
  std::shared_ptr<const Sinks> previous;
  std::lock_guard guard(sinkLock_);
  auto next = std::make_shared<Sinks>(*sinks_);
  (*next).*which = std::move(sink);
  previous = std::exchange(sinks_, std::move(next));
}

void AudioMixerEngine::fanOut(const AudioBlockRef& block) {
  loudnessMeter_.add(block->planes(), block->frameCount(), block->sampleRate());
  std::shared_ptr<const Sinks> sinks;
  {
    std::lock_guard guard(sinkLock_);
    sinks = sinks_;
  }
  if (sinks->program) sinks->program(block);
  if (sinks->ndi) sinks->ndi(block);
  if (sinks->stream) sinks->stream(block);
  if (sinks->replay) sinks->replay(block);
  if (micFeeding_.load(std::memory_order_acquire) && block->channelCount() >= 2) {
    micFeed_.ring.write(block->plane(0), block->plane(1), block->frameCount(), block->hostTime());
  }
}

void AudioMixerEngine::refreshMicFeed() {
  const bool wanted = backend_ && backend_->virtualDevicesPresent();
  if (wanted == (micPort_ != nullptr)) return;
  if (!wanted) {
    micFeeding_ = false;
    micPort_->stop();
    micPort_.reset();
    audioLog("Program no longer feeds Tavorin Mic");
    return;
  }
  auto port = backend_->makeSourceFeed(kVirtualMicUID, "Tavorin Mic Feed", [this](float* left, float* right,
                                                                                 std::uint32_t frames) {
    micFeed_.render(left, right, frames);
  });
  std::string error;
  if (!port || !port->start(&error)) {
    audioLog("AudioMixer mic feed failed: " + (error.empty() ? std::string("not available") : error));
    return;
  }
  micPort_ = std::move(port);
  micFeeding_ = true;
  audioLog("Program feeds Tavorin Mic");
}

// Channels

std::shared_ptr<AudioTrackProcessor> AudioMixerEngine::processor(const std::string& id) const {
  auto it = processors_.find(id);
  return it == processors_.end() ? nullptr : it->second;
}

void AudioMixerEngine::registerChannel(std::shared_ptr<AudioTrackProcessor> processor, ChannelInfo info) {
  const auto saved = savedRouting(info.id);
  if (saved) {
    info.level = saved->level;
    info.air = saved->air;
    info.monitor = saved->monitor;
    info.afv = saved->afv;
    if (saved->name) info.name = *saved->name;
  }
  info.cue = false;  // a solo never survives a restart
  if (auto it = channelFilters->find(info.id); it != channelFilters->end()) processor->filterChain.apply(it->second);
  processors_[info.id] = std::move(processor);
  channels.modify([&](std::vector<ChannelInfo>& list) { list.push_back(std::move(info)); });
  sortChannels();
  rebuildAll();
}

bool AudioMixerEngine::addDeviceChannel(const AudioInputDevice& device) {
  if (processors_.contains(device.id)) return true;
  if (!backend_) {
    audioLog("AudioMixer addInput failed: no audio service");
    return false;
  }
  auto channel = std::make_shared<DeviceAudioChannel>(*backend_, device.id, device.name, &log_);
  std::string error;
  if (!channel->open(&error)) {
    audioLog("AudioMixer addInput failed: " + error);
    return false;
  }
  // Our own virtual sinks carry other applications' sound: a call's voices, the machine's output.
  ChannelInfo info{.id = device.id, .name = device.name, .air = true, .icon = "mic"};
  if (device.id == kVirtualSpeakerUID) {
    info.air = false;
    info.icon = "phone.bubble";
  } else if (device.id == kVirtualSystemUID) {
    info.name = "Computer Audio";
    info.air = false;
    info.icon = "macwindow";
  }
  registerChannel(channel, std::move(info));
  return true;
}

std::shared_ptr<AudioTrackProcessor> AudioMixerEngine::addSourceChannel(const std::string& id, const std::string& name,
                                                                        const std::string& icon, bool afvDefault,
                                                                        std::optional<std::string> videoSourceID) {
  if (auto existing = processor(id)) return existing;
  auto channel = std::make_shared<AudioTrackProcessor>(id, name, &log_);
  registerChannel(channel, ChannelInfo{.id = id,
                                       .name = name,
                                       .air = true,
                                       .afv = afvDefault,
                                       .videoSourceID = std::move(videoSourceID),
                                       .icon = icon});
  return channel;
}

bool AudioMixerEngine::addSystemChannel(const std::string& id, const std::string& name, ApplicationAudioFilter filter) {
  if (processors_.contains(id)) return true;
  if (!backend_) return false;
  auto channel = std::make_shared<SystemAudioChannel>(*backend_, id, name, std::move(filter), &log_);
  std::string error;
  if (!channel->open(&error)) {
    audioLog("AudioMixer addInput failed: " + error);
    return false;
  }
  registerChannel(channel, ChannelInfo{.id = id, .name = name, .air = true, .icon = "speaker.wave.2"});
  return true;
}

void AudioMixerEngine::setSystemChannelFilter(const std::string& id, ApplicationAudioFilter filter) {
  if (auto* channel = dynamic_cast<SystemAudioChannel*>(processor(id).get())) channel->setFilter(std::move(filter));
}

void AudioMixerEngine::removeChannel(const std::string& id) {
  auto it = processors_.find(id);
  if (it == processors_.end() || id == kSFXChannelID) return;
  std::shared_ptr<AudioTrackProcessor> gone = it->second;
  gone->stop();
  // The buses let go of its feeds before the processor goes.
  processors_.erase(it);
  channels.modify([&](std::vector<ChannelInfo>& list) {
    std::erase_if(list, [&](const ChannelInfo& c) { return c.id == id; });
  });
  std::erase(settings_.channelOrder, id);
  reportSettings();
  if (offlineChannels->contains(id)) offlineChannels.modify([&](std::set<std::string>& s) { s.erase(id); });
  rebuildAll();
}

void AudioMixerEngine::rebindInputs(const std::vector<AudioInputDevice>& devices) {
  for (auto& [id, processor] : processors_) {
    // Applications' sound is never unplugged.
    auto* device = dynamic_cast<DeviceAudioChannel*>(processor.get());
    if (!device) continue;
    const bool present = std::any_of(devices.begin(), devices.end(), [&](const AudioInputDevice& d) { return d.id == id; });
    const bool offline = offlineChannels->contains(id);
    if (present && offline) {
      std::string error;
      if (device->open(&error)) {
        offlineChannels.modify([&](std::set<std::string>& s) { s.erase(id); });
      } else {
        audioLog("AudioMixer rebind '" + id + "' failed: " + error);
      }
    } else if (!present && !offline) {
      device->stop();
      offlineChannels.modify([&](std::set<std::string>& s) { s.insert(id); });
    }
  }
  scheduleRebuild();
}

void AudioMixerEngine::restoreInputs(const std::vector<std::string>& savedIDs,
                                     const std::vector<AudioInputDevice>& devices) {
  for (const std::string& id : savedIDs) {
    if (processors_.contains(id)) continue;
    for (const AudioInputDevice& device : devices) {
      if (device.id == id) addDeviceChannel(device);
    }
  }
}

void AudioMixerEngine::sortChannels() {
  const auto& order = settings_.channelOrder;
  if (order.empty()) return;
  channels.modify([&](std::vector<ChannelInfo>& list) {
    std::vector<ChannelInfo> sorted;
    for (const std::string& id : order) {
      auto it = std::find_if(list.begin(), list.end(), [&](const ChannelInfo& c) { return c.id == id; });
      if (it != list.end()) sorted.push_back(*it);
    }
    for (const ChannelInfo& c : list) {
      if (std::find(order.begin(), order.end(), c.id) == order.end()) sorted.push_back(c);
    }
    list = std::move(sorted);
  });
}

// Sound effects

bool AudioMixerEngine::playSFX(const std::filesystem::path& file, float gain, double fadeIn, double fadeOut) {
  auto sound = readAudioFile(file);
  if (!sound || sound->frameLength == 0) return false;
  if (gain != 1.0f || fadeIn > 0 || fadeOut > 0) {
    const std::uint32_t n = sound->frameLength;
    const auto inFrames = static_cast<std::uint32_t>(std::max(0.0, fadeIn) * sound->sampleRate);
    const auto outFrames = static_cast<std::uint32_t>(std::max(0.0, fadeOut) * sound->sampleRate);
    for (auto& plane : sound->planes) {
      for (std::uint32_t i = 0; i < n; ++i) {
        float g = gain;
        if (i < inFrames) g = gain * static_cast<float>(i) / static_cast<float>(inFrames);
        if (n - i <= outFrames) g *= static_cast<float>(n - i) / static_cast<float>(outFrames);
        plane[i] *= g;
      }
    }
  }
  auto channel = processor(kSFXChannelID);
  auto playing = channel ? channel->playClip(*sound) : nullptr;
  if (!playing) return false;
  sfxBuffer_ = std::move(playing);
  sfxStartTime_ = queue_.now();
  sfxPlaying = true;
  return true;
}

void AudioMixerEngine::stopSFX() {
  if (auto channel = processor(kSFXChannelID)) {
    channel->stopClip();
    channel->meterLevel.store(0);
  }
  sfxBuffer_.reset();
  sfxPlaying = false;
}

void AudioMixerEngine::meterSFX() {
  if (!sfxBuffer_) return;
  auto channel = processor(kSFXChannelID);
  const double position = std::trunc((queue_.now() - sfxStartTime_) * sfxBuffer_->sampleRate);
  if (!channel || position < 0 || position >= sfxBuffer_->frameLength) {
    sfxBuffer_.reset();
    sfxPlaying = false;
    return;
  }
  const auto from = static_cast<std::uint32_t>(position);
  const std::uint32_t frames = std::min<std::uint32_t>(2048, sfxBuffer_->frameLength - from);
  double sum = 0;
  for (const auto& plane : sfxBuffer_->planes) {
    for (std::uint32_t i = from; i < from + frames; ++i) sum += static_cast<double>(plane[i]) * plane[i];
  }
  const double rms = std::sqrt(sum / (static_cast<double>(frames) * static_cast<double>(sfxBuffer_->planes.size())));
  channel->meterLevel.store(static_cast<float>(std::min(2 * rms, 1.0)));
}

// Routing

void AudioMixerEngine::applyRouting() {
  const auto& list = channels.get();
  const bool anyCue = std::any_of(list.begin(), list.end(), [](const ChannelInfo& c) { return c.cue; });
  for (const ChannelInfo& c : list) {
    auto processor = this->processor(c.id);
    if (!processor) continue;
    const bool selected = anyCue ? c.cue : c.monitor;
    const float monitorGain = selected ? c.level : 0.0f;
    processor->programFeed()->setGain(c.air ? c.level : 0.0f);
    for (const auto& [bus, feed] : processor->monitorFeeds()) feed->setGain(monitorGain);
  }
}

bool AudioMixerEngine::hasChannel(const std::string& id) const {
  const auto& list = channels.get();
  return std::any_of(list.begin(), list.end(), [&](const ChannelInfo& c) { return c.id == id; });
}

template <class Fn>
void AudioMixerEngine::changeRouting(const std::string& id, bool apply, Fn&& fn) {
  if (!hasChannel(id)) return;
  channels.modify([&](std::vector<ChannelInfo>& list) {
    for (ChannelInfo& c : list) {
      if (c.id == id) fn(c);
    }
  });
  if (apply) applyRouting();
  saveRouting();
}

void AudioMixerEngine::setLevel(const std::string& id, float level) {
  level = std::clamp(level, 0.0f, 2.0f);
  changeRouting(id, true, [&](ChannelInfo& c) { c.level = level; });
}
void AudioMixerEngine::setAir(const std::string& id, bool on) {
  changeRouting(id, true, [&](ChannelInfo& c) { c.air = on; });
}
void AudioMixerEngine::setCue(const std::string& id, bool on) {
  changeRouting(id, true, [&](ChannelInfo& c) { c.cue = on; });
}
void AudioMixerEngine::setMonitor(const std::string& id, bool on) {
  changeRouting(id, true, [&](ChannelInfo& c) { c.monitor = on; });
}
void AudioMixerEngine::setAFV(const std::string& id, bool on) {
  changeRouting(id, false, [&](ChannelInfo& c) { c.afv = on; });
}

void AudioMixerEngine::renameChannel(const std::string& id, const std::string& name) {
  const std::string clean = trimmed(name);
  if (clean.empty()) return;
  changeRouting(id, false, [&](ChannelInfo& c) { c.name = clean; });
}

void AudioMixerEngine::clearCues() {
  channels.modify([](std::vector<ChannelInfo>& list) {
    for (ChannelInfo& c : list) c.cue = false;
  });
  applyRouting();
  saveRouting();
}

void AudioMixerEngine::moveChannel(const std::string& id, const std::string& before) {
  if (id == before || !hasChannel(id)) return;
  channels.modify([&](std::vector<ChannelInfo>& list) {
    auto it = std::find_if(list.begin(), list.end(), [&](const ChannelInfo& c) { return c.id == id; });
    ChannelInfo moved = *it;
    list.erase(it);
    auto at = std::find_if(list.begin(), list.end(), [&](const ChannelInfo& c) { return c.id == before; });
    list.insert(at, std::move(moved));
  });
  settings_.channelOrder.clear();
  for (const ChannelInfo& c : channels.get()) settings_.channelOrder.push_back(c.id);
  reportSettings();
}

void AudioMixerEngine::followProgram(const std::set<std::string>& sourceIDs) {
  channels.modify([&](std::vector<ChannelInfo>& list) {
    for (ChannelInfo& c : list) {
      if (c.afv && c.videoSourceID) c.air = sourceIDs.contains(*c.videoSourceID);
    }
  });
  applyRouting();
}

// Program and monitors

void AudioMixerEngine::setProgramOutput(std::optional<AudioOutputDevice> device) {
  programOutput = device;
  programSavedUID_ = device ? std::optional<std::string>(device->uid) : std::nullopt;
  programOutputOffline = false;
  rebuildProgram();
}

// The master gain is for the room: it leaves recordings and streams alone. The
// mute takes Program off air, so it silences them too.
void AudioMixerEngine::applyProgramVolume() {
  programBus_.setMuted(programMuted.get());
  programBus_.setOutputVolume(programMuted.get() ? 0.0f : programMasterGain.get());
}

void AudioMixerEngine::setProgramMasterGain(float gain) {
  programMasterGain = gain;
  applyProgramVolume();
  settings_.programMasterGain = gain;
  reportSettings();
}

void AudioMixerEngine::setProgramMuted(bool on) {
  programMuted = on;
  applyProgramVolume();
}

std::string AudioMixerEngine::addMonitor(const std::string& name) {
  const std::string id = monitorBuses_.add(name);
  monitorsChanged();
  return id;
}

void AudioMixerEngine::removeMonitor(const std::string& id) {
  if (!monitorBuses_.remove(id)) return;
  for (auto& [channel, processor] : processors_) processor->removeMonitorFeed(id);
  monitorsChanged();
}

void AudioMixerEngine::renameMonitor(const std::string& id, const std::string& name) {
  const std::string clean = trimmed(name);
  if (clean.empty()) return;
  monitorBuses_.rename(id, clean);
  monitorsChanged();
}

void AudioMixerEngine::setMonitorDevice(const std::string& id, std::optional<AudioOutputDevice> device) {
  monitorBuses_.setDevice(id, std::move(device));
  monitorsChanged();
}

void AudioMixerEngine::setMonitorGain(const std::string& id, float gain) {
  monitorBuses_.setGain(id, gain);
  monitorsChanged();
}

void AudioMixerEngine::setMonitorMuted(const std::string& id, bool on) {
  monitorBuses_.setMuted(id, on);
  monitorsChanged();
}

void AudioMixerEngine::restoreMonitors() {
  monitorBuses_.restore();
  monitorsChanged(false);
}

std::string AudioMixerEngine::monitorLabel() const {
  std::string names;
  for (const ChannelInfo& c : channels.get()) {
    if (!c.cue) continue;
    if (!names.empty()) names += ", ";
    names += c.name;
  }
  return names.empty() ? "monitor mix" : "soloing " + names;
}

std::optional<Uuid> AudioMixerEngine::addFilter(AudioFilterKind kind, const std::string& channel) {
  if (!processor(channel)) return std::nullopt;
  const AudioFilterConfig config = AudioFilterConfig::make(kind);
  changeFilters(channel, [&](std::vector<AudioFilterConfig>& list) { list.push_back(config); });
  return config.id;
}

void AudioMixerEngine::removeFilter(const Uuid& filterID, const std::string& channel) {
  changeFilters(channel, [&](std::vector<AudioFilterConfig>& list) {
    std::erase_if(list, [&](const AudioFilterConfig& c) { return c.id == filterID; });
  });
}

void AudioMixerEngine::resetLoudness() {
  loudnessMeter_.reset();
  loudness = loudnessMeter_.reading();
}

void AudioMixerEngine::moveFilter(std::size_t from, std::size_t to, const std::string& channel) {
  changeFilters(channel, [&](std::vector<AudioFilterConfig>& list) {
    if (from >= list.size() || to >= list.size() || from == to) return;
    AudioFilterConfig moved = std::move(list[from]);
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(from));
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(to), std::move(moved));
  });
}

void AudioMixerEngine::setFilterEnabled(bool on, const Uuid& filterID, const std::string& channel) {
  changeFilters(channel, [&](std::vector<AudioFilterConfig>& list) {
    for (auto& c : list) {
      if (c.id == filterID) c.enabled = on;
    }
  });
}

void AudioMixerEngine::setFilterParam(const std::string& key, double value, const Uuid& filterID,
                                      const std::string& channel) {
  changeFilters(channel, [&](std::vector<AudioFilterConfig>& list) {
    for (auto& c : list) {
      if (c.id == filterID) c.params[key] = value;
    }
  });
}

void AudioMixerEngine::setRecordAllAudio(bool on) {
  recordAllAudio = on;
  settings_.recordAllAudio = on;
  reportSettings();
}

void AudioMixerEngine::toggleRecordAudio(const std::string& id) {
  recordAudioIDs.modify([&](std::set<std::string>& ids) {
    if (!ids.erase(id)) ids.insert(id);
  });
  settings_.recordAudioIDs = recordAudioIDs.get();
  reportSettings();
}

// Rebuilds

std::optional<AudioOutputDevice> AudioMixerEngine::outputForUID(const std::string& uid) const {
  return backend_ ? backend_->outputWithUID(uid) : std::nullopt;
}

void AudioMixerEngine::rebuildProgram() {
  programBus_.stop();
  std::vector<std::shared_ptr<AudioLiveFeed>> feeds;
  for (auto& [id, processor] : processors_) {
    processor->programFeed()->ring.reset();
    feeds.push_back(processor->programFeed());
  }
  programBus_.setFeeds(std::move(feeds));
  applyProgramVolume();
  applyRouting();  // every feed has its routed gain before a device pulls it
  if (processors_.empty()) return;
  if (!backend_ || !programOutput.get() || programOutputOffline.get()) {
    // Recordings and streams still get the Program mix: it runs on the host clock.
    programBus_.startWithoutDevice();
    if (!toldWithoutDevice_ && onLog) {
      onLog("Program audio runs without an output device.");
      toldWithoutDevice_ = true;
    }
    return;
  }
  toldWithoutDevice_ = false;
  std::string error;
  if (!programBus_.start(*backend_, *programOutput.get(), "Tavorin Program", &error)) {
    audioLog("AudioMixer program engine start failed: " + error);
  }
}

MonitorBuses::Feeds AudioMixerEngine::monitorFeeds(const std::string& busID) {
  MonitorBuses::Feeds feeds;
  for (auto& [id, processor] : processors_) feeds.push_back(processor->monitorFeed(busID));
  applyRouting();  // a feed made just now starts at unity
  return feeds;
}

void AudioMixerEngine::rebuildAll() {
  const auto& output = programOutput.get();
  audioLog("rebuildAll (program: " + (output ? output->name : std::string("none")) +
           ", monitors: " + std::to_string(monitorBuses_.size()) + ")");
  rebuildProgram();
  monitorBuses_.rebuildAll();
}

void AudioMixerEngine::scheduleRebuild() {
  if (rebuildPending_) return;
  rebuildPending_ = true;
  rebuildTimer_ = queue_.after(kRebuildDelay, [this] {
    rebuildPending_ = false;
    const auto programBefore = programOutput.get();
    const bool offlineBefore = programOutputOffline.get();
    rebindOutputs();
    // A change Program does not use (headphones plugged in, a monitor's
    // device) leaves the Program mix running: no gap in recordings and streams.
    const auto& programAfter = programOutput.get();
    const bool programUnchanged = programBus_.running() && offlineBefore == programOutputOffline.get() &&
                                  programBefore.has_value() == programAfter.has_value() &&
                                  (!programAfter || programBefore->id == programAfter->id);
    if (programUnchanged) {
      audioLog("rebuild of monitors only (Program unchanged)");
      monitorBuses_.rebuildAll();
    } else {
      rebuildAll();
    }
    suppressConfigChangesUntil_ = queue_.now() + kSuppressAfterRebuild;
  });
}

void AudioMixerEngine::restartAudio() {
  rebindOutputs();
  rebuildAll();
  suppressConfigChangesUntil_ = queue_.now() + kSuppressAfterRebuild;
}

void AudioMixerEngine::rebindOutputs() {
  if (!programSavedUID_ && programOutput.get()) programSavedUID_ = programOutput.get()->uid;
  if (programSavedUID_) {
    if (auto device = outputForUID(*programSavedUID_)) {
      if (!programOutput.get() || programOutput.get()->id != device->id || programOutputOffline.get()) {
        programOutput = device;
      }
      programOutputOffline = false;
    } else {
      programOutputOffline = true;
    }
  }
  monitorBuses_.rebindDevices();
  monitorsChanged(false);
}

// Meters and health

void AudioMixerEngine::meterTick() {
  meterSFX();
  AudioMeters next;
  const AudioMeters& previous = meters.get();
  auto before = [](const std::map<std::string, float>& map, const std::string& id) {
    auto it = map.find(id);
    return it == map.end() ? 0.0f : it->second;
  };
  for (const ChannelInfo& c : channels.get()) {
    auto processor = this->processor(c.id);
    if (!processor) continue;
    const float raw = processor->meterLevel.load() * c.level;
    next.inputs[c.id] = std::max(raw, before(previous.inputs, c.id) * 0.8f);
    next.peaks[c.id] = std::max(raw, before(previous.peaks, c.id) * 0.94f);
    // A stalled channel falls to silence.
    processor->meterLevel.store(processor->meterLevel.load() * 0.5f);
  }
  next.monitors = monitorBuses_.meterLevels();
  next.program = programBus_.meterRaw();
  meters = std::move(next);
  loudness = loudnessMeter_.reading();
  std::map<std::string, float> reductions;
  for (const auto& [id, processor] : processors_) {
    for (const auto& [filter, db] : processor->filterChain.gainReductions()) reductions[filter.toString()] = db;
  }
  gainReduction = std::move(reductions);
  if (++healthTick_ % 15 == 0) refreshHealth();
}

void AudioMixerEngine::refreshHealth() {
  std::vector<AudioChannelHealth> table;
  for (const ChannelInfo& c : channels.get()) {
    auto processor = this->processor(c.id);
    if (!processor) continue;
    std::vector<std::shared_ptr<AudioLiveFeed>> feeds{processor->programFeed()};
    for (const auto& [bus, feed] : processor->monitorFeeds()) feeds.push_back(feed);
    AudioChannelHealth health{.id = c.id, .name = c.name};
    std::int64_t fill = 0;
    for (const auto& feed : feeds) {
      fill = std::max<std::int64_t>(fill, std::max<std::int64_t>(0, feed->ring.fill()));
      health.underruns += feed->ring.underruns();
      health.trims += feed->ring.trims();
      health.overflows += feed->ring.overflows();
    }
    health.bufferMS = static_cast<int>(fill * 1000 / kCommonSampleRate);
    table.push_back(std::move(health));
  }
  if (table != audioHealth.get()) audioHealth = std::move(table);
}

}  // namespace tavorin

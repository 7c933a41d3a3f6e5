#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "audio/AudioBackend.h"
#include "audio/AudioBus.h"
#include "audio/AudioLiveFeed.h"
#include "audio/MonitorBus.h"
#include "model/MixerSettings.h"

namespace tavorin {

class AudioLog;

// The monitor buses, each on a device and clock of its own, mixing the
// channels' monitor feeds. There is always at least one. They know nothing of
// the channels but the feeds `feedsFor` hands them. Main thread.
class MonitorBuses {
 public:
  static constexpr const char* kHeadphonesID = "monitor.headphones";
  using Feeds = std::vector<std::shared_ptr<AudioLiveFeed>>;
  // Every channel's feed into one bus, each already at its routed gain.
  using FeedsFor = std::function<Feeds(const std::string& busID)>;

  // The buses kept in `settings`; with none kept, one headphones bus on the
  // single monitor output of older versions. `backend` may be null: no bus plays.
  MonitorBuses(const MixerSettings& settings, AudioBackend* backend, AudioLog& log, FeedsFor feedsFor);
  ~MonitorBuses();
  MonitorBuses(const MonitorBuses&) = delete;
  MonitorBuses& operator=(const MonitorBuses&) = delete;

  std::vector<MonitorInfo> infos() const;
  std::vector<MonitorSettings> settings() const;
  std::size_t size() const { return buses_.size(); }
  AudioBus* bus(const std::string& id);
  // What each bus's device last played, by bus.
  std::map<std::string, float> meterLevels() const;

  // The new bus's id.
  std::string add(const std::string& name);
  // False when `id` is unknown or the last bus: the caller drops the bus's feeds on true.
  bool remove(const std::string& id);
  void rename(const std::string& id, const std::string& name);
  void setDevice(const std::string& id, std::optional<AudioOutputDevice> device);
  void setGain(const std::string& id, float gain);
  void setMuted(const std::string& id, bool on);
  // Buses without a device take their chosen one again once it is present.
  void restore();
  // Every bus with a chosen device takes it from the present list, or none;
  // the caller rebuilds next.
  void rebindDevices();
  void rebuildAll();
  // Devices stop pulling.
  void stop();

 private:
  MonitorBus* find(const std::string& id);
  void rebuild(MonitorBus& bus);
  static void applyVolume(MonitorBus& bus) { bus.bus->setOutputVolume(bus.muted ? 0.0f : bus.gain); }

  AudioBackend* backend_;
  AudioLog& log_;
  FeedsFor feedsFor_;
  std::vector<MonitorBus> buses_;
};

}  // namespace tavorin

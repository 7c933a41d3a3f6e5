#include "audio/MonitorBuses.h"

#include <algorithm>
#include <chrono>

#include "audio/AudioLog.h"

namespace tavorin {

MonitorBuses::MonitorBuses(const MixerSettings& settings, AudioBackend* backend, AudioLog& log, FeedsFor feedsFor)
    : backend_(backend), log_(log), feedsFor_(std::move(feedsFor)) {
  for (const MonitorSettings& stored : settings.monitors) {
    MonitorBus bus;
    static_cast<MonitorSettings&>(bus) = stored;
    buses_.push_back(std::move(bus));
  }
  if (!buses_.empty()) return;
  MonitorBus bus;
  bus.id = kHeadphonesID;
  bus.name = "Headphones";
  bus.deviceUID = settings.previewOutputUID;
  bus.gain = settings.cueMasterGain;
  buses_.push_back(std::move(bus));
}

MonitorBuses::~MonitorBuses() { stop(); }

std::vector<MonitorInfo> MonitorBuses::infos() const {
  std::vector<MonitorInfo> infos;
  for (const MonitorBus& bus : buses_) {
    infos.push_back(MonitorInfo{.id = bus.id,
                                .name = bus.name,
                                .gain = bus.gain,
                                .muted = bus.muted,
                                .deviceUID = bus.deviceUID,
                                .removable = bus.id != kHeadphonesID,
                                .connected = bus.device.has_value() || !bus.deviceUID});
  }
  return infos;
}

std::vector<MonitorSettings> MonitorBuses::settings() const {
  return std::vector<MonitorSettings>(buses_.begin(), buses_.end());
}

MonitorBus* MonitorBuses::find(const std::string& id) {
  auto it = std::find_if(buses_.begin(), buses_.end(), [&](const MonitorBus& b) { return b.id == id; });
  return it == buses_.end() ? nullptr : &*it;
}

AudioBus* MonitorBuses::bus(const std::string& id) {
  MonitorBus* found = find(id);
  return found ? found->bus.get() : nullptr;
}

std::map<std::string, float> MonitorBuses::meterLevels() const {
  std::map<std::string, float> levels;
  for (const MonitorBus& bus : buses_) levels[bus.id] = bus.bus->meterRaw();
  return levels;
}

std::string MonitorBuses::add(const std::string& name) {
  const auto uptime = std::chrono::duration_cast<std::chrono::milliseconds>(
                          std::chrono::steady_clock::now().time_since_epoch())
                          .count();
  MonitorBus bus;
  bus.id = "monitor." + std::to_string(buses_.size()) + "-" + std::to_string(uptime);
  bus.name = name;
  buses_.push_back(std::move(bus));
  rebuild(buses_.back());
  return buses_.back().id;
}

bool MonitorBuses::remove(const std::string& id) {
  if (buses_.size() < 2) return false;
  auto it = std::find_if(buses_.begin(), buses_.end(), [&](const MonitorBus& b) { return b.id == id; });
  if (it == buses_.end()) return false;
  it->bus->stop();
  it->bus->setFeeds({});
  buses_.erase(it);
  return true;
}

void MonitorBuses::rename(const std::string& id, const std::string& name) {
  if (MonitorBus* bus = find(id)) bus->name = name;
}

void MonitorBuses::setDevice(const std::string& id, std::optional<AudioOutputDevice> device) {
  MonitorBus* bus = find(id);
  if (!bus) return;
  bus->deviceUID = device ? std::optional<std::string>(device->uid) : std::nullopt;
  bus->device = std::move(device);
  rebuild(*bus);
}

void MonitorBuses::setGain(const std::string& id, float gain) {
  MonitorBus* bus = find(id);
  if (!bus) return;
  bus->gain = gain;
  applyVolume(*bus);
}

void MonitorBuses::setMuted(const std::string& id, bool on) {
  MonitorBus* bus = find(id);
  if (!bus) return;
  bus->muted = on;
  applyVolume(*bus);
}

void MonitorBuses::restore() {
  if (!backend_) return;
  for (MonitorBus& bus : buses_) {
    if (bus.device || !bus.deviceUID) continue;
    if (auto device = backend_->outputWithUID(*bus.deviceUID)) {
      bus.device = std::move(device);
      rebuild(bus);
    }
  }
}

void MonitorBuses::rebindDevices() {
  for (MonitorBus& bus : buses_) {
    if (!bus.deviceUID) continue;
    bus.device = backend_ ? backend_->outputWithUID(*bus.deviceUID) : std::nullopt;
  }
}

void MonitorBuses::rebuildAll() {
  for (MonitorBus& bus : buses_) rebuild(bus);
}

void MonitorBuses::stop() {
  for (MonitorBus& bus : buses_) bus.bus->stop();
}

void MonitorBuses::rebuild(MonitorBus& bus) {
  bus.bus->stop();
  Feeds feeds = feedsFor_(bus.id);
  for (const auto& feed : feeds) feed->ring.reset();
  const bool silent = feeds.empty();
  bus.bus->setFeeds(std::move(feeds));
  applyVolume(bus);
  if (!backend_ || !bus.device || silent) return;
  std::string error;
  if (!bus.bus->start(*backend_, *bus.device, "Tavorin " + bus.name, &error)) {
    log_.append("AudioMixer monitor ‘" + bus.name + "’ engine start failed: " + error);
  }
}

}  // namespace tavorin

#pragma once

#include <memory>
#include <optional>
#include <string>

#include "audio/AudioBackend.h"
#include "audio/AudioBus.h"
#include "model/MixerSettings.h"

namespace tavorin {

// A monitor output: what is kept of it between runs (its deviceUID is the
// chosen device, kept while that is away), the device it plays on now, and
// its own clock and mix.
struct MonitorBus : MonitorSettings {
  std::optional<AudioOutputDevice> device;
  std::unique_ptr<AudioBus> bus = std::make_unique<AudioBus>();
};

// The published view of a monitor bus.
struct MonitorInfo {
  std::string id;
  std::string name;
  float gain = 1.0f;
  bool muted = false;
  std::optional<std::string> deviceUID{};
  bool removable = true;
  bool connected = true;
  friend bool operator==(const MonitorInfo&, const MonitorInfo&) = default;
};

}  // namespace tavorin

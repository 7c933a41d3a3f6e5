#pragma once

#include <memory>
#include <optional>
#include <string>

#include "audio/AudioBackend.h"
#include "audio/AudioBus.h"

namespace tavorin {

// A monitor output: its own device, clock and mix.
struct MonitorBus {
  std::string id;
  std::string name;
  std::optional<AudioOutputDevice> device;
  std::optional<std::string> savedUID;  // the chosen device, kept while it is away
  float gain = 1.0f;
  bool muted = false;
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

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/PcmFormat.h"

namespace tavorin {

// An output device; `id` is valid only while the device exists, `uid` is stable.
struct AudioOutputDevice {
  std::uint32_t id = 0;
  std::string name;
  std::string uid;
  friend bool operator==(const AudioOutputDevice&, const AudioOutputDevice&) = default;
};

// A capture device, by its stable unique id.
struct AudioInputDevice {
  std::string id;
  std::string name;
  friend bool operator==(const AudioInputDevice&, const AudioInputDevice&) = default;
};

// An application that plays sound now, by its Linux app id.
struct AudioApplication {
  std::string id;
  std::string name;
  friend bool operator==(const AudioApplication&, const AudioApplication&) = default;
};

// Whose sound an application capture hears. Tavorin itself is never heard.
struct ApplicationAudioFilter {
  // Set: this application only. Unset: every application but `excludedApps`.
  std::optional<std::string> onlyApp{};
  std::vector<std::string> excludedApps{};
  friend bool operator==(const ApplicationAudioFilter&, const ApplicationAudioFilter&) = default;
};

// The node names of the three virtual devices other applications exchange sound with us through.
inline constexpr const char* kVirtualMicUID = "TavorinAudio_UID";        // "Tavorin Mic": we play, they record
inline constexpr const char* kVirtualSpeakerUID = "TavorinSpeaker_UID";  // "Tavorin Speaker": they play, we record
inline constexpr const char* kVirtualSystemUID = "TavorinSystem_UID";    // "Tavorin System": the machine's default output

// Fills `frames` frames of both channels; runs on the device's real-time thread.
using AudioRender = std::function<void(float* left, float* right, std::uint32_t frames)>;
// One captured block as the device delivers it, with its presentation time in
// seconds (negative when unknown); runs on the capture thread.
using AudioDeliver = std::function<void(const PcmFormat& format, const void* const* planes, std::uint32_t frames, double pts)>;

// A running connection to a device: a bus's playback or a channel's capture.
class AudioPort {
 public:
  virtual ~AudioPort() = default;
  // False with `error` set when the device cannot be opened.
  virtual bool start(std::string* error) = 0;
  // The callback is not running and will not run again once this returns.
  virtual void stop() = 0;
};

// The machine's audio devices and streams, as the mixer needs them.
class AudioBackend {
 public:
  virtual ~AudioBackend() = default;
  virtual std::vector<AudioOutputDevice> outputDevices() const = 0;
  virtual std::vector<AudioInputDevice> inputDevices() const = 0;
  // The machine's default output, when it has one.
  virtual std::optional<std::string> defaultOutputUID() const = 0;
  // The output with the stable `uid`, when it is present now.
  std::optional<AudioOutputDevice> outputWithUID(const std::string& uid) const {
    for (AudioOutputDevice& device : outputDevices()) {
      if (device.uid == uid) return std::move(device);
    }
    return std::nullopt;
  }
  // 48 kHz stereo playback into `device`, pulling `render`.
  virtual std::unique_ptr<AudioPort> makeOutput(const AudioOutputDevice& device, const std::string& streamName,
                                                AudioRender render) = 0;
  // Capture from the input device `deviceID` (for our own virtual sinks, what is played into them).
  virtual std::unique_ptr<AudioPort> makeCapture(const std::string& deviceID, const std::string& streamName,
                                                 AudioDeliver deliver) = 0;

  // Applications playing sound now, ourselves left out.
  virtual std::vector<AudioApplication> audioApplications() const { return {}; }
  // What applications play, as `filter` says, kept up to date as their streams come and go.
  virtual std::unique_ptr<AudioPort> makeApplicationCapture(const ApplicationAudioFilter& /*filter*/,
                                                            const std::string& /*streamName*/, AudioDeliver /*deliver*/) {
    return nullptr;
  }
  // 48 kHz stereo playback into the virtual source `sourceUID`, which other
  // applications record as a microphone; kept linked while both exist.
  virtual std::unique_ptr<AudioPort> makeSourceFeed(const std::string& /*sourceUID*/, const std::string& /*streamName*/,
                                                    AudioRender /*render*/) {
    return nullptr;
  }

  // The three virtual devices: all present, made (replacing any), or taken away.
  virtual bool virtualDevicesPresent() const { return false; }
  virtual bool installVirtualDevices(std::string* error) { return unsupported(error); }
  virtual bool uninstallVirtualDevices(std::string* error) { return unsupported(error); }
  // Makes `uid` the machine's default output, the way the desktop's own sound settings do.
  virtual bool setDefaultOutput(const std::string& /*uid*/, std::string* error) { return unsupported(error); }

  // Main thread: the device lists changed.
  std::function<void()> onDevicesChanged;
  // Main thread: a running port lost its device or its connection.
  std::function<void()> onStreamInterrupted;

 private:
  static bool unsupported(std::string* error) {
    if (error) *error = "the audio service cannot do this";
    return false;
  }
};

}  // namespace tavorin

#pragma once

#include <memory>
#include <string>

#include "audio/AudioBackend.h"
#include "audio/AudioTrackProcessor.h"

namespace tavorin {

// A channel that captures an input device. Its id is the device's unique id.
class DeviceAudioChannel : public AudioTrackProcessor {
 public:
  DeviceAudioChannel(AudioBackend& backend, std::string id, std::string name, AudioLog* log)
      : DeviceAudioChannel(backend, std::move(id), std::move(name), false, log) {}
  ~DeviceAudioChannel() override;

  // False with `error` set when the device cannot be opened.
  bool open(std::string* error);
  void start() override { open(nullptr); }
  void stop() override;
  bool capturing() const { return port_ != nullptr; }

 protected:
  DeviceAudioChannel(AudioBackend& backend, std::string id, std::string name, bool machineOutput, AudioLog* log);

 private:
  AudioBackend& backend_;
  const bool machineOutput_;
  std::unique_ptr<AudioPort> port_;
};

// A channel that captures what the machine itself plays on its default output.
class SystemAudioChannel final : public DeviceAudioChannel {
 public:
  SystemAudioChannel(AudioBackend& backend, std::string id, std::string name, AudioLog* log)
      : DeviceAudioChannel(backend, std::move(id), std::move(name), true, log) {}
};

}  // namespace tavorin

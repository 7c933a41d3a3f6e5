#pragma once

#include <memory>
#include <string>

#include "audio/AudioBackend.h"
#include "audio/AudioTrackProcessor.h"

namespace tavorin {

// A channel that captures an input device, or with `machineOutput` the sound
// the machine itself plays.
class DeviceAudioChannel : public AudioTrackProcessor {
 public:
  DeviceAudioChannel(AudioBackend& backend, std::string id, std::string name, bool machineOutput, AudioLog* log);
  ~DeviceAudioChannel() override;

  // False with `error` set when the device cannot be opened.
  bool open(std::string* error);
  void start() override { open(nullptr); }
  void stop() override;
  bool capturing() const { return port_ != nullptr; }

 private:
  AudioBackend& backend_;
  const bool machineOutput_;
  std::unique_ptr<AudioPort> port_;
};

}  // namespace tavorin

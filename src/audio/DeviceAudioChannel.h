#pragma once

#include <memory>
#include <string>

#include "audio/AudioBackend.h"
#include "audio/AudioTrackProcessor.h"

namespace tavorin {

// A channel fed by a capture port of the audio service; subclasses say which.
class CapturedAudioChannel : public AudioTrackProcessor {
 public:
  ~CapturedAudioChannel() override;

  // False with `error` set when the capture cannot start.
  bool open(std::string* error);
  void start() override { open(nullptr); }
  void stop() override;
  bool capturing() const { return port_ != nullptr; }

 protected:
  CapturedAudioChannel(AudioBackend& backend, std::string id, std::string name, AudioLog* log)
      : AudioTrackProcessor(std::move(id), std::move(name), log), backend_(backend) {}
  virtual std::unique_ptr<AudioPort> makePort(AudioBackend& backend, AudioDeliver deliver) = 0;

 private:
  AudioBackend& backend_;
  std::unique_ptr<AudioPort> port_;
};

// A channel that captures an input device. Its id is the device's unique id.
class DeviceAudioChannel final : public CapturedAudioChannel {
 public:
  DeviceAudioChannel(AudioBackend& backend, std::string id, std::string name, AudioLog* log)
      : CapturedAudioChannel(backend, std::move(id), std::move(name), log) {}

 private:
  std::unique_ptr<AudioPort> makePort(AudioBackend& backend, AudioDeliver deliver) override {
    return backend.makeCapture(id, "Tavorin " + name, std::move(deliver));
  }
};

// A channel that hears what applications play: all of them but the excluded
// ones ("sysaudio"), or one ("appaudio:" + its id). Never Tavorin itself.
class SystemAudioChannel final : public CapturedAudioChannel {
 public:
  SystemAudioChannel(AudioBackend& backend, std::string id, std::string name, ApplicationAudioFilter filter,
                     AudioLog* log)
      : CapturedAudioChannel(backend, std::move(id), std::move(name), log), filter_(std::move(filter)) {}

  const ApplicationAudioFilter& filter() const { return filter_; }
  // Captures anew with the new filter when it differs.
  void setFilter(ApplicationAudioFilter filter);

 private:
  std::unique_ptr<AudioPort> makePort(AudioBackend& backend, AudioDeliver deliver) override {
    return backend.makeApplicationCapture(filter_, "Tavorin " + name, std::move(deliver));
  }

  ApplicationAudioFilter filter_;
};

}  // namespace tavorin

#include "audio/DeviceAudioChannel.h"

namespace tavorin {

DeviceAudioChannel::DeviceAudioChannel(AudioBackend& backend, std::string channelID, std::string channelName,
                                       bool machineOutput, AudioLog* log)
    : AudioTrackProcessor(std::move(channelID), std::move(channelName), log),
      backend_(backend),
      machineOutput_(machineOutput) {}

DeviceAudioChannel::~DeviceAudioChannel() { stop(); }

bool DeviceAudioChannel::open(std::string* error) {
  stop();
  auto port = backend_.makeCapture(id, machineOutput_, "Tavorin " + name,
                                   [this](const PcmFormat& format, const void* const* planes, std::uint32_t frames,
                                          double pts) { ingest(format, planes, frames, pts); });
  std::string reason;
  if (!port || !port->start(&reason)) {
    if (error) *error = reason.empty() ? "the device cannot be opened" : reason;
    return false;
  }
  port_ = std::move(port);
  return true;
}

void DeviceAudioChannel::stop() {
  if (!port_) return;
  port_->stop();
  port_.reset();
}

}  // namespace tavorin

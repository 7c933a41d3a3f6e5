#include "audio/DeviceAudioChannel.h"

namespace tavorin {

CapturedAudioChannel::~CapturedAudioChannel() { stop(); }

bool CapturedAudioChannel::open(std::string* error) {
  stop();
  auto port = makePort(backend_, [this](const PcmFormat& format, const void* const* planes, std::uint32_t frames,
                                        double pts) { ingest(format, planes, frames, pts); });
  std::string reason;
  if (!port || !port->start(&reason)) {
    if (error) *error = reason.empty() ? "the device cannot be opened" : reason;
    return false;
  }
  port_ = std::move(port);
  return true;
}

void CapturedAudioChannel::stop() {
  if (!port_) return;
  port_->stop();
  port_.reset();
}

void SystemAudioChannel::setFilter(ApplicationAudioFilter filter) {
  if (filter == filter_) return;
  filter_ = std::move(filter);
  if (capturing()) open(nullptr);
}

}  // namespace tavorin

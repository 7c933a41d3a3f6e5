#pragma once

#include <functional>
#include <memory>
#include <cstdint>
#include <string>

#include "base/PcmFormat.h"
#include "sources/BaseSource.h"

namespace tavorin {

class RTSPClient;

// A network camera over RTSP. Running means a client that connects and
// reconnects by itself: a camera that is down still counts as started, and a
// lost one keeps its last picture. Parking drops the client and its decoder.
class RTSPSource : public BaseSource {
 public:
  // `connectURL` carries the credentials; `log` may be called from the client's thread.
  RTSPSource(std::string id, std::string name, std::string connectURL, std::function<void(const std::string&)> log);
  ~RTSPSource() override;

  void start(StartDone done) override;
  void stop() override;
  void park() override { stop(); }
  void resume() override;

  // The camera's sound with the host time it plays with the pictures, on the
  // client's thread; set before the source starts. Unset: no sound is asked for.
  std::function<void(const PcmFormat& format, const void* const* planes, std::uint32_t frames, double pts)> onAudio;

 private:
  const std::string connectURL_;
  std::function<void(const std::string&)> log_;
  std::unique_ptr<RTSPClient> client_;
};

}  // namespace tavorin

#include "sources/RTSPSource.h"

#include "sources/rtsp/RTSPClient.h"

namespace tavorin {

RTSPSource::RTSPSource(std::string id, std::string name, std::string connectURL,
                       std::function<void(const std::string&)> log)
    : BaseSource(std::move(id), std::move(name), SourceKind::rtsp), connectURL_(std::move(connectURL)), log_(std::move(log)) {}

// Here, where the client's type is complete; it is the last member, so it goes first.
RTSPSource::~RTSPSource() = default;

void RTSPSource::start(StartDone done) {
  if (!client_) {
    client_ = std::make_unique<RTSPClient>(RTSPClient::Options{
        .url = connectURL_,
        .onFrame = [this](PixelBufferRef frame, const StreamVideoStamp&) { publish(std::move(frame)); },
        .onAudio = onAudio,
        .log = log_,
        .reconnectDelay = 4.0,
        .keepAliveInterval = 25.0});
    client_->start();
  }
  setRunning(true);
  if (done) done(std::nullopt);
}

void RTSPSource::stop() {
  // The client's destructor joins its threads: no picture comes after this.
  client_.reset();
  setRunning(false);
}

void RTSPSource::resume() {
  if (!client_) start({});
}

}  // namespace tavorin

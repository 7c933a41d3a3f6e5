#include "sources/StaticSource.h"

#include <utility>

#include "base/HostTime.h"

namespace tavorin {

StaticSource::StaticSource(std::string id, std::string displayName, PixelBufferRef picture)
    : BaseSource(std::move(id), std::move(displayName), SourceKind::still) {
  if (picture) picture->setHostTime(hostTimeNow());
  publish(std::move(picture));
}

void StaticSource::start(StartDone done) {
  setRunning(true);
  if (done) done(std::nullopt);
}

void StaticSource::stop() { setRunning(false); }

std::shared_ptr<StaticSource> makeBlackSource(std::string id, std::string displayName) {
  auto black = PixelBuffer::make(1920, 1080);
  if (!black) return nullptr;
  black->fill(0, 0, 0, 255);
  return std::make_shared<StaticSource>(std::move(id), std::move(displayName), std::move(black));
}

}  // namespace tavorin

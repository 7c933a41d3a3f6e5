#pragma once

#include <memory>
#include <string>

#include "base/PixelBuffer.h"
#include "sources/BaseSource.h"

namespace tavorin {

// A still picture: its one frame is published at construction, so it shows
// before it is started, and stays after it is stopped.
class StaticSource : public BaseSource {
 public:
  StaticSource(std::string id, std::string displayName, PixelBufferRef picture);

  void start(StartDone done) override;
  void stop() override;
  bool canPark() const override { return false; }
};

// The show's black: an opaque 1920 by 1080 still. Null when the buffer can't be had.
std::shared_ptr<StaticSource> makeBlackSource(std::string id = "still:black", std::string displayName = "Black");

}  // namespace tavorin

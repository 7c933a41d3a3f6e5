#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "core/model/Frame.h"
#include "core/model/Geometry.h"
#include "sources/BaseSource.h"

namespace tavorin {

// The frame clock's view of the show's sources: id to source, behind its own
// lock so the render thread can read while the main thread adds and removes.
// Changes copy the map and swap it in, so the clock's per-tick snapshot is
// one reference count and never an allocation.
class SourceMap {
 public:
  using Map = std::map<std::string, std::shared_ptr<BaseSource>>;

  // Main thread only: a change copies the map and swaps it in.
  void set(const std::string& id, std::shared_ptr<BaseSource> source);
  void remove(const std::string& id);
  // The whole map as it stands; the frame clock takes one per tick.
  std::shared_ptr<const Map> snapshot() const;
  std::shared_ptr<BaseSource> find(const std::string& id) const;
  // The newest frame of the source with that id; nothing without one.
  std::optional<Frame> latestFrame(const std::string& id) const;
  // Pixel size of that newest frame; (0, 0) when there is none.
  Size frameSize(const std::string& id) const;

 private:
  mutable std::mutex lock_;
  std::shared_ptr<const Map> sources_ = std::make_shared<const Map>();
};

}  // namespace tavorin

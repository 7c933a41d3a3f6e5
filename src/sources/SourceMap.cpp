#include "sources/SourceMap.h"

#include <utility>

#include "base/PixelBuffer.h"

namespace tavorin {

// The old map is released after the lock: its last reference may run a
// source's destructor, which can stop a capture thread.

void SourceMap::set(const std::string& id, std::shared_ptr<BaseSource> source) {
  auto next = std::make_shared<Map>(*snapshot());
  (*next)[id] = std::move(source);
  std::shared_ptr<const Map> previous;
  std::lock_guard guard(lock_);
  previous = std::exchange(sources_, std::move(next));
}

void SourceMap::remove(const std::string& id) {
  auto next = std::make_shared<Map>(*snapshot());
  if (next->erase(id) == 0) return;
  std::shared_ptr<const Map> previous;
  std::lock_guard guard(lock_);
  previous = std::exchange(sources_, std::move(next));
}

std::shared_ptr<const SourceMap::Map> SourceMap::snapshot() const {
  std::lock_guard guard(lock_);
  return sources_;
}

std::shared_ptr<BaseSource> SourceMap::find(const std::string& id) const {
  const auto map = snapshot();
  auto it = map->find(id);
  return it == map->end() ? nullptr : it->second;
}

std::optional<Frame> SourceMap::latestFrame(const std::string& id) const {
  // The source's own lock is taken after this one is released: the two never nest.
  auto source = find(id);
  if (!source) return std::nullopt;
  return source->latestFrame();
}

Size SourceMap::frameSize(const std::string& id) const {
  auto frame = latestFrame(id);
  if (!frame || !frame->pixelBuffer) return {};
  return Size{static_cast<double>(frame->pixelBuffer->width()), static_cast<double>(frame->pixelBuffer->height())};
}

}  // namespace tavorin

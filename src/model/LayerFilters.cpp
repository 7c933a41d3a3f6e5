#include "model/LayerFilters.h"

#include <algorithm>

#include "model/VideoFilterDefaults.h"

namespace tavorin {

Uuid addVideoFilter(LayerState& layer, VideoFilterKind kind) {
  VideoFilterConfig filter;
  filter.kind = kind;
  filter.enabled = true;
  filter.params = defaultVideoFilterParams(kind);
  auto& list = layer.videoFilters.edit();
  list.push_back(std::move(filter));
  return list.back().id;
}

void setVideoFilterEnabled(LayerState& layer, const Uuid& filterID, bool enabled) {
  for (auto& filter : layer.videoFilters.edit()) {
    if (filter.id == filterID) filter.enabled = enabled;
  }
}

void setVideoFilterParam(LayerState& layer, const Uuid& filterID, const std::string& key, double value) {
  for (auto& filter : layer.videoFilters.edit()) {
    if (filter.id == filterID) filter.params[key] = value;
  }
}

void removeVideoFilter(LayerState& layer, const Uuid& filterID) {
  std::erase_if(layer.videoFilters.edit(), [&](const VideoFilterConfig& f) { return f.id == filterID; });
}

bool moveVideoFilter(LayerState& layer, std::size_t from, std::size_t to) {
  const std::size_t size = layer.videoFilters->size();
  if (from >= size) return false;
  const std::size_t target = std::min(to, size - 1);
  if (from == target) return false;
  const auto first = layer.videoFilters.edit().begin();
  const auto at = [&](std::size_t i) { return first + static_cast<std::ptrdiff_t>(i); };
  if (from < target) {
    std::rotate(at(from), at(from + 1), at(target + 1));
  } else {
    std::rotate(at(target), at(from), at(from + 1));
  }
  return true;
}

}  // namespace tavorin

#include "compositor/MonitorOutputs.h"

#include <algorithm>
#include <utility>

namespace tavorin {

void MonitorOutputs::add(ID id, Canvas canvas, int width, int height) {
  std::lock_guard hold(requestsLock_);
  requests_[id] = Request{canvas, std::max(width, 1), std::max(height, 1)};
  version_.fetch_add(1, std::memory_order_release);
}

void MonitorOutputs::resize(ID id, int width, int height) {
  std::lock_guard hold(requestsLock_);
  auto it = requests_.find(id);
  if (it == requests_.end()) return;
  it->second.width = std::max(width, 1);
  it->second.height = std::max(height, 1);
  version_.fetch_add(1, std::memory_order_release);
}

void MonitorOutputs::remove(ID id) {
  {
    std::lock_guard hold(requestsLock_);
    if (requests_.erase(id) == 0) return;
    version_.fetch_add(1, std::memory_order_release);
  }
  MonitorPicture dropped;
  std::lock_guard hold(picturesLock_);
  if (auto it = pictures_.find(id); it != pictures_.end()) {
    dropped = std::move(it->second);
    pictures_.erase(it);
  }
}

MonitorPicture MonitorOutputs::picture(ID id) const {
  std::lock_guard hold(picturesLock_);
  auto it = pictures_.find(id);
  return it == pictures_.end() ? MonitorPicture{} : it->second;
}

void MonitorOutputs::publish(ID id, MonitorPicture picture) {
  std::lock_guard hold(picturesLock_);
  // A monitor removed meanwhile publishes nothing.
  auto it = pictures_.find(id);
  if (it != pictures_.end()) {
    std::swap(it->second, picture);
  } else if (live_.contains(id)) {
    pictures_.emplace(id, std::move(picture));
  }
}

void MonitorOutputs::sync() {
  std::erase_if(retired_, [](const std::unique_ptr<MonitorOutput>& output) { return output->released(); });
  const std::uint64_t version = version_.load(std::memory_order_acquire);
  if (version == seen_) return;
  seen_ = version;
  std::map<ID, Request> requests;
  {
    std::lock_guard hold(requestsLock_);
    requests = requests_;
  }
  for (auto it = live_.begin(); it != live_.end();) {
    auto wanted = requests.find(it->first);
    const bool same = wanted != requests.end() && wanted->second.canvas == it->second.request.canvas &&
                      wanted->second.width == it->second.request.width &&
                      wanted->second.height == it->second.request.height;
    if (same) {
      ++it;
      continue;
    }
    if (it->second.output) retired_.push_back(std::move(it->second.output));
    it = live_.erase(it);
  }
  for (const auto& [id, request] : requests) {
    if (live_.contains(id)) continue;
    live_.emplace(id, Live{request, std::make_unique<MonitorOutput>(request.width, request.height, shared_)});
  }
  std::lock_guard hold(picturesLock_);
  std::erase_if(pictures_, [&](const auto& item) { return !requests.contains(item.first); });
}

void MonitorOutputs::draw(Canvas canvas, MonitorRenderer& scaler, const RenderTarget* target, bool drawnAnew,
                          double hostTime) {
  for (auto& [id, live] : live_) {
    if (live.request.canvas != canvas) continue;
    std::optional<MonitorPicture> picture =
        target ? live.output->update(scaler, *target, drawnAnew, hostTime) : live.output->clear();
    if (picture) publish(id, std::move(*picture));
  }
}

}  // namespace tavorin

namespace tavorin {

std::pair<int, int> MonitorOutputs::largest(Canvas canvas) const {
  std::pair<int, int> size{0, 0};
  for (const auto& [id, live] : live_) {
    if (live.request.canvas == canvas && live.request.width > size.first) {
      size = {live.request.width, live.request.height};
    }
  }
  return size;
}

}  // namespace tavorin

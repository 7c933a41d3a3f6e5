#include "app/LayoutWriteBack.h"

#include <utility>

#include "stores/LayoutStore.h"
#include "switcher/SwitcherEngine.h"

namespace tavorin {

namespace {

constexpr double kQuietTime = 0.2;

std::vector<Uuid> layerStructure(const MixerScene& scene) {
  std::vector<Uuid> ids;
  ids.reserve(scene.layers.size());
  for (const auto& layer : scene.layers) ids.push_back(layer.id);
  return ids;
}

}  // namespace

LayoutWriteBack::LayoutWriteBack(MainQueue& queue, SwitcherEngine& switcher, LayoutStore& layouts, Design design)
    : switcher_(switcher), store_(layouts), design_(design), debounce_(queue, kQuietTime, [this] { storeWaitingEdit(); }) {
  subscription_ = switcher_.previewScene.subscribe([this](const MixerScene& scene) { previewChanged(scene); });
  switcher_.onLeavingLoadedLayout = [this](const Uuid& layoutID, const MixerScene& scene) { store(layoutID, scene); };
}

LayoutWriteBack::~LayoutWriteBack() { switcher_.onLeavingLoadedLayout = nullptr; }

void LayoutWriteBack::store(const Uuid& layoutID, const MixerScene& scene) {
  if (design_ == Design::vertical) {
    store_.setVertical(layoutID, scene);
  } else {
    store_.replace(layoutID, scene);
  }
}

void LayoutWriteBack::previewChanged(const MixerScene& scene) {
  const auto layoutID = switcher_.loadedLayoutID.get();
  if (!layoutID) return;
  auto structure = layerStructure(scene);
  if (structure != lastStructure_) {
    store(*layoutID, scene);
    lastStructure_ = std::move(structure);
  }
  waitingLayoutID_ = layoutID;
  debounce_.trigger();
}

void LayoutWriteBack::storeWaitingEdit() {
  const auto layoutID = std::exchange(waitingLayoutID_, std::nullopt);
  // Only while the same layout is still loaded: leaving it already stored the scene.
  if (layoutID && switcher_.loadedLayoutID.get() == layoutID) store(*layoutID, switcher_.previewScene.get());
}

}  // namespace tavorin

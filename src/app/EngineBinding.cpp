#include "app/EngineBinding.h"

#include <atomic>
#include <memory>

namespace tavorin {

Subscription bindToEngine(SwitcherEngine& switcher, CompositorEngine& engine) {
  const SwitcherSnapshotStore* store = &switcher.store();
  // The render thread reads studio mode from a word the main thread keeps current.
  auto studioMode = std::make_shared<std::atomic<bool>>(switcher.studioMode.get());
  Subscription subscription = switcher.studioMode.subscribe([studioMode](const bool& on) { studioMode->store(on); });
  auto previewIsLive = [studioMode] { return !studioMode->load(); };
  auto program = [store](double now) { return store->programPlan(now); };
  auto preview = [store](double now) { return store->previewPlan(now); };
  switch (switcher.role) {
    case SwitcherEngine::Role::main:
      engine.setPlanProvider(Canvas::program, program);
      engine.setPlanProvider(Canvas::preview, preview, previewIsLive);
      break;
    case SwitcherEngine::Role::vertical:
      engine.setPlanProvider(Canvas::vertical, program);
      engine.setPlanProvider(Canvas::verticalPreview, preview, previewIsLive);
      break;
    case SwitcherEngine::Role::studio:
      engine.setPlanProvider(Canvas::studio, [store](double now) { return store->studioPlan(now); });
      break;
  }
  return subscription;
}

std::pair<std::map<Uuid, MixerScene>, std::map<Uuid, MixerScene>> thumbnailScenes(
    const std::vector<MixerScene>& layouts) {
  std::map<Uuid, MixerScene> horizontal, vertical;
  for (const MixerScene& layout : layouts) {
    if (!layout.layers.empty()) {
      horizontal.emplace(layout.id, layout);
    } else if (auto view = layout.verticalScene()) {
      vertical.emplace(layout.id, std::move(*view));
    }
  }
  return {std::move(horizontal), std::move(vertical)};
}

}  // namespace tavorin

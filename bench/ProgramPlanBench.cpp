// Cost of building the Program plan on the render thread: a scene of N layers
// idle (the baseline) and during a crossfade and a match move between two such
// scenes, measured in one run so the ratios hold on a noisy machine. Then what
// each canvas does with the plan every tick: compare it with the last one and
// keep a copy. Layers carry source ids as long as a real show's, and every
// fourth has a filter and a mask.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "switcher/ActiveTransition.h"
#include "switcher/SwitcherSnapshotStore.h"

namespace tavorin {
namespace {

MixerScene sceneOf(int layers, double shift) {
  MixerScene scene;
  for (int i = 0; i < layers; ++i) {
    auto layer = LayerState::make("image:" + Uuid::make().toString());
    if (i % 4 == 0) {
      layer.videoFilters = {VideoFilterConfig{.kind = VideoFilterKind::gaussianBlur, .params = {{"radius", 4.0}}}};
      layer.maskMode = MaskMode::exclude;
      layer.maskPolygons = {{{0, 0}, {0.5, 0}, {0.5, 1}, {0, 1}}};
    }
    layer.center = {0.1 + 0.05 * i + shift, 0.5};
    layer.size = {0.3, 0.3};
    layer.zOrder = layers - i;
    scene.layers.push_back(layer);
  }
  return scene;
}

void runPlan(benchmark::State& state, std::optional<TransitionKind> kind) {
  const int layers = static_cast<int>(state.range(0));
  SwitcherSnapshotStore store;
  auto program = std::make_shared<const MixerScene>(sceneOf(layers, 0));
  store.publish(program, std::make_shared<const MixerScene>(sceneOf(layers, 0.2)));
  if (kind) {
    auto transition = std::make_shared<ActiveTransition>();
    transition->kind = *kind;
    transition->startTime = 0;
    transition->duration = 1e9;  // stays mid-way for the whole run
    transition->from = sceneOf(layers, 0);
    transition->to = sceneOf(layers, 0.2);
    store.setActive(transition);
  }
  double time = 1.0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(store.programPlan(time));
    time += 1.0 / 60;
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_ProgramPlanIdle(benchmark::State& state) { runPlan(state, std::nullopt); }
void BM_ProgramPlanCrossfade(benchmark::State& state) { runPlan(state, TransitionKind::crossfade); }
void BM_ProgramPlanMatchMove(benchmark::State& state) { runPlan(state, TransitionKind::matchMove); }

BENCHMARK(BM_ProgramPlanIdle)->Arg(4)->Arg(16)->Arg(64);
BENCHMARK(BM_ProgramPlanCrossfade)->Arg(4)->Arg(16)->Arg(64);
BENCHMARK(BM_ProgramPlanMatchMove)->Arg(4)->Arg(16)->Arg(64);

// Plans built one per tick from an unchanged scene, as the clock receives them:
// each is compared with the one before and copied in its place.
void BM_PlanCompareCopy(benchmark::State& state) {
  const int layers = static_cast<int>(state.range(0));
  SwitcherSnapshotStore store;
  store.publish(std::make_shared<const MixerScene>(sceneOf(layers, 0)), std::make_shared<const MixerScene>());
  std::vector<RenderPlan> plans;
  for (int i = 0; i < 64; ++i) plans.push_back(store.programPlan(1.0 + i / 60.0));
  RenderPlan last = plans.back();
  std::size_t next = 0;
  for (auto _ : state) {
    const RenderPlan& plan = plans[next++ % plans.size()];
    benchmark::DoNotOptimize(plan == last);
    last = plan;
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PlanCompareCopy)->Arg(4)->Arg(16)->Arg(64);

}  // namespace
}  // namespace tavorin

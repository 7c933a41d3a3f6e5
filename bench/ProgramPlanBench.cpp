// Cost of building the Program plan on the render thread: a scene of N layers
// idle (the baseline) and during a crossfade and a match move between two such
// scenes, measured in one run so the ratios hold on a noisy machine.
#include <benchmark/benchmark.h>

#include <memory>

#include "switcher/ActiveTransition.h"
#include "switcher/SwitcherSnapshotStore.h"

namespace tavorin {
namespace {

MixerScene sceneOf(int layers, double shift) {
  MixerScene scene;
  for (int i = 0; i < layers; ++i) {
    auto layer = LayerState::make("source:" + std::to_string(i));
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

}  // namespace
}  // namespace tavorin

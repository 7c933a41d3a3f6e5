#include "app/OnProgram.h"

#include <algorithm>

#include "app/AppModel.h"

namespace tavorin {

MixerScene sceneShowing(LayoutStore& layouts, const std::string& sourceID, const std::string& name) {
  for (const MixerScene& scene : layouts.layouts.get()) {
    const bool shows = std::any_of(scene.layers.begin(), scene.layers.end(),
                                   [&](const LayerState& layer) { return layer.sourceID == sourceID; });
    if (scene.name == name && shows) return scene;
  }
  MixerScene scene;
  LayerState layer = LayerState::make(sourceID);
  layer.center = {0.5, 0.5};
  layer.size = {1, 1};
  scene.layers = {layer};
  const Uuid id = layouts.add(scene, name);
  for (const MixerScene& added : layouts.layouts.get()) {
    if (added.id == id) return added;
  }
  return scene;
}

void takeOverProgram(AppModel& model, const std::string& sourceID, const std::string& what) {
  model.loadLayout(sceneShowing(model.layoutStore, sourceID, what));
  model.cut(model.switcher);
  if (model.audioMixer.programOutput.get()) return;
  if (auto output = model.defaultAudioOutput()) {
    model.audioMixer.setProgramOutput(output);
    model.appendLog(what + ": Program audio on " + output->name);
  } else {
    model.appendLog(what + ": no audio output for Program — its sound is not heard");
  }
}

}  // namespace tavorin

#include "app/SyncTestShow.h"

#include <algorithm>
#include <optional>
#include <string>

#include "app/AppModel.h"
#include "sources/SyncTestSource.h"

namespace tavorin {

namespace {

const std::string kName = "Sync test";

SavedSource storedOrNewEntry(SourcesStore& store) {
  for (const SavedSource& entry : store.saved.get()) {
    if (entry.kind == SavedSource::Kind::syncTest) return entry;
  }
  SavedSource entry;
  entry.id = "synctest:" + Uuid::make().toString();
  entry.kind = SavedSource::Kind::syncTest;
  entry.name = kName;
  store.upsert(entry);
  return entry;
}

// The scene named for the test that shows this source, made when there is none.
MixerScene sceneShowing(LayoutStore& layouts, const std::string& sourceID) {
  for (const MixerScene& scene : layouts.layouts.get()) {
    const bool shows = std::any_of(scene.layers.begin(), scene.layers.end(),
                                   [&](const LayerState& layer) { return layer.sourceID == sourceID; });
    if (scene.name == kName && shows) return scene;
  }
  MixerScene scene;
  LayerState layer = LayerState::make(sourceID);
  layer.center = {0.5, 0.5};
  layer.size = {1, 1};
  scene.layers = {layer};
  const Uuid id = layouts.add(scene, kName);
  for (const MixerScene& added : layouts.layouts.get()) {
    if (added.id == id) return added;
  }
  return scene;
}

}  // namespace

SyncTestShow::SyncTestShow(AppModel& model) {
  const SavedSource entry = storedOrNewEntry(model.sourcesStore);
  std::shared_ptr<BaseSource> source = model.sourceLifecycle.find(entry.id);
  if (!source) {
    source = model.sourceFactory.make(entry);
    if (source) model.addSource(source);
  }
  const auto* picture = dynamic_cast<const SyncTestSource*>(source.get());
  if (!picture) {
    model.appendLog("Sync test: the picture could not be made");
    return;
  }

  model.loadLayout(sceneShowing(model.layoutStore, entry.id));
  model.cut(model.switcher);

  auto channel = model.audioMixer.addSourceChannel(entry.id, kName, "metronome", false, entry.id);
  model.audioMixer.setAir(entry.id, true);
  beep_ = std::make_unique<ToneGenerator>(channel, syncBeep(0.5f), picture->epoch());
  if (!model.audioMixer.programOutput.get()) {
    if (auto output = model.defaultAudioOutput()) {
      model.audioMixer.setProgramOutput(output);
      model.appendLog("Sync test: Program audio on " + output->name);
    } else {
      model.appendLog("Sync test: no audio output for Program — the beep is not heard");
    }
  }
  model.appendLog("Sync test on Program: a white flash and a 1 kHz beep on every second");
}

}  // namespace tavorin

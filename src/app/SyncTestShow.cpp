#include "app/SyncTestShow.h"

#include <algorithm>
#include <optional>
#include <string>

#include "app/AppModel.h"
#include "app/OnProgram.h"
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

  auto channel = model.audioMixer.addSourceChannel(entry.id, kName, "metronome", false, entry.id);
  model.audioMixer.setAir(entry.id, true);
  beep_ = std::make_unique<ToneGenerator>(channel, syncBeep(0.5f), picture->epoch());
  takeOverProgram(model, entry.id, kName);
  model.appendLog("Sync test on Program: a white flash and a 1 kHz beep on every second");
}

}  // namespace tavorin

#include "ui/TransitionBuilderBridge.h"

#include <algorithm>
#include <cmath>

#include "app/AppModel.h"
#include "ui/MixerBridge.h"
#include "ui/QtText.h"

namespace tavorin {

namespace {


// The stage fields the builder edits, with the range each keeps to.
struct StageField {
  const char* key;
  double min, max;
  double Keyframe::*pose;  // null for the stage's own timing
  double BuilderStage::*timing;
};

constexpr StageField kFields[] = {
    {"hold", 0, 10, nullptr, &BuilderStage::hold},
    {"toNext", 0, 10, nullptr, &BuilderStage::toNext},
    {"scale", 0.01, 4, &Keyframe::scale, nullptr},
    {"posX", -1, 2, &Keyframe::posX, nullptr},
    {"posY", -1, 2, &Keyframe::posY, nullptr},
    {"rotationDeg", -720, 720, &Keyframe::rotationDeg, nullptr},
    {"yawDeg", -89, 89, &Keyframe::yawDeg, nullptr},
    {"pitchDeg", -89, 89, &Keyframe::pitchDeg, nullptr},
    {"opacity", 0, 1, &Keyframe::opacity, nullptr},
};

constexpr double kMaxSoundSeconds = 60;
// Up to twice as loud, as the mixer's faders go.
constexpr double kSoundTopDB = 6;

}  // namespace

TransitionBuilderBridge::TransitionBuilderBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  // An edit while scrubbing shows at once on the studio canvas.
  auto changedNow = [this](const auto&) {
    applyScrub();
    Q_EMIT changed();
  };
  subscriptions_.push_back(draft_.tracks.subscribe(changedNow));
  subscriptions_.push_back(draft_.name.subscribe(changedNow));
  subscriptions_.push_back(draft_.cutPoint.subscribe(changedNow));
  subscriptions_.push_back(draft_.editingID.subscribe(changedNow));
  subscriptions_.push_back(draft_.holdStageID.subscribe(changedNow));
  subscriptions_.push_back(draft_.sounds.subscribe([this](const auto&) { Q_EMIT changed(); }));
  subscriptions_.push_back(model.soundEffects.store.sounds.subscribe([this](const auto&) { Q_EMIT changed(); }));
  subscriptions_.push_back(model.transitionStore.transitions.subscribe([this](const auto&) { Q_EMIT savedChanged(); }));
  startNew();
}

QString TransitionBuilderBridge::name() const { return qText(draft_.name.get()); }
void TransitionBuilderBridge::setName(const QString& name) { draft_.name = name.trimmed().toStdString(); }
double TransitionBuilderBridge::cutPoint() const { return draft_.cutPoint.get(); }
void TransitionBuilderBridge::setCutPoint(double fraction) { draft_.cutPoint = std::clamp(fraction, 0.0, 1.0); }

QVariantList TransitionBuilderBridge::tracks() const {
  QVariantList list;
  for (const BuilderTrack& track : draft_.tracks.get()) {
    QVariantList stages;
    for (const BuilderStage& stage : track.stages) {
      QVariantMap map{{"id", qText(stage.id.toString())}};
      for (const StageField& f : kFields) map[f.key] = f.pose ? stage.k.*(f.pose) : stage.*(f.timing);
      map["holdsHere"] = draft_.holdTrackID.get() == track.id && draft_.holdStageID.get() == stage.id;
      stages.push_back(map);
    }
    list.push_back(QVariantMap{{"id", qText(track.id.toString())},
                               {"sourceID", qText(track.sourceID)},
                               {"sourceName", qText(model_.displayName(track.sourceID))},
                               {"stages", stages}});
  }
  return list;
}

QVariantList TransitionBuilderBridge::saved() const {
  QVariantList list;
  for (const CustomTransition& t : model_.transitionStore.transitions.get()) {
    list.push_back(QVariantMap{{"id", qText(t.id.toString())}, {"name", qText(t.name)}});
  }
  return list;
}

QVariantList TransitionBuilderBridge::sounds() const {
  QVariantList list;
  for (const TransitionSound& sound : draft_.sounds.get()) {
    const auto item = model_.soundEffects.store.find(sound.soundID);
    list.push_back(QVariantMap{{"id", qText(sound.id.toString())},
                               {"soundID", qText(sound.soundID.toString())},
                               {"soundName", item ? qText(item->name) : QString("Missing sound")},
                               {"delay", sound.delay},
                               {"gainDB", MixerBridge::toDB(sound.gain)},
                               {"fadeIn", sound.fadeIn},
                               {"fadeOut", sound.fadeOut}});
  }
  return list;
}

void TransitionBuilderBridge::startNew() {
  draft_.reset();
  draft_.name = "Transition";
}

bool TransitionBuilderBridge::open(const QString& id) {
  const auto parsed = Uuid::parse(id.toStdString());
  const auto custom = parsed ? model_.transitionStore.find(*parsed) : std::nullopt;
  if (!custom) return false;
  draft_.load(*custom);
  return true;
}

QString TransitionBuilderBridge::addTrack(const QString& sourceID) {
  if (sourceID.isEmpty()) return {};
  return qText(draft_.addTrack(sourceID.toStdString()).toString());
}

void TransitionBuilderBridge::removeTrack(const QString& trackID) {
  if (const auto id = Uuid::parse(trackID.toStdString())) draft_.removeTrack(*id);
}

void TransitionBuilderBridge::moveTrack(const QString& trackID, int by) {
  if (const auto id = Uuid::parse(trackID.toStdString())) draft_.moveTrack(*id, by);
}

template <class Fn>
void TransitionBuilderBridge::editTrack(const QString& trackID, Fn&& fn) {
  const auto id = Uuid::parse(trackID.toStdString());
  if (!id) return;
  draft_.tracks.modify([&](std::vector<BuilderTrack>& all) {
    for (BuilderTrack& track : all) {
      if (track.id == *id) fn(track);
    }
  });
}

void TransitionBuilderBridge::addStage(const QString& trackID) {
  editTrack(trackID, [](BuilderTrack& track) {
    BuilderStage next = track.stages.empty() ? BuilderStage{} : track.stages.back();
    next.id = Uuid::make();
    if (!track.stages.empty() && track.stages.back().toNext <= 0) track.stages.back().toNext = 0.3;
    next.toNext = 0;
    track.stages.push_back(next);
  });
}

void TransitionBuilderBridge::removeStage(const QString& trackID, const QString& stageID) {
  editTrack(trackID, [&](BuilderTrack& track) {
    if (track.stages.size() <= 1) return;
    std::erase_if(track.stages, [&](const BuilderStage& s) { return qText(s.id.toString()) == stageID; });
  });
}

void TransitionBuilderBridge::setStage(const QString& trackID, const QString& stageID, const QString& key,
                                       double value) {
  const StageField* field = nullptr;
  for (const StageField& f : kFields) {
    if (key == f.key) field = &f;
  }
  if (!field) return;
  const double clamped = std::clamp(value, field->min, field->max);
  editTrack(trackID, [&](BuilderTrack& track) {
    for (BuilderStage& stage : track.stages) {
      if (qText(stage.id.toString()) != stageID) continue;
      if (field->pose) {
        stage.k.*(field->pose) = clamped;
      } else {
        stage.*(field->timing) = clamped;
      }
    }
  });
}

void TransitionBuilderBridge::toggleHoldStage(const QString& trackID, const QString& stageID) {
  const auto track = Uuid::parse(trackID.toStdString());
  const auto stage = Uuid::parse(stageID.toStdString());
  if (!track || !stage) return;
  if (draft_.holdTrackID.get() == track && draft_.holdStageID.get() == stage) {
    draft_.holdTrackID = std::nullopt;
    draft_.holdStageID = std::nullopt;
    return;
  }
  for (const BuilderTrack& t : draft_.tracks.get()) {
    for (const BuilderStage& s : t.stages) {
      if (t.id != *track || s.id != *stage) continue;
      draft_.holdTrackID = *track;
      draft_.holdStageID = *stage;
    }
  }
}

QString TransitionBuilderBridge::addSound(const QString& soundID, double delay) {
  const auto id = Uuid::parse(soundID.toStdString());
  if (!id || !model_.soundEffects.store.find(*id)) return {};
  TransitionSound sound{.soundID = *id, .delay = std::clamp(delay, 0.0, kMaxSoundSeconds)};
  draft_.sounds.modify([&](std::vector<TransitionSound>& all) {
    all.push_back(sound);
    std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.delay < b.delay; });
  });
  return qText(sound.id.toString());
}

void TransitionBuilderBridge::removeSound(const QString& id) {
  draft_.sounds.modify([&](std::vector<TransitionSound>& all) {
    std::erase_if(all, [&](const TransitionSound& s) { return qText(s.id.toString()) == id; });
  });
}

void TransitionBuilderBridge::setSound(const QString& id, const QString& key, double value) {
  if (!std::isfinite(value)) return;
  draft_.sounds.modify([&](std::vector<TransitionSound>& all) {
    for (TransitionSound& sound : all) {
      if (qText(sound.id.toString()) != id) continue;
      if (key == "delay") sound.delay = std::clamp(value, 0.0, kMaxSoundSeconds);
      if (key == "gainDB") sound.gain = MixerBridge::fromDB(std::min(value, kSoundTopDB));
      if (key == "fadeIn") sound.fadeIn = std::clamp(value, 0.0, kMaxSoundSeconds);
      if (key == "fadeOut") sound.fadeOut = std::clamp(value, 0.0, kMaxSoundSeconds);
    }
    std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.delay < b.delay; });
  });
}

void TransitionBuilderBridge::scrub(double progress) {
  scrub_ = std::clamp(progress, 0.0, 1.0);
  applyScrub();
  Q_EMIT scrubChanged();
}

void TransitionBuilderBridge::endScrub() {
  if (!scrub_) return;
  scrub_.reset();
  model_.studioSwitcher.scrub(std::nullopt, 0);
  Q_EMIT scrubChanged();
}

void TransitionBuilderBridge::applyScrub() {
  if (!scrub_) return;
  model_.studioSwitcher.scrub(draft_.compile("Scrub", &model_.switcher), static_cast<float>(*scrub_));
}

void TransitionBuilderBridge::audition() {
  if (draft_.tracks->empty()) return;
  model_.studioSwitcher.playOverProgram(draft_.compile("Preview", &model_.switcher));
}

QString TransitionBuilderBridge::save() {
  if (draft_.tracks->empty()) return {};
  const std::string name = draft_.name->empty() ? std::string("Transition") : draft_.name.get();
  CustomTransition custom = draft_.compile(name, &model_.switcher);
  // Saving an opened transition replaces it; a new one keeps its id for the next save.
  if (draft_.editingID.get()) {
    custom.id = *draft_.editingID.get();
  } else {
    draft_.editingID = custom.id;
  }
  model_.transitionStore.upsert(custom);
  return qText(custom.id.toString());
}

}  // namespace tavorin

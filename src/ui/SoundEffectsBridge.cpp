#include "ui/SoundEffectsBridge.h"

#include <QUrl>

#include "app/AppModel.h"
#include "ui/QtText.h"

namespace tavorin {

namespace {

std::optional<Uuid> uuidOf(const QString& id) { return Uuid::parse(id.toStdString()); }

}  // namespace

SoundEffectsBridge::SoundEffectsBridge(AppModel& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
  SoundEffects& effects = model.soundEffects;
  reload(effects.store.sounds.get());
  subscriptions_.push_back(effects.store.sounds.subscribe([this](const auto& sounds) { reload(sounds); }));
  auto playingNow = [this](const auto&) { Q_EMIT playingChanged(); };
  subscriptions_.push_back(effects.nowPlayingID.subscribe(playingNow));
  subscriptions_.push_back(model.audioMixer.sfxPlaying.subscribe(playingNow));
}

SoundEffectsBridge::~SoundEffectsBridge() = default;

void SoundEffectsBridge::reload(const std::vector<SFXItem>& sounds) {
  const bool countChanges = sounds.size() != sounds_.size();
  beginResetModel();
  sounds_ = sounds;
  endResetModel();
  if (countChanges) Q_EMIT countChanged();
}

int SoundEffectsBridge::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(sounds_.size());
}

QVariant SoundEffectsBridge::data(const QModelIndex& index, int role) const {
  if (index.row() < 0 || index.row() >= rowCount()) return {};
  const SFXItem& item = sounds_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case soundIDRole: return qText(item.id.toString());
    case Qt::DisplayRole:
    case nameRole: return qText(item.name);
    case builtinRole: return item.builtin;
    case categoryRole: return qText(enumName(item.category));
  }
  return {};
}

QHash<int, QByteArray> SoundEffectsBridge::roleNames() const {
  return {{soundIDRole, "soundID"}, {nameRole, "name"}, {builtinRole, "builtin"}, {categoryRole, "category"}};
}

QString SoundEffectsBridge::playingID() const {
  const auto& id = model_.soundEffects.nowPlayingID.get();
  return id && playing() ? qText(id->toString()) : QString();
}

bool SoundEffectsBridge::playing() const { return model_.audioMixer.sfxPlaying.get(); }

void SoundEffectsBridge::play(const QString& id) {
  if (const auto uuid = uuidOf(id)) model_.soundEffects.play(*uuid);
}

void SoundEffectsBridge::stopAll() { model_.soundEffects.stopAll(); }

void SoundEffectsBridge::importFile(const QString& pathOrURL) {
  const QUrl url(pathOrURL);
  const std::filesystem::path source = (url.isLocalFile() ? url.toLocalFile() : pathOrURL).toStdString();
  if (source.empty()) return;
  ++importing_;
  Q_EMIT importingChanged();
  // A long recording copies for seconds; the window keeps running meanwhile.
  const std::filesystem::path dir = model_.soundEffects.store.dir();
  importQueue_.post([weak = std::weak_ptr(self_), &queue = model_.queue(), dir, source] {
    auto item = SFXStore::copyIn(dir, source);
    queue.post([weak, item, source] {
      const auto self = weak.lock();
      if (!self) return;
      SoundEffectsBridge& bridge = **self;
      if (item) {
        bridge.model_.soundEffects.store.addImported(*item);
      } else {
        bridge.model_.appendLog("Couldn't import the sound “" + source.filename().string() + "”.");
      }
      --bridge.importing_;
      Q_EMIT bridge.importingChanged();
    });
  });
}

void SoundEffectsBridge::rename(const QString& id, const QString& name) {
  const QString trimmed = name.trimmed();
  const auto uuid = uuidOf(id);
  if (uuid && !trimmed.isEmpty()) model_.soundEffects.rename(*uuid, trimmed.toStdString());
}

void SoundEffectsBridge::remove(const QString& id) {
  if (const auto uuid = uuidOf(id)) model_.soundEffects.remove(*uuid);
}

}  // namespace tavorin

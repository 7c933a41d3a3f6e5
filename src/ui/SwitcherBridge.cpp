#include "ui/SwitcherBridge.h"

#include <QVariantMap>
#include <cstring>

#include "app/AppModel.h"

namespace tavorin {

namespace {

constexpr const char* kCustomPrefix = "custom:";

QString builtInName(TransitionKind kind) {
  switch (kind) {
    case TransitionKind::cut: return "Cut";
    case TransitionKind::crossfade: return "Crossfade";
    case TransitionKind::slide: return "Slide";
    case TransitionKind::shrinkToCorner: return "Shrink to corner";
    case TransitionKind::matchMove: return "Match move";
  }
  return {};
}

}  // namespace

SwitcherBridge::SwitcherBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  SwitcherEngine& s = model.switcher;
  auto changed = [this](const auto&) { Q_EMIT stateChanged(); };
  subscriptions_.push_back(s.selectedTransition.subscribe(changed));
  subscriptions_.push_back(s.selectedCustomTransition.subscribe(changed));
  subscriptions_.push_back(s.transitionDuration.subscribe(changed));
  subscriptions_.push_back(s.studioMode.subscribe(changed));
  subscriptions_.push_back(s.isTransitioning.subscribe(changed));
  subscriptions_.push_back(s.brbActive.subscribe(changed));
  subscriptions_.push_back(model.pendingTakeTransition.subscribe(changed));
  subscriptions_.push_back(s.firedTransitionIDs.subscribe([this](const auto&) { Q_EMIT transitionChoicesChanged(); }));
  subscriptions_.push_back(model.transitionStore.transitions.subscribe([this](const auto&) {
    Q_EMIT transitionChoicesChanged();
    Q_EMIT stateChanged();
  }));
}

QVariantList SwitcherBridge::transitionChoices() const {
  QVariantList choices;
  for (const auto& [kind, key] : EnumNames<TransitionKind>::table) {
    choices.append(QVariantMap{{"key", QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()))},
                               {"name", builtInName(kind)}});
  }
  for (const CustomTransition& custom : model_.transitionStore.transitions.get()) {
    choices.append(QVariantMap{{"key", kCustomPrefix + QString::fromStdString(custom.id.toString())},
                               {"name", QString::fromStdString(custom.name)}});
  }
  return choices;
}

QString SwitcherBridge::transitionKey() const {
  const SwitcherEngine& s = model_.switcher;
  if (const auto& custom = s.selectedCustomTransition.get()) {
    return kCustomPrefix + QString::fromStdString(custom->id.toString());
  }
  const auto name = enumName(s.selectedTransition.get());
  return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

void SwitcherBridge::setTransitionKey(const QString& key) {
  SwitcherEngine& s = model_.switcher;
  if (key.startsWith(kCustomPrefix)) {
    const auto id = Uuid::parse(key.mid(static_cast<qsizetype>(std::strlen(kCustomPrefix))).toStdString());
    if (const auto custom = id ? model_.transitionStore.find(*id) : std::nullopt) s.setSelectedCustomTransition(*custom);
    return;
  }
  if (const auto kind = enumFromName<TransitionKind>(key.toStdString())) {
    s.setSelectedCustomTransition(std::nullopt);
    s.setSelectedTransition(*kind);
  }
}

int SwitcherBridge::transitionIndex() const {
  const QVariantList choices = transitionChoices();
  const QString key = transitionKey();
  for (qsizetype i = 0; i < choices.size(); ++i) {
    if (choices[i].toMap().value("key").toString() == key) return static_cast<int>(i);
  }
  return -1;
}

void SwitcherBridge::setTransitionIndex(int index) {
  const QVariantList choices = transitionChoices();
  if (index >= 0 && index < choices.size()) setTransitionKey(choices[index].toMap().value("key").toString());
}

double SwitcherBridge::duration() const { return model_.switcher.transitionDuration.get(); }
void SwitcherBridge::setDuration(double seconds) { model_.switcher.setTransitionDuration(seconds); }
bool SwitcherBridge::studioMode() const { return model_.switcher.studioMode.get(); }
void SwitcherBridge::setStudioMode(bool on) { model_.switcher.setStudioMode(on); }
bool SwitcherBridge::transitioning() const { return model_.switcher.isTransitioning.get(); }
bool SwitcherBridge::brbActive() const { return model_.switcher.brbActive.get(); }

QString SwitcherBridge::pendingTransitionName() const {
  const auto& pending = model_.pendingTakeTransition.get();
  if (!pending) return {};
  const auto custom = model_.transitionStore.find(*pending);
  return custom ? QString::fromStdString(custom->name) : QString();
}

QVariantList SwitcherBridge::customTransitions() const {
  QVariantList list;
  const auto& fired = model_.switcher.firedTransitionIDs.get();
  for (const CustomTransition& custom : model_.transitionStore.transitions.get()) {
    list.append(QVariantMap{{"id", QString::fromStdString(custom.id.toString())},
                            {"name", QString::fromStdString(custom.name)},
                            {"fired", fired.contains(custom.id)}});
  }
  return list;
}

void SwitcherBridge::take() { model_.take(model_.switcher); }
void SwitcherBridge::cut() { model_.cut(model_.switcher); }
void SwitcherBridge::punchBlack() { model_.punchBlack(); }
void SwitcherBridge::punchBRB() { model_.punchBRB(); }

void SwitcherBridge::fireTransition(const QString& id) {
  if (const auto parsed = Uuid::parse(id.toStdString())) model_.fireTransition(*parsed);
}

}  // namespace tavorin

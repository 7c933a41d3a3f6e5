#include "app/SessionKeeper.h"

#include "base/EnumNames.h"
#include "stores/SessionStore.h"
#include "switcher/SwitcherEngine.h"

namespace tavorin {

namespace {

constexpr double kQuietTime = 0.5;

}  // namespace

SessionKeeper::SessionKeeper(MainQueue& queue, SwitcherEngine& switcher, SessionStore& store)
    : switcher_(switcher), store_(store), saver_(queue, kQuietTime, [this] { store_.save(current()); }) {}

void SessionKeeper::start() {
  if (!subscriptions_.empty()) return;
  if (auto session = store_.load()) {
    switcher_.restoreSession(session->program, session->preview);
    switcher_.setSelectedTransition(
        enumFromName<TransitionKind>(session->transition).value_or(TransitionKind::crossfade));
    switcher_.setTransitionDuration(session->duration);
    switcher_.setLockAspectRatio(session->lockAspect);
  }
  auto changed = [this](const auto&) { saver_.trigger(); };
  subscriptions_.push_back(switcher_.programScene.subscribe(changed));
  subscriptions_.push_back(switcher_.previewScene.subscribe(changed));
  subscriptions_.push_back(switcher_.selectedTransition.subscribe(changed));
  subscriptions_.push_back(switcher_.transitionDuration.subscribe(changed));
  subscriptions_.push_back(switcher_.lockAspectRatio.subscribe(changed));
}

void SessionKeeper::saveNow() {
  saver_.cancel();
  store_.save(current());
}

SessionState SessionKeeper::current() const {
  SessionState state;
  state.program = switcher_.programScene.get();
  state.preview = switcher_.previewScene.get();
  state.transition = std::string(enumName(switcher_.selectedTransition.get()));
  state.duration = switcher_.transitionDuration.get();
  state.lockAspect = switcher_.lockAspectRatio.get();
  return state;
}

}  // namespace tavorin

#include "ui/ReplayBridge.h"

#include <algorithm>
#include <iterator>

#include "app/AppModel.h"

namespace tavorin {

ReplayBridge::ReplayBridge(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
  const ReplayController& replays = model.replays;
  auto changedNow = [this](const auto&) { Q_EMIT changed(); };
  subscriptions_.push_back(replays.enabled.subscribe(changedNow));
  subscriptions_.push_back(replays.duration.subscribe(changedNow));
  subscriptions_.push_back(replays.addsClip.subscribe(changedNow));
  subscriptions_.push_back(replays.saving.subscribe(changedNow));
  subscriptions_.push_back(replays.lastSaved.subscribe(changedNow));
  subscriptions_.push_back(model.fireGraphics.store.graphics.subscribe(changedNow));
  subscriptions_.push_back(model.sources.subscribe(changedNow));
}

bool ReplayBridge::enabled() const { return model_.replays.enabled.get(); }

QStringList ReplayBridge::lengths() const { return {"30 seconds", "60 seconds", "2 minutes", "5 minutes"}; }

int ReplayBridge::length() const {
  const auto& lengths = ReplayController::kLengths;
  const auto found = std::find(std::begin(lengths), std::end(lengths), model_.replays.duration.get());
  return found == std::end(lengths) ? -1 : static_cast<int>(found - std::begin(lengths));
}

bool ReplayBridge::addsClip() const { return model_.replays.addsClip.get(); }
bool ReplayBridge::saving() const { return model_.replays.saving.get(); }

bool ReplayBridge::canPlay() const { return model_.canPlayReplay(); }

QString ReplayBridge::lastReplay() const {
  const auto& file = model_.replays.lastSaved.get();
  return file ? QString::fromStdString(file->filename().string()) : QString();
}

void ReplayBridge::setEnabled(bool on) { model_.replays.setEnabled(on); }

void ReplayBridge::setLength(int index) {
  if (index >= 0 && index < static_cast<int>(std::size(ReplayController::kLengths))) {
    model_.replays.setDuration(ReplayController::kLengths[index]);
  }
}

void ReplayBridge::setAddsClip(bool on) { model_.replays.setAddsClip(on); }
void ReplayBridge::save() { model_.saveReplay(); }
void ReplayBridge::play() { model_.playReplay(); }

}  // namespace tavorin

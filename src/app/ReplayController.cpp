#include "app/ReplayController.h"

#include "stores/PreferenceKeys.h"
#include "stores/Preferences.h"
#include "stores/TimeStamp.h"

namespace tavorin {

namespace {

double storedDuration(const Preferences& preferences) {
  const double seconds = preferences.getDouble(prefkey::replayDuration).value_or(60);
  return seconds > 0 ? seconds : 60;
}

}  // namespace

ReplayController::ReplayController(MainQueue& queue, ReplayBuffer& buffer, Preferences& preferences, Wiring wiring)
    : queue_(queue),
      buffer_(buffer),
      preferences_(preferences),
      wiring_(std::move(wiring)),
      enabled_(preferences.boolOr(prefkey::replayEnabled, true)),
      duration_(storedDuration(preferences)),
      addsClip_(preferences.boolOr(prefkey::replayAddsClip, true)) {}

void ReplayController::setEnabled(bool on) {
  preferences_.setBool(prefkey::replayEnabled, on);
  enabled_ = on;
  apply();
}

void ReplayController::setDuration(double seconds) {
  if (!(seconds > 0)) return;
  preferences_.setDouble(prefkey::replayDuration, seconds);
  duration_ = seconds;
  apply();
}

void ReplayController::setAddsClip(bool on) {
  preferences_.setBool(prefkey::replayAddsClip, on);
  addsClip_ = on;
}

void ReplayController::start() {
  started_ = true;
  apply();
}

void ReplayController::apply() {
  // Before the frame clock runs nothing could fill it.
  if (!started_) return;
  const Size pixels = wiring_.canvasPixels();
  buffer_.apply(enabled_.get(), duration_.get(), static_cast<int>(pixels.width), static_cast<int>(pixels.height),
                wiring_.frameRate());
}

void ReplayController::save() {
  if (!enabled_.get()) {
    wiring_.log("Replay buffer is off — enable it in Settings → General.");
    return;
  }
  // Two saves within a second keep both.
  const auto folder = wiring_.replaysFolder();
  const std::string stem = "Replay " + fileTimeOfDay();
  auto file = folder / (stem + ".mov");
  std::error_code ignored;
  for (int n = 2; std::filesystem::exists(file, ignored); ++n) file = folder / (stem + " " + std::to_string(n) + ".mov");
  wiring_.log("Saving replay…");
  saving_ = true;
  std::weak_ptr<ReplayController*> weakSelf = self_;
  MainQueue& queue = queue_;
  buffer_.save(file, [weakSelf, &queue](std::optional<ReplayBuffer::Saved> saved) {
    queue.post([weakSelf, saved = std::move(saved)] {
      auto self = weakSelf.lock();
      if (!self) return;
      ReplayController& controller = **self;
      controller.saving_ = controller.buffer_.saving();
      if (!saved) {
        controller.wiring_.log("Replay save failed (buffer may still be filling).");
        return;
      }
      controller.lastSaved_ = saved->file;
      controller.wiring_.log("Replay saved: " + saved->file.filename().string());
      if (controller.wiring_.saved) controller.wiring_.saved(*saved);
    });
  });
}

}  // namespace tavorin

#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/MainQueue.h"
#include "base/Published.h"
#include "base/PublishedView.h"
#include "model/Geometry.h"
#include "outputs/ReplayBuffer.h"

namespace tavorin {

class Preferences;

// The operator's side of the replay buffer: its settings, kept in the
// preferences and applied to the buffer; the save command and what it says.
// Main thread only.
class ReplayController {
 public:
  struct Wiring {
    std::function<Size()> canvasPixels;
    std::function<int()> frameRate;
    // "Replays" in the show folder, made when missing.
    std::function<std::filesystem::path()> replaysFolder;
    std::function<void(std::string)> log;
    // A replay written, for the show to play it back.
    std::function<void(const ReplayBuffer::Saved& saved)> saved;
  };
  // The lengths the operator picks from, in seconds.
  static constexpr double kLengths[] = {30, 60, 120, 300};

  ReplayController(MainQueue& queue, ReplayBuffer& buffer, Preferences& preferences, Wiring wiring);
  ReplayController(const ReplayController&) = delete;
  ReplayController& operator=(const ReplayController&) = delete;

  PublishedView<bool> enabled{enabled_};
  PublishedView<double> duration{duration_};
  // Each saved replay becomes a clip of the show, ready to play on air.
  PublishedView<bool> addsClip{addsClip_};
  PublishedView<bool> saving{saving_};
  // The newest replay written this run.
  PublishedView<std::optional<std::filesystem::path>> lastSaved{lastSaved_};

  void setEnabled(bool on);
  void setDuration(double seconds);
  void setAddsClip(bool on);
  // From now on the buffer follows the settings, the canvas and the frame rate
  // (apply again when either changes).
  void start();
  void apply();
  // "Replay <time>.mov" in "Replays" of the last seconds of Program.
  void save();

 private:
  MainQueue& queue_;
  ReplayBuffer& buffer_;
  Preferences& preferences_;
  Wiring wiring_;
  bool started_ = false;
  Published<bool> enabled_;
  Published<double> duration_;
  Published<bool> addsClip_;
  Published<bool> saving_{false};
  Published<std::optional<std::filesystem::path>> lastSaved_;
  std::shared_ptr<ReplayController*> self_ = std::make_shared<ReplayController*>(this);
};

}  // namespace tavorin

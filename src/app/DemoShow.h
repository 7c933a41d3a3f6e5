#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "audio/ToneGenerator.h"
#include "base/MainQueue.h"
#include "base/Uuid.h"

namespace tavorin {

class AppModel;

// A show made only of what the system has: pictures it draws itself into the
// show's "Images" folder (colour bars, a logo, a lower-third plate) and
// "still:black", three scenes with layer motion, a custom transition (a plate
// that sweeps across and hides the cut), and a take every few seconds that
// cycles through the built-in transitions and the custom one, with a cue (the
// logo) fired over Program every other take. A tone channel
// gives it sound, on the machine's default output unless the show has chosen one.
class DemoShow {
 public:
  DemoShow(AppModel& model, double takeEvery);

 private:
  void addSources();
  void addScenes();
  void addTransition();
  void addCue();
  void addTone();
  void takeNext();

  AppModel& model_;
  std::vector<Uuid> scenes_;
  std::size_t nextScene_ = 1;
  std::size_t nextTransition_ = 0;
  TimerHandle timer_;
  std::unique_ptr<ToneGenerator> tone_;
};

}  // namespace tavorin

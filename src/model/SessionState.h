#pragma once

#include <string>

#include "model/MixerScene.h"

namespace tavorin {

// What is on the main switcher at quit, restored at the next start.
struct SessionState {
  MixerScene program;
  MixerScene preview;
  std::string transition;  // raw name of the selected TransitionKind
  double duration = 0.5;   // seconds
  bool lockAspect = true;
  friend bool operator==(const SessionState&, const SessionState&) = default;
};

}  // namespace tavorin

#pragma once

#include "base/Uuid.h"

namespace tavorin {

// A library sound played with a custom transition.
struct TransitionSound {
  Uuid id = Uuid::make();
  Uuid soundID;       // the sound in the effects library
  double delay = 0;   // seconds after the start
  double gain = 1.0;  // linear
  double fadeIn = 0;  // seconds
  double fadeOut = 0;

  friend bool operator==(const TransitionSound&, const TransitionSound&) = default;
};

}  // namespace tavorin

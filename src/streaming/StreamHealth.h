#pragma once

#include <map>

#include "base/Published.h"
#include "base/Uuid.h"

namespace tavorin {

// One live destination's figures over the last sampling period.
struct StreamHealth {
  int kbps = 0;
  int encoderFPS = 0;
  int droppedFrames = 0;

  bool operator==(const StreamHealth&) const = default;
};

// Live destinations only; the others are absent.
struct StreamHealthModel {
  Published<std::map<Uuid, StreamHealth>> health;
};

}  // namespace tavorin

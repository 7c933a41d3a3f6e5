#pragma once

#include "base/Published.h"

namespace tavorin {

// The figures of the status bar, refreshed by the stats tick. Each is set
// only when its value changes, so the views do not redraw for nothing.
struct StatusStats {
  Published<int> diskFreePercent{0};  // of the volume the recordings go to
  Published<int> fps{0};
  Published<int> recordingSeconds{-1};  // paused time left out; -1 when not recording
  Published<int> liveSeconds{-1};       // since the first stream went live; -1 when none is
  Published<int> liveStreamCount{0};
};

}  // namespace tavorin

#pragma once

#include <memory>

#include "audio/ToneGenerator.h"

namespace tavorin {

class AppModel;

// The sync test on Program, for lining up a chain and measuring its A/V sync:
// the sync-test picture full-canvas in a scene of its own, cut to Program, and
// its beep on a mixer channel on air, both on the picture's epoch. A show
// folder keeps one sync-test source; a later run finds it again.
class SyncTestShow {
 public:
  explicit SyncTestShow(AppModel& model);

 private:
  std::unique_ptr<ToneGenerator> beep_;
};

}  // namespace tavorin

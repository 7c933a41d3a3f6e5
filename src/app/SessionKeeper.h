#pragma once

#include <vector>

#include "base/Debouncer.h"
#include "base/MainQueue.h"
#include "base/Published.h"
#include "model/SessionState.h"

namespace tavorin {

class SessionStore;
class SwitcherEngine;

// Keeps the main switcher's session (Program, Preview, the transition and the
// aspect lock) in the show folder: put back at start, written 0.5 s after the
// last change, and once more on quit. Main thread only.
class SessionKeeper {
 public:
  SessionKeeper(MainQueue& queue, SwitcherEngine& switcher, SessionStore& store);
  SessionKeeper(const SessionKeeper&) = delete;
  SessionKeeper& operator=(const SessionKeeper&) = delete;

  // Puts the stored session back on the switcher, then follows its changes.
  void start();
  // The quit path: writes the session as it stands, at once.
  void saveNow();
  SessionState current() const;

 private:
  SwitcherEngine& switcher_;
  SessionStore& store_;
  Debouncer saver_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tavorin

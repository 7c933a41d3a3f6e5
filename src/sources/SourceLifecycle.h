#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/FrameSlotMap.h"
#include "base/HostTime.h"
#include "base/MainQueue.h"
#include "base/Published.h"
#include "sources/BaseSource.h"

namespace tavorin {

// Which sources run and when: starting them as they are added, waking those a
// scene uses, parking those nothing has used for a while, restarting on
// request or when a capture goes silent. Owned by AppModel; main thread only.
class SourceLifecycle {
 public:
  using SourceList = std::vector<std::shared_ptr<BaseSource>>;

  static constexpr double kIdleSweepInterval = 5.0;
  static constexpr double kStallCheckInterval = 10.0;
  // A source not seen live for longer than this is parked by the next sweep.
  static constexpr double kParkAfter = 6.0;
  static constexpr double kStallAfter = 30.0;
  // How long an operator's restart keeps the sweep away.
  static constexpr double kRestartGrace = 30.0;

  // `usedSourceIDs` names the sources that scenes, transitions and cues use
  // now; its owner calls scheduleReconcile() whenever that answer may change.
  SourceLifecycle(MainQueue& queue, FrameSlotMap& frameSlots, std::function<std::set<std::string>()> usedSourceIDs,
                  std::function<void(std::string)> log);
  ~SourceLifecycle();
  SourceLifecycle(const SourceLifecycle&) = delete;
  SourceLifecycle& operator=(const SourceLifecycle&) = delete;

  Published<SourceList> sources;  // every source of the show, in order of adding
  std::set<std::string> startingIDs;  // sources whose start() is in flight
  // Wall-clock time each source was last seen live, or a future time that shields it from the sweep.
  std::map<std::string, double> lastLiveAt;
  Published<std::set<std::string>> studioWakeIDs;  // kept awake for the Studio panel

  // The clock of lastLiveAt; it must be the one sources stamp lastFrameAt with.
  std::function<double()> wallClock = wallClockNow;

  // Follows studioWakeIDs, starts the idle sweep and the stall check.
  void start();

  // Appends, enters the source map, starts (a failure is logged) and
  // reconciles. False, doing nothing, when the id is already in the show.
  bool addSource(std::shared_ptr<BaseSource> source);
  // Stops the source and forgets it; layers naming it draw nothing.
  void removeSource(const std::string& id);
  std::shared_ptr<BaseSource> find(const std::string& id) const;

  void startSource(const std::shared_ptr<BaseSource>& source, bool reportFailure);
  void wakeSource(const std::shared_ptr<BaseSource>& source);
  void parkSource(BaseSource& source);
  // The operator's restart: shields the source from the sweep for kRestartGrace.
  void restartSource(const std::string& id);
  // For the operator's display: a known source that can park and is not in use.
  bool isParked(const std::string& id) const;

  std::set<std::string> liveSourceIDs() const;
  void reconcileLiveSources();
  // One reconcile on the main queue for any number of changes before it runs.
  void scheduleReconcile();
  void sweepIdleSources();
  void checkStalls();

  // The name messages use: the source's display name, or the id when no source has it.
  std::string displayName(const std::string& id) const;

 private:
  void finishStart(const std::weak_ptr<BaseSource>& weakSource, const std::string& id, bool reportFailure,
                   const std::optional<std::string>& error);

  MainQueue& queue_;
  FrameSlotMap& frameSlots_;
  std::function<std::set<std::string>()> usedSourceIDs_;
  std::function<void(std::string)> log_;
  std::vector<Subscription> subscriptions_;
  TimerHandle sweepTimer_;
  TimerHandle stallTimer_;
  bool reconcilePending_ = false;
  // Start completions and posted reconciles hold this weakly: once the
  // lifecycle is gone they do nothing.
  std::shared_ptr<SourceLifecycle*> self_ = std::make_shared<SourceLifecycle*>(this);
};

}  // namespace tavorin

#include "app/HeadlessRunner.h"

#include <csignal>
#include <cstdio>

#include "core/AppModel.h"
#include "core/stores/Preferences.h"
#include "core/stores/ShowFolder.h"
#include "platform/loop/GLibMainQueue.h"

namespace tavorin {

int runHeadless(const LaunchOptions& options) {
  GLibMainQueue queue;
  AppEnvironment environment{
      .showFolder = options.showDir ? *options.showDir : ShowFolder::defaultRoot(),
      .preferencesFile = options.showDir ? *options.showDir / "preferences.json" : Preferences::defaultPath(),
      .queue = queue,
  };

  AppModel model(environment);
  // Without a window the log is the operator's only view: echo it as it happens.
  model.onLogLine = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
  model.start();
  model.appendLog("Show folder: " + environment.showFolder.string());

  for (int signal : {SIGINT, SIGTERM, SIGHUP}) queue.onSignal(signal, [&queue] { queue.quit(); });
  TimerHandle stopTimer;
  if (options.seconds) stopTimer = queue.after(*options.seconds, [&queue] { queue.quit(); });

  queue.run();

  model.willTerminate();
  std::fprintf(stderr, "Wrote %s\n", model.sessionStore.path().c_str());
  return 0;
}

}  // namespace tavorin

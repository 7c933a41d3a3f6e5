#include "app/HeadlessRunner.h"

#include <cstdio>
#include <cstdlib>

#include "app/ShowRuntime.h"
#include "app/StatusLine.h"
#include "platform/loop/GLibMainQueue.h"

namespace tavorin {

namespace {

constexpr double kStatusEvery = 10.0;

}  // namespace

int runHeadless(const LaunchOptions& options) {
  GLibMainQueue queue;
  ShowRuntime runtime(options, queue, [&queue] { queue.quit(); });
  if (!runtime.model()) {
    std::fprintf(stderr, "%s\n", runtime.failure().c_str());
    return 1;
  }
  // Without a window the log is the operator's only view: echo it as it happens.
  runtime.start([](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); });

  // A person at a terminal sees that the show is healthy without reading the log.
  StatusLine status(*runtime.model());
  TimerHandle statusTimer;
  if (options.status) {
    statusTimer = queue.every(kStatusEvery, [&status] { std::fprintf(stderr, "%s\n", status.next().c_str()); });
  }

  queue.run();

  statusTimer.cancel();
  bool outputsClosed = true;
  const int exitStatus = runtime.finish(outputsClosed);
  if (!outputsClosed) {
    // A writer stuck on its disk or an encoder that never returns would hold
    // the process forever in its destructor: the show is saved, so it goes now.
    std::fflush(stderr);
    std::_Exit(exitStatus);
  }
  return exitStatus;
}

}  // namespace tavorin

#pragma once

#include "app/LaunchOptions.h"

namespace tavorin {

// Runs the show without a window until the requested seconds pass or SIGINT,
// SIGTERM or SIGHUP arrives, then takes the quit path. Returns the exit code.
int runHeadless(const LaunchOptions& options);

}  // namespace tavorin

#pragma once

#include "app/LaunchOptions.h"

namespace tavorin {

// Runs the show with the operator's window until the window closes or SIGINT,
// SIGTERM or SIGHUP arrives, then takes the quit path. Returns the exit code.
int runWindow(const LaunchOptions& options, int& argc, char** argv);

}  // namespace tavorin

#pragma once

#include <time.h>

namespace tavorin {

// CPU seconds the whole process has used, every thread counted.
inline double processCpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

}  // namespace tavorin

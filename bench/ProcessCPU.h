#pragma once

#include <sys/resource.h>

namespace tavorin {

// CPU seconds the whole process has used, every thread counted (the GL
// driver's and the encoders' included).
inline double processCPUSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  auto seconds = [](const timeval& tv) { return static_cast<double>(tv.tv_sec) + tv.tv_usec * 1e-6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace tavorin

#pragma once

#include <sys/resource.h>

#include <ctime>

namespace tavorin {

// CPU seconds the whole process has used, every thread counted (the GL
// driver's and the encoders' included).
inline double processCPUSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  auto seconds = [](const timeval& tv) { return static_cast<double>(tv.tv_sec) + tv.tv_usec * 1e-6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// CPU seconds the calling thread has used: a bench's own work, without the
// threads around it. A system call (about a microsecond): read it around runs
// of many steps, never around one.
inline double threadCPUSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// User CPU seconds of the whole process, as `ffmpeg -benchmark` counts its own ("utime").
inline double processUserSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec) + usage.ru_utime.tv_usec * 1e-6;
}

}  // namespace tavorin

#pragma once

#include <algorithm>
#include <ctime>
#include <vector>

// What the harnesses measure with: the process's CPU time and a median.
namespace tavorin::bench {

inline double cpuNow() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace tavorin::bench

#pragma once

#include <algorithm>
#include <vector>

#include "ProcessCPU.h"

namespace tavorin::bench {

// The middle of a harness's rounds: one noisy round moves it least.
inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace tavorin::bench

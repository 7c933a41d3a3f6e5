#include "base/PcmBuffer.h"

#include <algorithm>
#include <cmath>

namespace tavorin {

float meterLevel(const float* samples, std::uint32_t frames) {
  if (!samples || frames == 0) return 0;
  double sum = 0;
  for (std::uint32_t i = 0; i < frames; ++i) sum += static_cast<double>(samples[i]) * samples[i];
  const double rms = std::sqrt(sum / frames);
  return static_cast<float>(std::min(2 * rms, 1.0));
}

}  // namespace tavorin

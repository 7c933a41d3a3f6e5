#include "audio/dsp/NoiseReductionDSP.h"

#include <algorithm>

namespace tavorin {

void NoiseReductionDSP::prepare(double, int channels) {
  channels_ = channels;
  chans_.clear();
  for (int c = 0; c < std::max(channels, 1); ++c) {
    chans_.push_back(std::make_unique<SpectralChannel>(strength_, smoothing_));
  }
}

void NoiseReductionDSP::update(const FilterParams& params) {
  strength_ = static_cast<float>(paramOr(params, "strength", 0.7));
  smoothing_ = static_cast<float>(paramOr(params, "smoothing", 0.5));
  for (auto& chan : chans_) {
    chan->strength = strength_;
    chan->smoothing = smoothing_;
  }
}

void NoiseReductionDSP::process(float* const* planes, int channels, std::uint32_t frames) {
  if (!planes) return;
  const int n = std::min({channels_, channels, static_cast<int>(chans_.size())});
  for (int c = 0; c < n; ++c) chans_[static_cast<std::size_t>(c)]->process(planes[c], frames);
}

}  // namespace tavorin

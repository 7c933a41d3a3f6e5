#include "audio/dsp/FilterChain.h"

#include "audio/dsp/CompressorDSP.h"
#include "audio/dsp/EQDSP.h"
#include "audio/dsp/GateDSP.h"
#include "audio/dsp/LimiterDSP.h"
#include "audio/dsp/NoiseReductionDSP.h"

namespace tavorin {

std::unique_ptr<AudioDSP> makeDSP(AudioFilterKind kind) {
  switch (kind) {
    case AudioFilterKind::eq: return std::make_unique<EQDSP>();
    case AudioFilterKind::compressor: return std::make_unique<CompressorDSP>();
    case AudioFilterKind::limiter: return std::make_unique<LimiterDSP>();
    case AudioFilterKind::gate: return std::make_unique<GateDSP>();
    case AudioFilterKind::noiseReduction: return std::make_unique<NoiseReductionDSP>();
  }
  return std::make_unique<PassthroughDSP>();
}

void FilterChain::prepare(double sampleRate, int channels) {
  std::lock_guard guard(lock_);
  sampleRate_ = sampleRate;
  channels_ = channels;
  for (Entry& entry : entries_) entry.dsp->prepare(sampleRate, channels);
}

void FilterChain::apply(const std::vector<AudioFilterConfig>& configs) {
  // Every stage is prepared afresh anyway, so none is worth keeping: the new
  // list is built off the lock and the capture thread waits only for the swap.
  std::vector<Entry> next;
  next.reserve(configs.size());
  for (const AudioFilterConfig& config : configs) {
    std::unique_ptr<AudioDSP> dsp = makeDSP(config.kind);
    dsp->prepare(sampleRate_, channels_);
    dsp->update(effectiveParams(config));
    next.push_back({config.id, config.enabled, std::move(dsp)});
  }
  {
    std::lock_guard guard(lock_);
    entries_.swap(next);
  }
  // `next` now holds the old stages; they are freed here, off the lock.
}

void FilterChain::process(float* const* planes, int channels, std::uint32_t frames) {
  std::lock_guard guard(lock_);
  for (Entry& entry : entries_) {
    if (entry.enabled) entry.dsp->process(planes, channels, frames);
  }
}

}  // namespace tavorin

namespace tavorin {

std::map<Uuid, float> FilterChain::gainReductions() {
  std::map<Uuid, float> reductions;
  std::unique_lock guard(lock_, std::try_to_lock);
  if (!guard.owns_lock()) return reductions;
  for (const Entry& entry : entries_) {
    if (const float db = entry.enabled ? entry.dsp->gainReductionDB() : 0; db > 0) reductions[entry.id] = db;
  }
  return reductions;
}

}  // namespace tavorin

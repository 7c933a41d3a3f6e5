#include "audio/dsp/FilterChain.h"

#include <map>

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
  std::lock_guard guard(lock_);
  std::map<Uuid, std::unique_ptr<AudioDSP>> present;
  for (Entry& entry : entries_) present.emplace(entry.id, std::move(entry.dsp));

  std::vector<Entry> next;
  next.reserve(configs.size());
  for (const AudioFilterConfig& config : configs) {
    // Taken out of the map, so that an id listed twice gets a stage of its own.
    std::unique_ptr<AudioDSP> dsp;
    if (auto it = present.find(config.id); it != present.end()) dsp = std::move(it->second), present.erase(it);
    if (!dsp) dsp = makeDSP(config.kind);
    dsp->prepare(sampleRate_, channels_);
    dsp->update(effectiveParams(config));
    next.push_back({config.id, config.enabled, std::move(dsp)});
  }
  entries_ = std::move(next);
}

void FilterChain::process(float* const* planes, int channels, std::uint32_t frames) {
  std::lock_guard guard(lock_);
  for (Entry& entry : entries_) {
    if (entry.enabled) entry.dsp->process(planes, channels, frames);
  }
}

}  // namespace tavorin

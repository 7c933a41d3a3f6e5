#include "audio/dsp/EQDSP.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>

namespace tavorin {

namespace {

constexpr double kLowShelfHz = 110;
constexpr double kHighShelfHz = 8000;
// Gains closer to 0 dB than this leave their section out.
constexpr double kMinGainDb = 0.1;

// The active sections of one channel, coefficients rounded to float and
// memories in locals for the length of a block.
struct Cascade {
  std::array<float, 4> b0{}, b1{}, b2{}, a1{}, a2{}, z1{}, z2{};
  std::size_t count = 0;
};

// Sample by sample through every section in turn: consecutive samples in
// different sections do not depend on each other, so the processor overlaps them.
void runCascade(Cascade& k, float* samples, std::uint32_t frames) {
  for (std::uint32_t i = 0; i < frames; ++i) {
    float x = samples[i];
    for (std::size_t s = 0; s < k.count; ++s) {
      const float y = x * k.b0[s] + k.z1[s];
      k.z1[s] = x * k.b1[s] - y * k.a1[s] + k.z2[s];
      k.z2[s] = x * k.b2[s] - y * k.a2[s];
      x = y;
    }
    samples[i] = x;
  }
}

}  // namespace

void EQDSP::prepare(double sampleRate, int channels) {
  fs_ = sampleRate;
  channels_ = channels;
  for (BiquadSection* s : {&hp_, &low_, &mid_, &high_}) {
    s->z1.assign(static_cast<std::size_t>(std::max(channels, 0)), 0.0f);
    s->z2.assign(static_cast<std::size_t>(std::max(channels, 0)), 0.0f);
  }
}

void EQDSP::update(const FilterParams& params) {
  const auto omega = [this](double f) { return 2 * std::numbers::pi * f / fs_; };

  auto hpf = params.find("hpfHz");
  if (hpf == params.end() || hpf->second <= 22.0) {
    hp_.bypass = true;
  } else {
    const double w = omega(hpf->second);
    const double alpha = std::sin(w) / 1.414;
    const double a0 = 1 + alpha;
    hp_.b0 = (1 + std::cos(w)) / 2 / a0;
    hp_.b1 = -(1 + std::cos(w)) / a0;
    hp_.b2 = hp_.b0;
    hp_.a1 = -2 * std::cos(w) / a0;
    hp_.a2 = (1 - alpha) / a0;
    hp_.bypass = false;
  }

  // Shelves of the Audio EQ Cookbook with slope 1.
  const auto shelfAlpha = [](double w) { return std::sin(w) * 0.5 * 1.4142135623730951; };

  const double lowGain = paramOr(params, "lowGain", 0);
  if (std::abs(lowGain) < kMinGainDb) {
    low_.bypass = true;
  } else {
    const double a = std::pow(10.0, lowGain / 40), w = omega(kLowShelfHz), cw = std::cos(w);
    const double s = 2 * std::sqrt(a) * shelfAlpha(w);
    const double a0 = (a + 1) + (a - 1) * cw + s;
    low_.b0 = a * ((a + 1) - (a - 1) * cw + s) / a0;
    low_.b1 = 2 * a * ((a - 1) - (a + 1) * cw) / a0;
    low_.b2 = a * ((a + 1) - (a - 1) * cw - s) / a0;
    low_.a1 = -2 * ((a - 1) + (a + 1) * cw) / a0;
    low_.a2 = ((a + 1) + (a - 1) * cw - s) / a0;
    low_.bypass = false;
  }

  const double midGain = paramOr(params, "midGain", 0);
  if (std::abs(midGain) < kMinGainDb) {
    mid_.bypass = true;
  } else {
    const double a = std::pow(10.0, midGain / 40), w = omega(paramOr(params, "midHz", 1000));
    const double alpha = std::sin(w) / (2 * paramOr(params, "midQ", 1));
    const double a0 = 1 + alpha / a;
    mid_.b0 = (1 + alpha * a) / a0;
    mid_.b1 = -2 * std::cos(w) / a0;
    mid_.a1 = mid_.b1;
    mid_.b2 = (1 - alpha * a) / a0;
    mid_.a2 = (1 - alpha / a) / a0;
    mid_.bypass = false;
  }

  const double highGain = paramOr(params, "highGain", 0);
  if (std::abs(highGain) < kMinGainDb) {
    high_.bypass = true;
  } else {
    const double a = std::pow(10.0, highGain / 40), w = omega(kHighShelfHz), cw = std::cos(w);
    const double s = 2 * std::sqrt(a) * shelfAlpha(w);
    const double a0 = (a + 1) - (a - 1) * cw + s;
    high_.b0 = a * ((a + 1) + (a - 1) * cw + s) / a0;
    high_.b1 = -2 * a * ((a - 1) + (a + 1) * cw) / a0;
    high_.b2 = a * ((a + 1) + (a - 1) * cw - s) / a0;
    high_.a1 = 2 * ((a - 1) - (a + 1) * cw) / a0;
    high_.a2 = ((a + 1) - (a - 1) * cw - s) / a0;
    high_.bypass = false;
  }
}

void EQDSP::process(float* const* planes, int channels, std::uint32_t frames) {
  if (!planes) return;
  std::array<BiquadSection*, 4> active{};
  std::size_t count = 0;
  for (BiquadSection* s : {&hp_, &low_, &mid_, &high_}) {
    if (!s->bypass) active[count++] = s;
  }
  if (count == 0) return;
  const int n = std::min({channels_, channels, static_cast<int>(hp_.z1.size())});
  for (int c = 0; c < n; ++c) {
    Cascade k;
    k.count = count;
    for (std::size_t s = 0; s < count; ++s) {
      const BiquadSection& section = *active[s];
      k.b0[s] = static_cast<float>(section.b0);
      k.b1[s] = static_cast<float>(section.b1);
      k.b2[s] = static_cast<float>(section.b2);
      k.a1[s] = static_cast<float>(section.a1);
      k.a2[s] = static_cast<float>(section.a2);
      k.z1[s] = section.z1[c];
      k.z2[s] = section.z2[c];
    }
    runCascade(k, planes[c], frames);
    for (std::size_t s = 0; s < count; ++s) {
      active[s]->z1[c] = k.z1[s];
      active[s]->z2[c] = k.z2[s];
    }
  }
}

}  // namespace tavorin

namespace tavorin {

double EQDSP::responseDB(double hz) const {
  const double w = 2 * std::numbers::pi * hz / fs_;
  // |H(e^jw)| of each section: numerator and denominator evaluated on the unit circle.
  const std::complex<double> z1 = std::polar(1.0, -w), z2 = std::polar(1.0, -2 * w);
  double db = 0;
  for (const BiquadSection* s : {&hp_, &low_, &mid_, &high_}) {
    if (s->bypass) continue;
    const std::complex<double> h = (s->b0 + s->b1 * z1 + s->b2 * z2) / (1.0 + s->a1 * z1 + s->a2 * z2);
    db += 20 * std::log10(std::max(std::abs(h), 1e-9));
  }
  return db;
}

}  // namespace tavorin

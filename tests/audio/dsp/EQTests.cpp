#include <gtest/gtest.h>

#include <complex>

#include "audio/dsp/EQDSP.h"
#include "support/DspTestSignals.h"

namespace tavorin {
namespace {

using namespace testing;
using std::complex;

// The analogue prototypes of the Audio EQ Cookbook, evaluated at the
// bilinear-warped frequency: the design response of the digital sections,
// worked out without their coefficients.
enum class Shape { highPass, lowShelf, peak, highShelf };

double designDb(Shape shape, double f0, double gainDb, double q, double f) {
  const double a = std::pow(10.0, gainDb / 40);
  const complex<double> s(0, std::tan(std::numbers::pi * f / kRate) / std::tan(std::numbers::pi * f0 / kRate));
  complex<double> h;
  switch (shape) {
    case Shape::highPass: h = s * s / (s * s + s / q + 1.0); break;
    case Shape::peak: h = (s * s + s * (a / q) + 1.0) / (s * s + s / (a * q) + 1.0); break;
    case Shape::lowShelf:
      h = a * (s * s + std::sqrt(a) / q * s + a) / (a * s * s + std::sqrt(a) / q * s + 1.0);
      break;
    case Shape::highShelf:
      h = a * (a * s * s + std::sqrt(a) / q * s + 1.0) / (s * s + std::sqrt(a) / q * s + a);
      break;
  }
  return dB(std::abs(h));
}

// Steady-state gain of the EQ for a sine at `hz` (a multiple of 2 Hz, so that
// the last half second holds whole cycles), on both channels.
double measuredDb(const FilterParams& params, double hz) {
  FilterChain chain;
  prepareChain(chain, {stage(AudioFilterKind::eq, params)});
  const std::size_t total = 72000, tail = 24000;
  const std::vector<float> input = sine(hz, 0.25f, total);
  Planes planes{input, input};
  runBlocks(chain, planes, 480);
  EXPECT_EQ(planes[0], planes[1]);
  return dB(rms(planes[0], total - tail, total) / rms(input, total - tail, total));
}

struct Case {
  const char* name;
  FilterParams params;
  Shape shape;
  double f0, gainDb, q, hz;
};

TEST(EQTest, SineGainsMatchTheDesignResponse) {
  const double shelfQ = 1 / std::sqrt(2.0);
  const std::vector<Case> cases = {
      {"low shelf +9 dB at its 110 Hz corner", {{"lowGain", 9}}, Shape::lowShelf, 110, 9, shelfQ, 110},
      {"low shelf +9 dB at 40 Hz", {{"lowGain", 9}}, Shape::lowShelf, 110, 9, shelfQ, 40},
      {"low shelf -6 dB at 220 Hz", {{"lowGain", -6}}, Shape::lowShelf, 110, -6, shelfQ, 220},
      {"mid +9 dB at its 1 kHz centre", {{"midGain", 9}}, Shape::peak, 1000, 9, 1, 1000},
      {"mid +9 dB Q 1 at 2 kHz", {{"midGain", 9}}, Shape::peak, 1000, 9, 1, 2000},
      {"mid -12 dB Q 3 at its 300 Hz centre", {{"midGain", -12}, {"midHz", 300}, {"midQ", 3}},
       Shape::peak, 300, -12, 3, 300},
      {"high shelf +6 dB at its 8 kHz corner", {{"highGain", 6}}, Shape::highShelf, 8000, 6, shelfQ, 8000},
      {"high shelf +6 dB at 16 kHz", {{"highGain", 6}}, Shape::highShelf, 8000, 6, shelfQ, 16000},
      {"high-pass 100 Hz at its corner", {{"hpfHz", 100}}, Shape::highPass, 100, 0, shelfQ, 100},
      {"high-pass 100 Hz at 50 Hz", {{"hpfHz", 100}}, Shape::highPass, 100, 0, shelfQ, 50},
      {"high-pass 100 Hz at 400 Hz", {{"hpfHz", 100}}, Shape::highPass, 100, 0, shelfQ, 400},
  };
  for (const Case& c : cases) {
    const double expected = designDb(c.shape, c.f0, c.gainDb, c.q, c.hz);
    const double measured = measuredDb(c.params, c.hz);
    reportMeasured(std::string("EQ ") + c.name + " (design " + std::to_string(expected) + " dB)", measured, "dB");
    EXPECT_NEAR(measured, expected, 0.1) << c.name;
    // The curve the editor draws is the filter that runs.
    EQDSP eq;
    eq.prepare(kRate, 1);
    eq.update(c.params);
    EXPECT_NEAR(eq.responseDB(c.hz), measured, 0.1) << c.name;
  }

  // The sections run in series: their gains add up.
  const FilterParams all = {{"hpfHz", 100}, {"lowGain", 6}, {"midGain", -6}, {"midHz", 500}, {"highGain", 6}};
  const double expected =
      designDb(Shape::highPass, 100, 0, shelfQ, 300) + designDb(Shape::lowShelf, 110, 6, shelfQ, 300) +
      designDb(Shape::peak, 500, -6, 1, 300) + designDb(Shape::highShelf, 8000, 6, shelfQ, 300);
  EXPECT_NEAR(measuredDb(all, 300), expected, 0.1);
}

}  // namespace
}  // namespace tavorin

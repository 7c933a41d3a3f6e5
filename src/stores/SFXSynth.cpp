#include "stores/SFXSynth.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <system_error>

namespace tavorin {

namespace {

using Samples = std::vector<float>;

constexpr double kRate = SFXSynth::kSampleRate;
constexpr double kTwoPi = 2 * std::numbers::pi;

std::size_t samplesOf(double seconds) { return static_cast<std::size_t>(seconds * kRate); }
double secondsOf(std::size_t sample) { return static_cast<double>(sample) / kRate; }

double envelope(double t, double attack, double length, double release) {
  return std::max(0.0, std::min({1.0, t / attack, (length - t) / release}));
}

// Elements add into the buffer and stop at its end.
void add(Samples& buffer, std::size_t index, double value) {
  if (index < buffer.size()) buffer[index] += static_cast<float>(value);
}

// A decaying tone whose sine goes through `wave`, with a 5 ms attack and a 20 ms release.
template <class Wave>
void shapedTone(Samples& buffer, double start, double frequency, double length, double gain, double decay, Wave wave) {
  const std::size_t first = samplesOf(start);
  const std::size_t count = samplesOf(length);
  for (std::size_t i = 0; i < count; ++i) {
    const double t = secondsOf(i);
    add(buffer, first + i,
        wave(std::sin(kTwoPi * frequency * t)) * gain * envelope(t, 0.005, length, 0.02) * std::exp(-decay * t));
  }
}

void tone(Samples& buffer, double start, double frequency, double length, double gain, double decay) {
  shapedTone(buffer, start, frequency, length, gain, decay, [](double s) { return s; });
}

void square(Samples& buffer, double start, double frequency, double length, double gain, double decay) {
  shapedTone(buffer, start, frequency, length, gain, decay, [](double s) { return s >= 0 ? 1.0 : -1.0; });
}

// A glide from `from` to `to` Hz over `count` samples; `level(i, t)` is its gain times its window.
template <class Level>
void sweep(Samples& buffer, std::size_t first, double from, double to, std::size_t count, Level level) {
  double phase = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double f = from + (to - from) * static_cast<double>(i) / static_cast<double>(count);
    phase += kTwoPi * f / kRate;
    add(buffer, first + i, std::sin(phase) * level(static_cast<double>(i), secondsOf(i)));
  }
}

// A 64-bit linear congruential generator: its own arithmetic, so the noise,
// and with it every generated file, is the same on every machine.
class Noise {
 public:
  explicit Noise(std::uint64_t seed) : state_(seed) {}
  // A value in -1 to 1 from the state's top 24 bits.
  double next() {
    state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<double>(state_ >> 40) / 8388608.0 - 1.0;
  }

 private:
  std::uint64_t state_;
};

void burst(Samples& buffer, std::size_t first, std::size_t count, Noise& noise, double gain, double decay) {
  for (std::size_t i = 0; i < count; ++i) add(buffer, first + i, noise.next() * gain * std::exp(-decay * secondsOf(i)));
}

// Clapping: one draw modulates the next, swelling in over 0.3 s and out over the last 0.5 s.
void crowd(Samples& buffer, std::size_t count, Noise& noise, double level, double length) {
  for (std::size_t i = 0; i < count; ++i) {
    const double t = secondsOf(i);
    const double a = noise.next();
    const double b = noise.next();
    const double window = std::max(0.0, std::min({1.0, t / 0.3, 2 * (length - t)}));
    add(buffer, i, (a * 0.5 + 0.5) * b * level * window);
  }
}

// Strokes that close up from 60 ms apart to a 20 ms roll over 1.2 s.
void drumStrokes(Samples& buffer, Noise& noise) {
  double interval = 0.06;
  for (double position = 0; position < 1.2; position += interval, interval = std::max(interval * 0.93, 0.02)) {
    burst(buffer, samplesOf(position), 1920, noise, 0.5, 60);
  }
}

std::vector<SFXSynth::Preset> makePresets() {
  return {
      {"Ding",
       [] {
         Samples b(28800);
         tone(b, 0, 880, 0.6, 0.9, 6);
         return b;
       }},
      {"Chime",
       [] {
         Samples b(72000);
         for (double f : {523.25, 659.25, 783.99}) tone(b, 0, f, 1.4, 0.5, 3);
         return b;
       }},
      {"Beep",
       [] {
         Samples b(8640);
         tone(b, 0, 1000, 0.15, 0.8, 1);
         return b;
       }},
      {"Double Beep",
       [] {
         Samples b(14400);
         tone(b, 0, 1000, 0.09, 0.8, 1);
         tone(b, 0.15, 1000, 0.09, 0.8, 1);
         return b;
       }},
      {"Pop",
       [] {
         Samples b(5760);
         sweep(b, 0, 600, 180, 3840, [](double, double t) { return 0.9 * envelope(t, 0.01, 0.08, 0.05); });
         return b;
       }},
      {"Click",
       [] {
         Samples b(1440);
         Noise noise(11);
         burst(b, 0, 720, noise, 0.8, 200);
         return b;
       }},
      {"Whoosh",
       [] {
         Samples b(28800);
         Noise noise(22);
         burst(b, 0, 24000, noise, 0.6, 2);
         for (std::size_t i = 0; i < b.size(); ++i) {
           b[i] = static_cast<float>(b[i] * std::sin(std::numbers::pi * static_cast<double>(i) / 28800));
         }
         return b;
       }},
      {"Riser",
       [] {
         Samples b(81600);
         sweep(b, 0, 150, 1800, 76800,
               [](double i, double t) { return 0.7 * (i / 76800) * envelope(t, 0.01, 1.6, 0.05); });
         return b;
       }},
      {"Drum Roll",
       [] {
         Samples b(76800);
         Noise noise(33);
         drumStrokes(b, noise);
         tone(b, 1.2, 180, 0.35, 0.8, 7);
         return b;
       }},
      {"Buzzer",
       [] {
         Samples b(24000);
         square(b, 0, 180, 0.5, 0.45, 0.5);
         return b;
       }},
      {"Success",
       [] {
         Samples b(33600);
         const double notes[][2] = {{0, 523.25}, {0.11, 659.25}, {0.22, 783.99}, {0.33, 1046.5}};
         for (const auto& [start, f] : notes) tone(b, start, f, 0.3, 0.6, 5);
         return b;
       }},
      {"Error",
       [] {
         Samples b(24000);
         square(b, 0, 400, 0.18, 0.5, 2);
         square(b, 0.2, 300, 0.22, 0.5, 2);
         return b;
       }},
      {"Applause",
       [] {
         Samples b(105600);
         Noise noise(44);
         crowd(b, 100800, noise, 0.7, 2.1);
         return b;
       }},
      {"Cheer",
       [] {
         Samples b(124800);
         Noise noise(55);
         crowd(b, 120000, noise, 0.6, 2.5);
         sweep(b, samplesOf(0.2), 200, 500, 67200,
               [](double i, double t) { return 0.2 * (i / 67200) * envelope(t, 0.01, 1.4, 0.05); });
         return b;
       }},
      {"Drum Hit",
       [] {
         Samples b(21600);
         tone(b, 0, 110, 0.4, 0.9, 8);
         Noise noise(66);
         burst(b, 0, 1440, noise, 0.5, 120);
         return b;
       }},
  };
}

// Quantised here rather than by libsndfile, whose float scaling depends on its
// normalisation setting: ×32767, rounded to nearest, clipped, so the bytes of
// a built-in file are fixed by the recipe alone.
std::vector<short> quantised(const Samples& samples) {
  std::vector<short> pcm(samples.size());
  std::transform(samples.begin(), samples.end(), pcm.begin(), [](float s) {
    return static_cast<short>(std::clamp(std::lround(static_cast<double>(s) * 32767.0), -32768L, 32767L));
  });
  return pcm;
}

std::string writeWav(const Samples& samples, const std::filesystem::path& path) {
  SF_INFO info{};
  info.samplerate = SFXSynth::kSampleRate;
  info.channels = 1;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (!file) return sf_strerror(nullptr);
  const std::vector<short> pcm = quantised(samples);
  const auto frames = static_cast<sf_count_t>(pcm.size());
  std::string error;
  if (sf_writef_short(file, pcm.data(), frames) != frames) error = sf_strerror(file);
  if (sf_close(file) != 0 && error.empty()) error = "can't close the file";
  return error;
}

}  // namespace

const std::vector<SFXSynth::Preset>& SFXSynth::presets() {
  static const std::vector<Preset> list = makePresets();
  return list;
}

std::vector<float> SFXSynth::normalize(std::vector<float> samples, float peak) {
  float largest = 0;
  for (float s : samples) largest = std::max(largest, std::abs(s));
  if (largest <= 0.0001f) return samples;
  const float gain = peak / largest;
  for (float& s : samples) s *= gain;
  return samples;
}

bool SFXSynth::renderPreset(const std::string& name, const std::function<std::vector<float>()>& make,
                            const std::filesystem::path& path, std::string* error) {
  // Written beside and renamed into place, so a render cut short never
  // leaves a file that would pass for a finished one at the next start.
  std::filesystem::path partial = path;
  partial += ".partial";
  std::string reason = writeWav(normalize(make(), kPeak), partial);
  if (reason.empty()) {
    std::error_code ec;
    std::filesystem::rename(partial, path, ec);
    if (!ec) return true;
    reason = ec.message();
  }
  std::error_code ignored;
  std::filesystem::remove(partial, ignored);
  if (error) *error = "SFXSynth write failed for " + name + ": " + reason;
  return false;
}

}  // namespace tavorin

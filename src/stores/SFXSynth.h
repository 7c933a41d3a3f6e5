#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tavorin {

// The library's built-in sounds, generated from small recipes instead of
// shipped: 48 kHz mono samples made of tones, sweeps and seeded noise, so the
// same file comes out on every machine.
struct SFXSynth {
  SFXSynth() = delete;

  static constexpr int kSampleRate = 48000;
  // Every built-in sound is scaled to this peak before it is written.
  static constexpr float kPeak = 0.85f;

  struct Preset {
    std::string name;
    std::function<std::vector<float>()> make;
  };

  // The fifteen built-in sounds, in the library's order.
  static const std::vector<Preset>& presets();

  // Scales `samples` so the largest magnitude is `peak`; silence (nothing
  // above 0.0001) comes back unchanged.
  static std::vector<float> normalize(std::vector<float> samples, float peak);

  // Makes the samples, normalises them to kPeak and writes a 16-bit mono
  // 48 kHz WAV at `path`, replacing any file there. False with the reason in
  // `error` when the file cannot be written.
  static bool renderPreset(const std::string& name, const std::function<std::vector<float>()>& make,
                           const std::filesystem::path& path, std::string* error);
};

}  // namespace tavorin

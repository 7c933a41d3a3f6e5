#pragma once

#include <cmath>
#include <mutex>
#include <vector>

#include <ebur128.h>

namespace tavorin {

// EBU R128 figures of a mix. Loudness in LUFS, range in LU, true peak in
// dBTP; minus infinity until there is enough sound to say (the momentary
// figure needs 0.4 s, the short-term 3 s, the integrated one sound above the
// gates).
struct LoudnessReading {
  double momentary = -INFINITY;
  double shortTerm = -INFINITY;
  double integrated = -INFINITY;
  double range = 0;
  double truePeak = -INFINITY;
  friend bool operator==(const LoudnessReading&, const LoudnessReading&) = default;
};

// Measures a mix with libebur128 (K-weighting, gating, 4× oversampled true
// peak). Fed from a tap's thread, never the real-time one; read and reset
// from any thread, under one short lock.
class LoudnessMeter {
 public:
  LoudnessMeter(int channels, int sampleRate);
  ~LoudnessMeter();
  LoudnessMeter(const LoudnessMeter&) = delete;
  LoudnessMeter& operator=(const LoudnessMeter&) = delete;

  // Planar samples, one pointer per channel. A new rate starts the measurement afresh.
  void add(const float* const* planes, std::size_t frames, int sampleRate);
  LoudnessReading reading() const;
  // Forgets everything measured: the integrated figure and the range start again.
  void reset();

 private:
  void open(int sampleRate);

  const int channels_;
  int sampleRate_;
  mutable std::mutex lock_;
  ebur128_state* state_ = nullptr;
  std::vector<float> interleaved_;
};

}  // namespace tavorin

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace tavorin {

enum class VideoCodecKind { h264, hevc, proRes422 };
enum class VideoProfile { baseline, main, high };
enum class RateControl { average, constant, variable };
// How a picture of another shape fills the encode size: stretched, fitted on
// black, or cropped evenly from both sides to the encode shape.
enum class FrameFit { stretch, letterbox, trim };

// What one video encoder is asked to do. Two outputs whose encodings are equal
// can share one encoder and its packets.
struct VideoEncoding {
  VideoCodecKind codec = VideoCodecKind::h264;
  VideoProfile profile = VideoProfile::high;
  // Level times ten (31 is 3.1); nothing lets the encoder choose.
  std::optional<int> level;
  RateControl rateControl = RateControl::average;
  std::int64_t bitRate = 2'500'000;
  // A cap on the rate over a window (the VBV): bits per second and buffer bits.
  std::optional<std::int64_t> maxBitRate;
  std::optional<std::int64_t> bufferBits;
  double keyFrameIntervalSeconds = 2;
  int bFrames = 0;
  bool cabac = true;
  int width = 1280;
  int height = 720;
  double frameRate = 30;
  FrameFit fit = FrameFit::trim;
  bool preferHardware = true;
  // Sends every frame as it comes, at some cost in quality.
  bool lowLatency = false;

  bool operator==(const VideoEncoding&) const = default;
};

// What one AAC-LC encoder is asked to do.
struct AudioEncoding {
  std::int64_t bitRate = 128'000;
  // 0 takes the input's rate.
  int sampleRate = 0;
  // Mixes down to stereo when the input has more channels.
  bool downmix = true;
  // Output channel i takes input channel channelMap[i]; -1 is silence.
  std::optional<std::vector<int>> channelMap;
  bool operator==(const AudioEncoding&) const = default;
};

}  // namespace tavorin

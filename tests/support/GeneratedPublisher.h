#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "base/AudioBlock.h"
#include "base/PixelBuffer.h"
#include "streaming/codec/AudioCodecSettings.h"
#include "streaming/codec/VideoCodecSettings.h"

namespace tavorin::testing {

struct PublishRequest {
  std::string serverURL;  // "rtmp://host:port/app"
  std::string key;
  double seconds = 10;
  int width = 640;
  int height = 360;
  int frameRate = 30;
  std::int64_t videoBitRate = 1'000'000;
  std::optional<std::filesystem::path> trustedCertificates;
};

struct PublishReport {
  std::string error;      // empty when the stream went out and closed
  double cpuSeconds = 0;  // the process's CPU time while publishing
};

// The encoder settings a generated publish uses.
VideoCodecSettings generatedVideoSettings(const PublishRequest& request);
AudioCodecSettings generatedAudioSettings();

// Hands `seconds` of the moving picture and the tone to the sinks in real
// time, both stamped with host time; the frames handed over.
int feedGenerated(const PublishRequest& request, const std::function<void(PixelBufferRef, double)>& video,
                  const std::function<void(const float*, int, double)>& audio);

// The tone on both sides of a block stamped with `time`, as the mixer's tap hands it on.
AudioBlockRef toneBlock(const float* tone, int frames, double time);

// Publishes `seconds` of a moving test picture and a 1 kHz tone through
// RTMPConnection and RTMPStream, in real time, then closes.
PublishReport publishGenerated(const PublishRequest& request);

}  // namespace tavorin::testing

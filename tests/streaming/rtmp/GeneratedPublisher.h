#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

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
  std::string error;  // empty when the stream went out and closed
  int frames = 0;     // video frames handed to the stream
  double cpuSeconds = 0;  // the process's CPU time while publishing
};

// Publishes `seconds` of a moving test picture and a 1 kHz tone through
// RTMPConnection and RTMPStream, in real time, then closes.
PublishReport publishGenerated(const PublishRequest& request);

}  // namespace tavorin::testing

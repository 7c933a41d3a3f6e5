// CPU per second of stream through the encode+publish path, against the
// same frames through the same encoders with nothing published, in one run.
//
//   StreamPublishHarness [SECONDS]
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "streaming/codec/AudioCodec.h"
#include "streaming/codec/VideoCodec.h"
#include "streaming/rtmp/GeneratedPublisher.h"
#include "support/NginxRtmp.h"

using namespace tavorin;

namespace {

double cpuNow() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + now.tv_nsec * 1e-9;
}

// The encoders alone, fed and timed as the publisher feeds and times them.
double encodeOnly(const testing::PublishRequest& request, std::size_t& bytes) {
  VideoCodec video;
  AudioCodec audio;
  video.setSettings(testing::generatedVideoSettings(request));
  audio.setSettings(testing::generatedAudioSettings());
  video.setOutputHandler([&bytes](const EncodedVideoSample& sample) { bytes += sample.data.size(); });
  audio.setOutputHandler([&bytes](const EncodedAudioSample& sample) { bytes += sample.data.size(); });
  video.startRunning();
  audio.startRunning();
  const double start = cpuNow();
  testing::feedGenerated(
      request, [&](PixelBufferRef frame, double t) { video.append(std::move(frame), t); },
      [&](const float* tone, int frames, double t) { audio.append(tone, tone, frames, t); });
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  const double used = cpuNow() - start;
  video.stopRunning();
  audio.stopRunning();
  return used;
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 10;
  testing::NginxRtmp nginx;
  std::printf("%-10s %12s %14s %8s\n", "size", "encode CPU/s", "publish CPU/s", "ratio");
  struct Size {
    int width, height;
    std::int64_t bitRate;
  };
  for (const Size size : {Size{1280, 720, 4'500'000}, Size{1920, 1080, 6'000'000}}) {
    testing::PublishRequest request;
    request.serverURL = nginx.url("live");
    request.key = "bench" + std::to_string(size.height);
    request.seconds = seconds;
    request.width = size.width;
    request.height = size.height;
    request.videoBitRate = size.bitRate;
    std::size_t bytes = 0;
    const double baseline = encodeOnly(request, bytes) / seconds;
    const auto report = testing::publishGenerated(request);
    if (!report.error.empty()) {
      std::fprintf(stderr, "publish failed: %s\n", report.error.c_str());
      return 1;
    }
    const double published = report.cpuSeconds / seconds;
    char label[32];
    std::snprintf(label, sizeof label, "%dx%d", size.width, size.height);
    std::printf("%-10s %12.3f %14.3f %8.3f   (%.1f Mbit/s encoded)\n", label, baseline, published,
                published / baseline, bytes * 8.0 / seconds / 1e6);
  }
  return 0;
}

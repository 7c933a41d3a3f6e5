// CPU per second of stream through the encode+publish path, against the
// same frames through the same encoders with nothing published, in one run.
// The generator's own cost is measured alone and taken out of both, and the
// cases alternate over several rounds so a noisy machine hits both alike.
//
//   StreamPublishHarness [SECONDS] [ROUNDS]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "HarnessFigures.h"
#include "platform/media/SharedEncoders.h"
#include "support/GeneratedPublisher.h"
#include "peers/NginxRtmp.h"

using namespace tavorin;
using bench::median;

namespace {

// The picture and tone alone, handed to nobody.
double feedOnly(const testing::PublishRequest& request) {
  const double start = processCPUSeconds();
  testing::feedGenerated(request, [](const FrameRef&) {}, [](const AudioBlockRef&) {});
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  return processCPUSeconds() - start;
}

// The encoders alone, fed and timed as the publisher feeds and times them.
double encodeOnly(const testing::PublishRequest& request, std::size_t& bytes) {
  SharedEncoders encoders;
  EncoderError error = EncoderError::none;
  const double start = processCPUSeconds();
  {
    auto video = encoders.subscribeVideo(
        "main", testing::generatedVideoEncoding(request),
        [&bytes](const EncodedVideoSampleRef& sample) { bytes += sample->data.size(); }, error);
    auto audio = encoders.subscribeAudio(testing::generatedAudioEncoding(),
                                         [&bytes](const EncodedAudioSampleRef& sample) { bytes += sample->data.size(); });
    testing::feedGenerated(
        request, [&](const FrameRef& frame) { encoders.feedVideo("main", frame); },
        [&](const AudioBlockRef& block) { encoders.feedAudio(block); });
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  return processCPUSeconds() - start;
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 10;
  const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 3;
  av_log_set_level(AV_LOG_ERROR);
  testing::NginxRtmp nginx;
  std::printf("CPU-seconds per second of stream, median of %d rounds of %.0f s; the generator's cost is removed\n",
              rounds, seconds);
  std::printf("%-10s %10s %12s %14s %8s %10s\n", "size", "generator", "encode only", "encode+publish", "ratio",
              "Mbit/s");
  struct Size {
    int width, height;
    std::int64_t bitRate;
  };
  for (const Size size : {Size{1280, 720, 4'500'000}, Size{1920, 1080, 6'000'000}}) {
    testing::PublishRequest request;
    request.serverURL = nginx.url("live");
    request.seconds = seconds;
    request.width = size.width;
    request.height = size.height;
    request.videoBitRate = size.bitRate;
    std::vector<double> feeds, encodes, publishes, ratios;
    std::size_t bytes = 0;
    for (int round = 0; round < rounds; ++round) {
      const double feed = feedOnly(request) / seconds;
      bytes = 0;
      const double encode = encodeOnly(request, bytes) / seconds - feed;
      request.key = "bench" + std::to_string(size.height) + "-" + std::to_string(round);
      const auto report = testing::publishGenerated(request);
      if (!report.error.empty()) {
        std::fprintf(stderr, "publish failed: %s\n", report.error.c_str());
        return 1;
      }
      const double publish = report.cpuSeconds / seconds - feed;
      feeds.push_back(feed);
      encodes.push_back(encode);
      publishes.push_back(publish);
      ratios.push_back(publish / encode);
    }
    char label[32];
    std::snprintf(label, sizeof label, "%dx%d", size.width, size.height);
    std::printf("%-10s %10.3f %12.3f %14.3f %8.3f %10.2f\n", label, median(feeds), median(encodes),
                median(publishes), median(ratios), bytes * 8.0 / seconds / 1e6);
    std::fflush(stdout);
  }
  return 0;
}

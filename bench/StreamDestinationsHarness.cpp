// CPU per destination when Program goes live to 1, 2 and 4 destinations at
// once, 1280x720 at 30 fps each, through the streaming engine to the tests'
// own nginx. The picture generator's cost is measured alone in the same run
// and taken out; the cases alternate over rounds so noise hits all alike.
//
//   StreamDestinationsHarness [SECONDS] [ROUNDS]
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
#include "base/HostTime.h"
#include "streaming/StreamingEngine.h"
#include "support/GeneratedPublisher.h"
#include "support/ManualMainQueue.h"
#include "peers/NginxRtmp.h"

using namespace tavorin;
using bench::median;

namespace {

testing::PublishRequest pictureOf(double seconds) {
  testing::PublishRequest request;
  request.seconds = seconds;
  request.width = 1280;
  request.height = 720;
  return request;
}

void feed(StreamingEngine* engine, double seconds) {
  testing::feedGenerated(
      pictureOf(seconds),
      [&](PixelBufferRef frame, double t) {
        frame->setHostTime(t);
        if (engine) engine->feedVideo(frame);
      },
      [&](const float* tone, int frames, double t) {
        if (engine) engine->feedAudio(testing::toneBlock(tone, frames, t));
      });
}

// CPU-seconds per second of the whole process while `count` destinations are live; negative on failure.
double liveCost(testing::NginxRtmp& nginx, int count, double seconds, int round) {
  testing::ManualMainQueue queue;
  StreamingEngine engine(queue, [](const Uuid&) { return std::optional<std::string>("unused"); });
  engine.canvasSizeProvider = [] { return std::pair{1280, 720}; };
  std::vector<Uuid> ids;
  for (int i = 0; i < count; ++i) {
    StreamDestination destination;
    destination.name = "bench";
    destination.serverURL = nginx.url("live");
    destination.quality = {StreamResolution::p720, 30, 4500, 160};
    engine.start(destination, "r" + std::to_string(round) + "-" + std::to_string(count) + "-" + std::to_string(i));
    ids.push_back(destination.id);
  }
  auto allLive = [&] {
    return std::all_of(ids.begin(), ids.end(), [&](const Uuid& id) {
      const auto found = engine.states.get().find(id);
      return found != engine.states.get().end() && found->second.kind == StreamState::Kind::live;
    });
  };
  const double deadline = hostTimeNow() + 20;
  while (!allLive() && hostTimeNow() < deadline) {
    queue.runUntilIdle();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (!allLive()) return -1;
  const double start = processCPUSeconds();
  std::thread feeder([&] { feed(&engine, seconds); });
  feeder.join();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  const double used = processCPUSeconds() - start;
  engine.stopAll();
  return used / seconds;
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 10;
  const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 3;
  av_log_set_level(AV_LOG_QUIET);
  testing::NginxRtmp nginx;
  const int counts[] = {1, 2, 4};
  std::vector<double> generator;
  std::vector<std::vector<double>> perDestination(3);
  for (int round = 0; round < rounds; ++round) {
    double start = processCPUSeconds();
    feed(nullptr, seconds);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const double picture = (processCPUSeconds() - start) / seconds;
    generator.push_back(picture);
    for (int c = 0; c < 3; ++c) {
      const double cost = liveCost(nginx, counts[c], seconds, round);
      if (cost < 0) {
        std::fprintf(stderr, "destinations did not go live\n");
        return 1;
      }
      perDestination[c].push_back((cost - picture) / counts[c]);
    }
  }
  std::printf("1280x720 at 30 fps, 4500 kbit/s each; CPU-seconds per second, median of %d rounds of %.0f s\n",
              rounds, seconds);
  std::printf("generator alone: %.3f (removed below)\n", median(generator));
  std::printf("%-13s %16s %18s\n", "destinations", "per destination", "against one");
  const double one = median(perDestination[0]);
  for (int c = 0; c < 3; ++c) {
    const double each = median(perDestination[c]);
    std::printf("%-13d %16.3f %18.3f\n", counts[c], each, each / one);
  }
  return 0;
}

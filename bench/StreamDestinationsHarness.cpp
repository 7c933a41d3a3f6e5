// CPU per second when Program goes live to 1, 2, 4 and 8 destinations with
// identical settings (1280x720 at 30 fps, 4500 kbit/s) through the streaming
// engine to the tests' own nginx, and the frames lost on the way. Then the
// Program recorder alone against the recorder with one stream at its
// settings. The picture generator's cost is measured alone in the same run
// and taken out; the cases alternate over rounds so noise hits all alike.
//
//   StreamDestinationsHarness [SECONDS] [ROUNDS]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <thread>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "HarnessFigures.h"
#include "base/HostTime.h"
#include "outputs/ProgramRecorder.h"
#include "peers/NginxRtmp.h"
#include "streaming/StreamingEngine.h"
#include "support/GeneratedPublisher.h"
#include "support/ManualMainQueue.h"

using namespace tavorin;
using bench::median;

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 720;

void feed(SharedEncoders* encoders, double seconds) {
  testing::PublishRequest request;
  request.seconds = seconds;
  request.width = kWidth;
  request.height = kHeight;
  testing::feedGenerated(
      request,
      [&](const FrameRef& frame) {
        if (encoders) encoders->feedVideo("main", frame);
      },
      [&](const AudioBlockRef& block) {
        if (encoders) encoders->feedAudio(block);
      });
}

StreamDestination benchDestination(const std::string& url) {
  StreamDestination destination;
  destination.name = "bench";
  destination.serverURL = url;
  destination.quality = {StreamResolution::p720, 30, 4500, 160};
  return destination;
}

struct Run {
  double cpu = -1;  // CPU-seconds per second of the whole process; negative on failure
  int dropped = 0;  // frames lost at encoders and streams, summed over destinations
};

// `count` destinations live and, when asked, the recorder at the streams' settings.
Run liveCost(testing::NginxRtmp& nginx, int count, bool withRecorder, double seconds, const std::string& tag) {
  testing::ManualMainQueue queue;
  SharedEncoders encoders;
  StreamingEngine engine(queue, [](const Uuid&) { return std::optional<std::string>("unused"); }, encoders);
  engine.canvasSizeProvider = [] { return std::pair{kWidth, kHeight}; };
  // Sessions check their connection, and count their drops, every 0.3 s.
  engine.timing.unit = 0.1;
  std::vector<Uuid> ids;
  for (int i = 0; i < count; ++i) {
    const auto destination = benchDestination(nginx.url("live"));
    engine.start(destination, tag + "-" + std::to_string(i));
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
  if (!allLive()) return {};
  ProgramRecorder recorder(encoders);
  const auto file = std::filesystem::temp_directory_path() / ("tavorin-bench-" + tag + ".mov");
  if (withRecorder) {
    const auto encoding = StreamSession::videoSettingsFor(benchDestination(""), kWidth, kHeight).encoding();
    if (!recorder.start(file, encoding, true, nullptr)) return {};
  }
  const double start = processCPUSeconds();
  feed(&encoders, seconds);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  const double used = processCPUSeconds() - start;
  queue.advance(StreamingEngine::kHealthPeriod);
  queue.runUntilIdle();
  Run run;
  for (const auto& [id, figures] : engine.health.health.get()) run.dropped += figures.droppedFrames;
  run.cpu = used / seconds;
  if (withRecorder) {
    std::promise<void> done;
    recorder.finish([&done](std::optional<std::filesystem::path>) { done.set_value(); });
    done.get_future().wait();
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
  }
  engine.stopAll();
  return run;
}

// The recorder alone at the same settings, fed the same way.
double recorderCost(double seconds, const std::string& tag) {
  SharedEncoders encoders;
  ProgramRecorder recorder(encoders);
  const auto file = std::filesystem::temp_directory_path() / ("tavorin-bench-" + tag + ".mov");
  const auto encoding = StreamSession::videoSettingsFor(benchDestination(""), kWidth, kHeight).encoding();
  if (!recorder.start(file, encoding, true, nullptr)) return -1;
  const double start = processCPUSeconds();
  feed(&encoders, seconds);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  const double used = processCPUSeconds() - start;
  std::promise<void> done;
  recorder.finish([&done](std::optional<std::filesystem::path>) { done.set_value(); });
  done.get_future().wait();
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  return used / seconds;
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 10;
  const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 3;
  av_log_set_level(AV_LOG_QUIET);
  testing::NginxRtmp nginx;
  const int counts[] = {1, 2, 4, 8};
  constexpr int kCases = 4;
  std::vector<double> generator, recorderAlone, recorderAndStream;
  std::vector<std::vector<double>> cost(kCases);
  std::vector<int> drops(kCases, 0);
  for (int round = 0; round < rounds; ++round) {
    const double start = processCPUSeconds();
    feed(nullptr, seconds);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const double picture = (processCPUSeconds() - start) / seconds;
    generator.push_back(picture);
    for (int c = 0; c < kCases; ++c) {
      const auto tag = "r" + std::to_string(round) + "-" + std::to_string(counts[c]);
      const Run run = liveCost(nginx, counts[c], false, seconds, tag);
      if (run.cpu < 0) {
        std::fprintf(stderr, "destinations did not go live\n");
        return 1;
      }
      cost[c].push_back(run.cpu - picture);
      drops[c] += run.dropped;
    }
    const double alone = recorderCost(seconds, "r" + std::to_string(round) + "-rec");
    const Run pair = liveCost(nginx, 1, true, seconds, "r" + std::to_string(round) + "-pair");
    if (alone < 0 || pair.cpu < 0) {
      std::fprintf(stderr, "the recorder did not start\n");
      return 1;
    }
    recorderAlone.push_back(alone - picture);
    recorderAndStream.push_back(pair.cpu - picture);
  }
  std::printf("%dx%d at 30 fps, 4500 kbit/s, identical settings; CPU-seconds per second, median of %d rounds of %.0f s\n",
              kWidth, kHeight, rounds, seconds);
  std::printf("generator alone: %.3f (removed below)\n", median(generator));
  std::printf("%-13s %10s %12s %16s\n", "destinations", "CPU", "against one", "frames dropped");
  const double one = median(cost[0]);
  for (int c = 0; c < kCases; ++c) {
    const double all = median(cost[c]);
    std::printf("%-13d %10.3f %12.3f %16d\n", counts[c], all, all / one, drops[c]);
  }
  const double alone = median(recorderAlone);
  const double pair = median(recorderAndStream);
  std::printf("recorder alone %.3f, recorder + stream at its settings %.3f: %.3f against the recorder alone\n", alone,
              pair, pair / alone);
  return 0;
}

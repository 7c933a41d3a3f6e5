// The Program recorder on this machine, 1920 x 1080 at 30 fps, for each
// quality: frames handed over in real time by a clock thread as the frame
// clock would, then CPU per recorded second and the share of frames dropped
// (frames handed over against packets in the file, read back by ffprobe).
// The baseline, in the same run: the bare encoder writing the same frames as
// fast as it can; the ratio compares CPU per frame written.
//
//   RecorderHarness [seconds per run, default 5]
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "ProcessCPU.h"
#include "MovingFrames.h"
#include "base/HostTime.h"
#include "outputs/ProgramRecorder.h"
#include "platform/media/MovieMuxer.h"
#include "platform/media/SharedEncoders.h"
#include "platform/media/VideoEncoder.h"

using namespace tavorin;

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kRate = 30;


long packetsIn(const std::filesystem::path& file) {
  const std::string command = "ffprobe -v error -select_streams v -count_packets -show_entries stream=nb_read_packets "
                              "-of csv=p=0 '" + file.string() + "'";
  long count = 0;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    if (std::fscanf(pipe, "%ld", &count) != 1) count = 0;
    pclose(pipe);
  }
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const double seconds = argc > 1 ? std::max(1.0, std::atof(argv[1])) : 5.0;
  const auto pictures = bench::movingFrames(kWidth, kHeight, kRate);
  const auto folder = std::filesystem::temp_directory_path() / "tavorin-recorder-bench";
  std::filesystem::create_directories(folder);
  const int total = static_cast<int>(seconds * kRate);

  for (auto [quality, name] : {std::pair{ProgramRecorder::Quality::hevcHigh, "hevcHigh"},
                               std::pair{ProgramRecorder::Quality::proRes422, "proRes422"}}) {
    // The bare encoder and muxer on the same frames, as fast as they go.
    const auto encoding = ProgramRecorder::encodingFor(quality, kWidth, kHeight, kRate);
    EncoderError opened = EncoderError::none;
    auto bare = VideoEncoder::open(encoding, HardwareEncoders{}, opened);
    std::string error;
    MovieMuxer muxer;
    if (!bare || !muxer.open(folder / "bare.mov", *bare->format(), std::nullopt, &error)) {
      std::printf("%s: %s %s\n", name, std::string(describe(opened)).c_str(), error.c_str());
      continue;
    }
    double cpu0 = processCPUSeconds();
    EncodedVideoSample sample;
    auto drain = [&] {
      while (bare->receive(sample, opened)) muxer.writeVideo(sample, sample.pts, sample.dts);
    };
    for (int i = 0; i < total; ++i) {
      auto& picture = pictures[static_cast<std::size_t>(i % kRate)];
      picture->setHostTime(static_cast<double>(i) / kRate);
      bare->send(*picture);
      drain();
    }
    bare->flush();
    drain();
    muxer.close();
    const double bareCPUPerFrame = (processCPUSeconds() - cpu0) / total;

    // The recorder, fed in real time.
    SharedEncoders encoders;
    ProgramRecorder recorder(encoders);
    const auto file = folder / "program.mov";
    if (!recorder.start(file, kRate, kWidth, kHeight, quality, false, &error)) {
      std::printf("%s: %s\n", name, error.c_str());
      continue;
    }
    cpu0 = processCPUSeconds();
    const double start = hostTimeNow();
    for (int i = 0; i < total; ++i) {
      const double t = start + static_cast<double>(i) / kRate;
      while (hostTimeNow() < t) std::this_thread::sleep_for(std::chrono::microseconds(500));
      auto& picture = pictures[static_cast<std::size_t>(i % kRate)];
      picture->setHostTime(t);
      encoders.feedVideo(ProgramRecorder::kCanvas, picture);
    }
    std::promise<void> done;
    recorder.finish([&done](std::optional<std::filesystem::path>) { done.set_value(); });
    done.get_future().wait();
    const double cpu = processCPUSeconds() - cpu0;
    const long written = packetsIn(file);
    const double dropped = total > 0 ? 1.0 - static_cast<double>(written) / total : 0;
    std::printf("%s (%s): CPU %.2f s per recorded second, %.1f%% of %d frames dropped\n", name,
                recorder.videoEncoderName().c_str(), cpu / seconds, 100 * dropped, total);
    std::printf("  bare encoder %.2f ms CPU per frame; recorder %.2f ms per frame written: ratio %.3f\n",
                bareCPUPerFrame * 1e3, written > 0 ? cpu * 1e3 / written : 0.0,
                written > 0 ? (cpu / written) / bareCPUPerFrame : 0.0);
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return 0;
}

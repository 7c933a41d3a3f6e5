// The replay buffer on this machine, 1920 x 1080 at 30 fps with the Program
// mix: frames and audio blocks handed over in real time by a clock thread as
// the frame clock and the tap would, through the shared encoder the buffer
// subscribes to. Then CPU per second against the bare encoder of the same
// encoding on the same frames, as fast as it goes (same run); the memory held
// against the asked duration times the bit rate; and how long a save takes.
//
//   ReplayHarness [seconds per run, default 10] [duration held, default 5]
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "HarnessFigures.h"
#include "MovingFrames.h"
#include "base/HostTime.h"
#include "outputs/ReplayBuffer.h"
#include "platform/media/VideoEncoder.h"

using namespace tavorin;

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kRate = 30;


}  // namespace

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const double seconds = argc > 1 ? std::max(2.0, std::atof(argv[1])) : 10.0;
  const double duration = argc > 2 ? std::max(1.0, std::atof(argv[2])) : 5.0;
  const auto pictures = bench::movingFrames(kWidth, kHeight, kRate);
  const int total = static_cast<int>(seconds * kRate);
  const auto encoding = ReplayBuffer::encodingFor(kWidth, kHeight, kRate);

  // The bare encoder on the same frames, as fast as it goes.
  EncoderError error = EncoderError::none;
  auto bare = VideoEncoder::open(encoding, HardwareEncoders{}, error);
  if (!bare) {
    std::printf("no encoder: %s\n", std::string(describe(error)).c_str());
    return 1;
  }
  double cpu0 = processCPUSeconds();
  EncodedVideoSample sample;
  long bareFrames = 0;
  auto drain = [&] {
    while (bare->receive(sample, error)) ++bareFrames;
  };
  for (int i = 0; i < total; ++i) {
    bare->send(*pictures[static_cast<std::size_t>(i % kRate)], static_cast<double>(i) / kRate);
    drain();
  }
  bare->flush();
  drain();
  const double bareCPUPerFrame = (processCPUSeconds() - cpu0) / static_cast<double>(bareFrames);
  const std::string encoderName = bare->encoderName();
  bare.reset();

  // The buffer, fed in real time: every picture of a 30 Hz clock, and the mix in blocks of 1024 frames.
  SharedEncoders encoders;
  ReplayBuffer buffer(encoders, [](const std::string& line) { std::printf("%s\n", line.c_str()); });
  buffer.apply(true, duration, kWidth, kHeight, kRate);
  buffer.settle();
  if (!buffer.encoding()) return 1;
  AudioBlockPool blocks(2, 1024);
  long received = 0;
  auto counted = encoders.subscribeVideo(std::string(ReplayBuffer::kCanvas), encoding,
                                         [&received](const EncodedVideoSampleRef&) { ++received; }, error);
  cpu0 = processCPUSeconds();
  const double start = hostTimeNow();
  double nextAudio = start;
  for (int i = 0; i < total; ++i) {
    const double t = start + static_cast<double>(i) / kRate;
    while (hostTimeNow() < t) std::this_thread::sleep_for(std::chrono::microseconds(500));
    auto& picture = pictures[static_cast<std::size_t>(i % kRate)];
    picture->setHostTime(t);
    encoders.feedVideo(ReplayBuffer::kCanvas, picture);
    for (; nextAudio <= t; nextAudio += 1024 / 48000.0) {
      auto block = blocks.acquire();
      for (int c = 0; c < 2; ++c) std::fill_n(block->plane(c), 1024, 0.1f);
      block->stamp(1024, 48000, nextAudio);
      buffer.appendAudio(block);
    }
  }
  // The last pictures out of the encoder before the count is taken.
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  const double cpu = processCPUSeconds() - cpu0;
  const long encoded = received;
  counted.reset();
  std::printf("replay buffer (%s, %d×%d, %.0f Mbit/s): CPU %.3f s per second, %ld of %d pictures kept\n",
              encoderName.c_str(), kWidth, kHeight, ReplayBuffer::kBitRate / 1e6, cpu / seconds, encoded, total);
  std::printf("  bare encoder %.2f ms CPU per frame; buffer %.2f ms per frame kept: ratio %.3f (goal <= 1.05)\n",
              bareCPUPerFrame * 1e3, encoded > 0 ? cpu * 1e3 / static_cast<double>(encoded) : 0.0,
              encoded > 0 ? (cpu / static_cast<double>(encoded)) / bareCPUPerFrame : 0.0);

  const double held = buffer.heldSeconds();
  const double videoExpected = held * static_cast<double>(ReplayBuffer::kBitRate) / 8;
  const double audioExpected = (duration + ReplayBuffer::kAudioMargin) * 48000 * 2 * sizeof(float);
  std::printf("memory: %.1f MB held for %.2f s of pictures (asked %.0f s); duration x bit rate %.1f MB + PCM %.1f MB "
              "= %.1f MB: ratio %.3f\n",
              static_cast<double>(buffer.heldBytes()) / 1e6, held, duration, videoExpected / 1e6, audioExpected / 1e6,
              (videoExpected + audioExpected) / 1e6,
              static_cast<double>(buffer.heldBytes()) / (videoExpected + audioExpected));

  const auto file = std::filesystem::temp_directory_path() / "tavorin-replay-bench.mov";
  const double saveStart = hostTimeNow();
  std::promise<std::optional<ReplayBuffer::Saved>> done;
  buffer.save(file, [&done](std::optional<ReplayBuffer::Saved> saved) { done.set_value(std::move(saved)); });
  const auto saved = done.get_future().get();
  const double saveSeconds = hostTimeNow() - saveStart;
  if (saved) {
    std::printf("save: %.2f s of replay written in %.3f s (%.0f× real time)\n", saved->seconds, saveSeconds,
                saved->seconds / saveSeconds);
  } else {
    std::printf("save: nothing written\n");
  }
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  return 0;
}

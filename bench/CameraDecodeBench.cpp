// A 1080p30 MJPEG camera through CameraFrameConverter: decode and conversion
// to BGRA, CPU milliseconds per frame. "ffmpeg_ms" is ffmpeg's own user time
// per frame decoding the same stream to nothing (`ffmpeg -benchmark … -f
// null -`), measured in the same run; "x_ffmpeg" is our cost over it, the
// conversion to BGRA included, with the aim of staying within 1.2.
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "FFmpegBaseline.h"
#include "ProcessCPU.h"
#include "platform/media/CameraFrameConverter.h"
#include "platform/media/FFmpegPointers.h"

namespace tavorin {
namespace {

namespace fs = std::filesystem;

constexpr int kFrames = 300;

// The stream, written once per run into a folder of its own, and its JPEGs in memory.
struct Stream {
  Stream() {
    folder = fs::temp_directory_path() / ("tavorin-camera-bench-" + std::to_string(getpid()));
    fs::create_directories(folder);
    file = folder / "camera.mjpeg";
    bench::runCommand("ffmpeg -v error -nostdin -y -f lavfi -i testsrc2=size=1920x1080:rate=30 -frames:v " +
        std::to_string(kFrames) + " -c:v mjpeg -q:v 5 -f mjpeg " + file.string() + " 2>&1");
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, file.c_str(), nullptr, nullptr) < 0) throw std::runtime_error("cannot read it");
    ffmpeg::InputFormatPtr format(opened);
    ffmpeg::PacketPtr packet(av_packet_alloc());
    while (av_read_frame(format.get(), packet.get()) >= 0) {
      jpegs.emplace_back(packet->data, packet->data + packet->size);
      av_packet_unref(packet.get());
    }
  }
  ~Stream() { fs::remove_all(folder); }

  // ffmpeg's user seconds per frame to decode the file.
  double ffmpegSecondsPerFrame() const {
    return bench::ffmpegDecodeSeconds(file) / static_cast<double>(jpegs.size());
  }

  fs::path folder;
  fs::path file;
  std::vector<std::vector<std::uint8_t>> jpegs;
};

void BM_CameraMJPEG1080p(benchmark::State& state) {
  Stream stream;
  CameraFrameConverter converter({1920, 1080});
  const CameraFrameFormat format{CameraPixelFormat::mjpeg, 1920, 1080, ColourMatrix::bt601, ColourRange::full};
  double cpuSeconds = 0;
  std::size_t frames = 0;
  for (auto _ : state) {
    const double began = threadCPUSeconds();
    for (const auto& jpeg : stream.jpegs) {
      CameraFramePlanes planes;
      planes.data[0] = jpeg.data();
      planes.size = jpeg.size();
      PixelBufferRef frame = converter.convert(format, planes, 0);
      if (!frame) state.SkipWithError("a frame did not convert");
      benchmark::DoNotOptimize(frame);
    }
    cpuSeconds += threadCPUSeconds() - began;
    frames += stream.jpegs.size();
  }
  const double ours = 1000 * cpuSeconds / static_cast<double>(frames);
  const double ffmpeg = 1000 * stream.ffmpegSecondsPerFrame();
  state.counters["ms_per_frame"] = ours;
  state.counters["ffmpeg_ms"] = ffmpeg;
  state.counters["x_ffmpeg"] = ours / ffmpeg;
}
BENCHMARK(BM_CameraMJPEG1080p)->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace
}  // namespace tavorin

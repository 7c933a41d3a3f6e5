// A 1080p30 H.264 network camera on loopback (GStreamer's RTSP server, as in
// the tests): the CPU our client spends per second of stream to receive,
// depacketize, decode and convert to BGRA, against ffmpeg decoding and
// converting the same stream from a file in the same run; how long an access
// unit takes from its last packet read to its picture, and from the camera's
// own time stamp (by its RTCP sender reports) to its picture.
//
//   RTSPHarness [SECONDS]
#include <algorithm>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "FFmpegBaseline.h"
#include "HarnessFigures.h"
#include "base/HostTime.h"
#include "peers/RtspCamera.h"
#include "sources/rtsp/RTSPClient.h"
#include "support/TempDir.h"

using namespace tavorin;

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::stod(argv[1]) : 10;
  testing::TempDir dir;
  testing::RtspCamera camera(dir.path(), {"--size", "1920x1080", "--fps", "30", "--bitrate", "6000", "--pattern", "snow"});

  std::mutex lock;
  std::vector<double> latencies;
  // The camera's time stamp to picture, by the camera's sender reports; kept
  // for the second half of the run, by when the first report has come.
  std::vector<double> fromCamera;
  double halfway = 0;
  int frames = 0;
  RTSPClient client({.url = camera.url(),
                     .onFrame =
                         [&](PixelBufferRef, const StreamVideoStamp& stamp) {
                           const double now = hostTimeNow();
                           std::lock_guard guard(lock);
                           ++frames;
                           latencies.push_back(now - stamp.receivedAt);
                           if (halfway > 0 && now > halfway) fromCamera.push_back(now - stamp.capturedAt);
                         },
                     .onAudio = {},
                     .log = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); },
                     .reconnectDelay = 4.0,
                     .keepAliveInterval = 25.0});
  client.start();
  // The first pictures include the decoder's start: measure from the second on.
  for (int i = 0; i < 500; ++i) {
    {
      std::lock_guard guard(lock);
      if (frames >= 30) break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  int framesBefore;
  {
    std::lock_guard guard(lock);
    framesBefore = frames;
    latencies.clear();
    halfway = hostTimeNow() + seconds / 2;
  }
  const double cpuBefore = processUserSeconds();
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  const double ourCPU = processUserSeconds() - cpuBefore;
  int received;
  std::vector<double> lags, cameraLags;
  {
    std::lock_guard guard(lock);
    received = frames - framesBefore;
    lags = latencies;
    cameraLags = fromCamera;
  }
  client.stop();

  // The same stream kept in a file, then decoded and converted by ffmpeg alone.
  const auto file = dir / "stream.mkv";
  bench::runCommand("ffmpeg -nostdin -v error -rtsp_transport tcp -i " + camera.url() + " -c copy -frames:v " +
                    std::to_string(received) + " -y " + file.string() + " 2>&1");
  const std::string output = bench::runCommand("ffmpeg -nostdin -benchmark -i " + file.string() +
                                               " -pix_fmt bgra -f null - 2>&1");
  const auto at = output.find("utime=");
  const double ffmpegCPU = at == std::string::npos ? 0 : std::stod(output.substr(at + 6));

  std::sort(lags.begin(), lags.end());
  const double median = lags.empty() ? 0 : lags[lags.size() / 2];
  const double p95 = lags.empty() ? 0 : lags[lags.size() * 95 / 100];
  std::printf("RTSP 1080p30 H.264 over loopback, %.0f s (%d pictures)\n", seconds, received);
  std::printf("  our client (receive + depacketize + decode + BGRA): %.3f CPU s per stream second\n", ourCPU / seconds);
  std::printf("  ffmpeg -benchmark, same pictures from a file, decode + BGRA: %.3f CPU s per stream second\n",
              ffmpegCPU * 30.0 / std::max(received, 1));
  std::printf("  ratio: %.2fx\n", (ourCPU / seconds) / std::max(ffmpegCPU * 30.0 / std::max(received, 1), 1e-9));
  std::printf("  last packet read to picture: median %.1f ms, 95th percentile %.1f ms\n", median * 1e3, p95 * 1e3);
  std::sort(cameraLags.begin(), cameraLags.end());
  if (!cameraLags.empty()) {
    std::printf("  camera's time stamp (RTCP sender reports) to picture: median %.1f ms, 95th percentile %.1f ms\n",
                cameraLags[cameraLags.size() / 2] * 1e3, cameraLags[cameraLags.size() * 95 / 100] * 1e3);
  }
  return 0;
}

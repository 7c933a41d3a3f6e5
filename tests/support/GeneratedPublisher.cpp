#include "support/GeneratedPublisher.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <future>
#include <thread>
#include <vector>

#include "base/HostTime.h"
#include "base/PixelBuffer.h"
#include "streaming/rtmp/RTMPConnection.h"
#include "streaming/rtmp/RTMPStream.h"

namespace tavorin::testing {

namespace {

double processCPUSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + now.tv_nsec * 1e-9;
}

template <class Result, class Start>
std::optional<Result> await(Start&& start, double seconds = 20) {
  auto promise = std::make_shared<std::promise<Result>>();
  auto future = promise->get_future();
  start([promise](Result result) { promise->set_value(std::move(result)); });
  if (future.wait_for(std::chrono::duration<double>(seconds)) != std::future_status::ready) return std::nullopt;
  return future.get();
}

// A bar that moves across a gradient over a scrolling band of noise, so
// every frame differs and the encoder has detail to spend its bit rate on.
void drawFrame(PixelBuffer& frame, int index, const std::vector<std::uint8_t>& noise) {
  const int bar = (index * 8) % frame.width();
  const std::size_t rowBytes = static_cast<std::size_t>(frame.width()) * 4;
  const int noiseTop = frame.height() * 3 / 4;
  for (int y = 0; y < frame.height(); ++y) {
    std::uint8_t* row = frame.row(y);
    if (y >= noiseTop) {
      const std::size_t shift = static_cast<std::size_t>(index * 12 % frame.width()) * 4;
      const std::uint8_t* source = noise.data() + static_cast<std::size_t>(y - noiseTop) * rowBytes * 2;
      std::memcpy(row, source + shift, rowBytes);
      continue;
    }
    for (int x = 0; x < frame.width(); ++x) {
      const bool inBar = x >= bar && x < bar + 40;
      row[x * 4 + 0] = inBar ? 255 : static_cast<std::uint8_t>(x * 255 / frame.width());
      row[x * 4 + 1] = inBar ? 255 : static_cast<std::uint8_t>(y * 255 / frame.height());
      row[x * 4 + 2] = inBar ? 255 : 80;
      row[x * 4 + 3] = 255;
    }
  }
  frame.markRewritten();
}

}  // namespace

VideoCodecSettings generatedVideoSettings(const PublishRequest& request) {
  VideoCodecSettings video;
  video.videoSize = {request.width, request.height};
  video.bitRate = request.videoBitRate;
  video.profileLevel = "H264_Main_AutoLevel";
  video.expectedFrameRate = request.frameRate;
  // No look-ahead: every frame is out of the encoder before the stream closes.
  video.isLowLatencyRateControlEnabled = true;
  return video;
}

AudioCodecSettings generatedAudioSettings() {
  AudioCodecSettings audio;
  audio.bitRate = 128'000;
  return audio;
}

AudioBlockRef toneBlock(const float* tone, int frames, double time) {
  const auto count = static_cast<std::uint32_t>(frames);
  auto block = std::make_shared<AudioBlock>(2, count);
  std::copy(tone, tone + frames, block->plane(0));
  std::copy(tone, tone + frames, block->plane(1));
  block->stamp(count, 48000, time);
  return block;
}

int feedGenerated(const PublishRequest& request, const std::function<void(PixelBufferRef, double)>& video,
                  const std::function<void(const float*, int, double)>& audio) {
  std::vector<PixelBufferRef> frames;
  for (int i = 0; i < 3; ++i) frames.push_back(PixelBuffer::make(request.width, request.height));
  constexpr int kAudioBlock = 1024;
  std::vector<float> tone(kAudioBlock);
  // Rows twice the frame's width, so a shifted window is always whole.
  std::vector<std::uint8_t> noise(static_cast<std::size_t>(request.width) * 8 * (request.height - request.height * 3 / 4));
  std::uint32_t seed = 0x2545F491;
  for (auto& byte : noise) {
    seed = seed * 1664525u + 1013904223u;
    byte = static_cast<std::uint8_t>(seed >> 24);
  }
  long sample = 0;
  const int frameCount = static_cast<int>(std::lround(request.seconds * request.frameRate));
  const double start = hostTimeNow() + 0.05;
  for (int i = 0; i < frameCount; ++i) {
    const double t = start + static_cast<double>(i) / request.frameRate;
    while (hostTimeNow() < t) std::this_thread::sleep_for(std::chrono::microseconds(500));
    // Audio up to this frame's time, in blocks stamped with their first sample's time.
    while (start + static_cast<double>(sample) / 48000 <= t) {
      for (int s = 0; s < kAudioBlock; ++s) {
        tone[s] = 0.25f * static_cast<float>(std::sin(2 * M_PI * 1000 * static_cast<double>(sample + s) / 48000));
      }
      audio(tone.data(), kAudioBlock, start + static_cast<double>(sample) / 48000);
      sample += kAudioBlock;
    }
    auto& frame = frames[i % frames.size()];
    // A buffer the encoder still holds is never drawn over.
    if (frame.use_count() > 1) frame = PixelBuffer::make(request.width, request.height);
    drawFrame(*frame, i, noise);
    video(frame, t);
  }
  return frameCount;
}

PublishReport publishGenerated(const PublishRequest& request) {
  PublishReport report;
  RTMPConnection connection;
  connection.trustedCertificates = request.trustedCertificates;
  auto stream = RTMPStream::make(connection);
  stream->setVideoSettings(generatedVideoSettings(request));
  stream->setAudioSettings(generatedAudioSettings());

  auto connected = await<RTMPResult>([&](auto done) { connection.connect(request.serverURL, {}, done); });
  if (!connected || !connected->ok()) {
    report.error = connected ? connected->error->describe() : "connect did not finish";
    return report;
  }
  auto published = await<RTMPStreamResult>(
      [&](auto done) { stream->publish(request.key, RTMPStream::HowToPublish::live, done); });
  if (!published || !published->ok()) {
    report.error = published ? published->error->describe() : "publish did not finish";
    return report;
  }

  const double cpuStart = processCPUSeconds();
  feedGenerated(
      request, [&](PixelBufferRef frame, double t) { stream->append(std::move(frame), t); },
      [&](const float* tone, int frames, double t) { stream->append(tone, tone, frames, t); });
  // Let the last frames leave the encoder and the socket.
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  report.cpuSeconds = processCPUSeconds() - cpuStart;
  // Servers may close without answering closeStream; either way the stream is over.
  await<RTMPStreamResult>([&](auto done) { stream->close(done); }, 4);
  connection.close();
  return report;
}

}  // namespace tavorin::testing

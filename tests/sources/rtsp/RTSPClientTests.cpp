#include "sources/rtsp/RTSPClient.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <mutex>

#include "peers/RtspCamera.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"
#include "base/HostTime.h"

namespace tavorin {
namespace {

using testing::RtspCamera;
using testing::waitFor;

// A client whose pictures and log lines the test reads.
struct Watched {
  explicit Watched(const std::string& url) {
    client = std::make_unique<RTSPClient>(RTSPClient::Options{
        .url = url,
        .onFrame =
            [this](PixelBufferRef frame, const StreamVideoStamp&) {
              std::lock_guard guard(lock);
              latest = std::move(frame);
              ++frames;
            },
        .onAudio =
            [this](const PcmFormat& format, const void* const*, std::uint32_t frames, double pts) {
              std::lock_guard guard(lock);
              soundFormat = format;
              soundFrames += frames;
              soundLag = hostTimeNow() - pts;
            },
        .log =
            [this](const std::string& line) {
              std::lock_guard guard(lock);
              log.push_back(line);
            },
        .reconnectDelay = 4.0,
        .keepAliveInterval = 25.0});
    client->start();
  }
  int frameCount() {
    std::lock_guard guard(lock);
    return frames;
  }
  std::uint64_t soundFrameCount() {
    std::lock_guard guard(lock);
    return soundFrames;
  }
  PixelBufferRef picture() {
    std::lock_guard guard(lock);
    return latest;
  }
  std::vector<std::string> lines() {
    std::lock_guard guard(lock);
    return log;
  }
  bool picturesFlow(double seconds = 15) {
    const int before = frameCount();
    return waitFor([&] { return frameCount() >= before + 5; }, seconds);
  }

  std::mutex lock;
  PcmFormat soundFormat;
  std::uint64_t soundFrames = 0;
  double soundLag = 0;  // how far behind now the last block's time was
  PixelBufferRef latest;
  int frames = 0;
  std::vector<std::string> log;
  std::unique_ptr<RTSPClient> client;
};

TEST(RTSPClient, PicturesBehindBasicAndDigestShowThePatternsColoursInH264AndH265) {
  testing::TempDir logs;
  for (const auto& [method, codec] : {std::pair{"basic", "h264"}, std::pair{"digest", "h265"}}) {
    SCOPED_TRACE(codec);
    RtspCamera camera(logs.path(), {"--auth", method, "op", "s3cret", "--codec", codec});
    Watched watched(camera.url("op:s3cret"));
    ASSERT_TRUE(watched.picturesFlow()) << ::testing::PrintToString(watched.lines());
    // The pattern's seven full bars, sent in BT.601 limited range: a wrong matrix
    // or range moves a channel of red, green or white 20 or more past the tolerance.
    const auto picture = watched.picture();
    ASSERT_EQ(picture->width(), 320);
    struct Bar {
      int r, g, b;
    };
    const Bar bars[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0}, {255, 0, 255}, {255, 0, 0}, {0, 0, 255}};
    for (int i = 0; i < 7; ++i) {
      const std::uint8_t* p = picture->row(60) + 4 * int((i + 0.5) * 320 / 7);
      EXPECT_NEAR(p[2], bars[i].r, 12) << "bar " << i;
      EXPECT_NEAR(p[1], bars[i].g, 12) << "bar " << i;
      EXPECT_NEAR(p[0], bars[i].b, 12) << "bar " << i;
      EXPECT_EQ(p[3], 255);
    }
    EXPECT_TRUE(watched.lines().empty());
  }
}

TEST(RTSPClient, AWrongPasswordIsRetriedEvery4SecondsAndSaidOnce) {
  testing::TempDir logs;
  RtspCamera camera(logs.path(), {"--auth", "digest", "op", "s3cret"});
  Watched watched(camera.url("op:wrong"));
  ASSERT_TRUE(waitFor([&] { return watched.client->connectionsOpened() >= 3; }, 12));
  EXPECT_EQ(watched.lines(), std::vector<std::string>{"RTSP DESCRIBE failed (401) for 127.0.0.1"});
  EXPECT_EQ(watched.frameCount(), 0);
}

TEST(RTSPClient, ACameraThatGoesAwayFreezesAndComesBackOnOneConnection) {
  testing::TempDir logs;
  // Sound described first: each section's own control line is the one set up.
  RtspCamera camera(logs.path(), {"--audio-first"});
  Watched watched(camera.url());
  ASSERT_TRUE(watched.picturesFlow());
  {
    // The sound decodes, stamped on the camera's clock within a moment of now.
    ASSERT_TRUE(waitFor([&] { return watched.soundFrameCount() >= 48000; }, 10));
    std::lock_guard guard(watched.lock);
    EXPECT_EQ(watched.soundFormat, (PcmFormat{48000, 2, PcmSampleFormat::f32Planar}));
    EXPECT_LT(std::abs(watched.soundLag), 0.5);
  }
  camera.stop();
  ASSERT_TRUE(waitFor([&] { return watched.client->state() == RTSPClient::State::waiting; }, 5));
  const int frozen = watched.frameCount();
  // Connections refused while it is away are silent.
  std::this_thread::sleep_for(std::chrono::milliseconds(4500));
  EXPECT_EQ(watched.frameCount(), frozen);
  camera.start();
  EXPECT_TRUE(watched.picturesFlow(20));
  EXPECT_EQ(RtspCamera::connectionsTo(camera.port()), 1);
  EXPECT_TRUE(watched.lines().empty()) << ::testing::PrintToString(watched.lines());
  // Stopped: the connection goes and no retry comes.
  watched.client->stop();
  EXPECT_TRUE(waitFor([&] { return RtspCamera::connectionsTo(camera.port()) == 0; }, 5));
  const int opened = watched.client->connectionsOpened();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_EQ(watched.client->connectionsOpened(), opened);
}

// A camera that flashes white on the first picture of each second and beeps
// for the same thirtieth of a second: each beep must play with its flash.
TEST(RTSPClient, ABeepPlaysWithItsFlash) {
  testing::TempDir dir;
  const auto movie = dir / "flash-beep.mp4";
  const std::string beep = "if(lt(mod(t\\,1)\\,1/30)\\,sin(2*PI*1000*t)\\,0)";
  ASSERT_EQ(std::system(("ffmpeg -nostdin -v error -f lavfi -i \"color=c=black:s=320x240:r=30,geq=lum='if(lt(mod(N\\,30)\\,1)"
                         "\\,235\\,16)':cb=128:cr=128\" -f lavfi -i \"aevalsrc='" + beep + "|" + beep +
                         "':s=48000\" -t 12 -c:v libx264 -preset ultrafast -tune zerolatency -g 30 -pix_fmt yuv420p "
                         "-c:a aac -b:a 128k -shortest -y " + movie.string())
                            .c_str()),
            0);
  RtspCamera camera(dir.path(), {"--file", movie.string()});
  std::mutex lock;
  std::vector<double> flashes, beeps;
  std::uint32_t quiet = 480;  // samples since the last loud one; a beep starts after 10 ms of quiet
  RTSPClient client({.url = camera.url(),
                     .onFrame =
                         [&](PixelBufferRef picture, const StreamVideoStamp&) {
                           // Shown when published: that is when the flash is seen.
                           const double shownAt = hostTimeNow();
                           if (picture->row(120)[4 * 160 + 1] > 200) {
                             std::lock_guard guard(lock);
                             flashes.push_back(shownAt);
                           }
                         },
                     .onAudio =
                         [&](const PcmFormat& format, const void* const* planes, std::uint32_t frames, double pts) {
                           const float* left = static_cast<const float*>(planes[0]);
                           std::lock_guard guard(lock);
                           for (std::uint32_t i = 0; i < frames; ++i) {
                             if (std::abs(left[i]) <= 0.3f) {
                               ++quiet;
                               continue;
                             }
                             if (quiet >= 480) beeps.push_back(pts + double(i) / format.sampleRate);
                             quiet = 0;
                           }
                         },
                     .log = {},
                     .reconnectDelay = 4.0,
                     .keepAliveInterval = 25.0});
  client.start();
  ASSERT_TRUE(waitFor(
      [&] {
        std::lock_guard guard(lock);
        return flashes.size() >= 8 && beeps.size() >= 8;
      },
      15));
  client.stop();
  std::lock_guard guard(lock);
  std::vector<double> offsets;
  for (double flash : flashes) {
    const auto nearest = std::min_element(beeps.begin(), beeps.end(),
                                          [&](double a, double b) { return std::abs(a - flash) < std::abs(b - flash); });
    if (std::abs(*nearest - flash) < 0.5) offsets.push_back(*nearest - flash);
  }
  ASSERT_GE(offsets.size(), 6u);
  std::sort(offsets.begin(), offsets.end());
  // Within a picture and a half at 30 fps, AAC's own priming included.
  EXPECT_LT(std::abs(offsets[offsets.size() / 2]), 0.05) << ::testing::PrintToString(offsets);
}

}  // namespace
}  // namespace tavorin

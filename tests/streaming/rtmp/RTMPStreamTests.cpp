#include "streaming/rtmp/RTMPStream.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>

#include "peers/NginxRtmp.h"
#include "streaming/rtmp/RTMPMediaMessage.h"
#include "streaming/rtmp/RTMPTimestamp.h"
#include "support/ChildProcess.h"
#include "support/Ffprobe.h"
#include "support/GeneratedPublisher.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::packetTimes;
using testing::probe;
using testing::streamOf;

testing::PublishRequest request(const std::string& url, const std::string& key, double seconds) {
  testing::PublishRequest made;
  made.serverURL = url;
  made.key = key;
  made.seconds = seconds;
  return made;
}

// What every recording of a generated publish must show.
void expectGeneratedRecording(const std::filesystem::path& file, double seconds) {
  const auto info = probe(file);
  ASSERT_FALSE(info.is_null()) << "ffprobe opens " << file;
  const auto* video = streamOf(info, "video");
  const auto* audio = streamOf(info, "audio");
  ASSERT_TRUE(video && audio) << info.dump();
  EXPECT_EQ((*video)["codec_name"], "h264");
  EXPECT_EQ((*video)["width"], 640);
  EXPECT_EQ((*video)["height"], 360);
  EXPECT_EQ((*audio)["codec_name"], "aac");
  EXPECT_EQ((*audio)["sample_rate"], "48000");
  EXPECT_EQ((*audio)["channels"], 2);
  const auto videoTimes = packetTimes(file, "v");
  const auto audioTimes = packetTimes(file, "a");
  ASSERT_FALSE(videoTimes.empty());
  ASSERT_FALSE(audioTimes.empty());
  EXPECT_EQ(videoTimes.size(), static_cast<std::size_t>(seconds * 30));
  for (std::size_t i = 1; i < videoTimes.size(); ++i) ASSERT_GT(videoTimes[i], videoTimes[i - 1]) << i;
  for (std::size_t i = 1; i < audioTimes.size(); ++i) ASSERT_GT(audioTimes[i], audioTimes[i - 1]) << i;
  // Shown together: the first picture and the first sound have one presentation time.
  EXPECT_NEAR(packetTimes(file, "v", "pts_time").front(), packetTimes(file, "a", "pts_time").front(), 0.002)
      << "audio and video start together";
  EXPECT_NEAR(videoTimes.back() - videoTimes.front() + 1.0 / 30, seconds, 1.0 / 30);
}

// Publishes over rtmp and rtmps to one nginx, then the refusals a real server gives.
TEST(RTMPStreamPublish, ToNginxOverRtmpAndRtmpsAndItsRefusals) {
  testing::NginxRtmp nginx;
  auto report = testing::publishGenerated(request(nginx.url("live"), "plain", 10));
  ASSERT_EQ(report.error, "");
  expectGeneratedRecording(nginx.recording("live", "plain"), 10);

  auto secure = request(nginx.rtmpsURL("live"), "secure", 3);
  secure.trustedCertificates = nginx.certificate();
  report = testing::publishGenerated(secure);
  ASSERT_EQ(report.error, "");
  expectGeneratedRecording(nginx.recording("live", "secure"), 3);

  // An application the server does not have refuses the connect.
  report = testing::publishGenerated(request(nginx.url("nosuchapp"), "k", 1));
  EXPECT_NE(report.error.find("requestFailed"), std::string::npos) << report.error;
  // A key the server's check turns down: nginx hangs up without a status.
  report = testing::publishGenerated(request(nginx.url("auth"), "badkey", 1));
  EXPECT_NE(report.error.find("NetConnection.Connect.Closed"), std::string::npos) << report.error;
  EXPECT_FALSE(std::filesystem::exists(nginx.recording("auth", "badkey")));
  // A key already live is a bad name.
  RTMPConnection first;
  auto stream = RTMPStream::make(first);
  std::promise<RTMPResult> connected;
  first.connect(nginx.url("live"), {}, [&](RTMPResult result) { connected.set_value(result); });
  ASSERT_TRUE(connected.get_future().get().ok());
  std::promise<RTMPStreamResult> published;
  stream->publish("taken", RTMPStream::HowToPublish::live, [&](RTMPStreamResult result) { published.set_value(result); });
  ASSERT_TRUE(published.get_future().get().ok());
  report = testing::publishGenerated(request(nginx.url("live"), "taken", 1));
  EXPECT_NE(report.error.find("NetStream.Publish.BadName"), std::string::npos) << report.error;
}

TEST(RTMPStreamPublish, ToFfmpegsOwnListener) {
  testing::TempDir dir;
  const int port = 19350 + static_cast<int>(getpid() % 500);
  const auto output = dir / "received.flv";
  testing::ChildProcess listener({testing::findProgram("ffmpeg", "ffmpeg"), "-hide_banner", "-nostdin", "-loglevel", "error", "-listen", "1", "-i",
                                  "rtmp://127.0.0.1:" + std::to_string(port) + "/app/key", "-c", "copy",
                                  output.string()},
                                 dir / "ffmpeg.log");
  testing::PublishReport report;
  for (int attempt = 0; attempt < 50; ++attempt) {  // until the listener is up
    report = testing::publishGenerated(request("rtmp://127.0.0.1:" + std::to_string(port) + "/app", "key", 3));
    if (report.error.find("socketErrorOccurred") == std::string::npos) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  ASSERT_EQ(report.error, "");
  ASSERT_EQ(listener.wait(15), 0) << testing::readFile(dir / "ffmpeg.log");
  expectGeneratedRecording(output, 3);
}

TEST(RTMPStreamMessages, TimestampsCarryTheFractionAndRefuseRepeats) {
  RTMPTimestamp timestamp;
  EXPECT_EQ(timestamp.update(100.0), 0u);
  std::vector<std::uint32_t> deltas;
  for (int i = 1; i <= 4; ++i) deltas.push_back(*timestamp.update(100.0 + i * 0.0335));
  EXPECT_EQ(deltas, (std::vector<std::uint32_t>{33, 34, 33, 34}));
  EXPECT_FALSE(timestamp.update(100.0 + 4 * 0.0335)) << "a repeated time never goes on the wire";
  EXPECT_FALSE(timestamp.update(100.0));

  // Sound and picture count from one origin: the first of each is placed from it.
  RTMPTimestamp fromOrigin;
  fromOrigin.origin = 100.0;
  EXPECT_FALSE(fromOrigin.update(99.99)) << "before the origin";
  EXPECT_EQ(fromOrigin.update(100.5), 500u);
  EXPECT_EQ(fromOrigin.update(100.6), 100u);

  // An hour of AAC frames (1024 samples at 48 kHz, 21.333 ms) at a large host
  // time: the deltas add up to the hour to the millisecond.
  RTMPTimestamp audio;
  std::uint64_t sum = 0;
  for (int i = 0; i <= 168750; ++i) sum += audio.update(86400.0 + i * 1024.0 / 48000).value_or(0);
  EXPECT_EQ(sum, 3600000u);
}

TEST(RTMPStreamMessages, VideoAndAudioBodies) {
  auto format = std::make_shared<VideoFormatDescription>();
  format->configurationRecord = {1, 0x64, 0, 0x1f};
  const auto header = *videoSequenceHeader(*format);
  EXPECT_EQ(header, (std::vector<std::uint8_t>{0x17, 0, 0, 0, 0, 1, 0x64, 0, 0x1f}));
  EXPECT_FALSE(videoSequenceHeader(VideoFormatDescription{}));

  EncodedVideoSample sample{{0, 0, 0, 1, 0x65}, 2.0, 2.0, true, format};
  EXPECT_EQ(videoMessageBody(sample), (std::vector<std::uint8_t>{0x17, 1, 0, 0, 66, 0, 0, 0, 1, 0x65}));
  sample.isKeyFrame = false;
  sample.dts = 2.1;  // decoded after it shows: never a negative composition time
  EXPECT_EQ(videoMessageBody(sample), (std::vector<std::uint8_t>{0x27, 1, 0, 0, 0, 0, 0, 0, 1, 0x65}));

  EXPECT_EQ(*audioSequenceHeader(AudioFormatDescription{}), (std::vector<std::uint8_t>{0xAF, 0, 0x11, 0x90}));
  EXPECT_EQ(audioMessageBody(EncodedAudioSample{{7, 8}, 0, nullptr}), (std::vector<std::uint8_t>{0xAF, 1, 7, 8}));
}

}  // namespace
}  // namespace tavorin

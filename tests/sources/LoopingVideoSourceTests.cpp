#include "sources/LoopingVideoSource.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

constexpr double kFrame = 1.0 / 30;
constexpr int kBits = 7;
// Each picture shows its own number in binary: seven vertical stripes, white for a set bit.
const std::string kCounter = "color=black:s=320x240:r=30:d=4,format=yuv420p,geq=lum='255*mod(floor(N/pow(2,floor(X*" +
                             std::to_string(kBits) + "/W))),2)':cb=128:cr=128";

struct BGRA {
  int b = 0, g = 0, r = 0, a = 0;
};

BGRA pixelAt(const PixelBuffer& buffer, int x, int y) {
  const std::uint8_t* px = buffer.row(y) + 4 * x;
  return BGRA{px[0], px[1], px[2], px[3]};
}

int frameNumber(const PixelBuffer& buffer) {
  int number = 0;
  for (int bit = 0; bit < kBits; ++bit) {
    const int x = static_cast<int>((bit + 0.5) * buffer.width() / kBits);
    if (pixelAt(buffer, x, buffer.height() / 2).g > 128) number |= 1 << bit;
  }
  return number;
}

class LoopingVideoSourceTest : public ::testing::Test {
 protected:
  std::filesystem::path make(const std::string& name, const std::vector<std::string>& arguments) {
    std::vector<std::string> argv{testing::findProgram("ffmpeg", "ffmpeg"), "-v", "error", "-nostdin", "-y"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    argv.push_back(dir / name);
    EXPECT_EQ(testing::runProcess(argv, dir / "ffmpeg.log", 60), 0) << testing::readFile(dir / "ffmpeg.log");
    return dir / name;
  }
  std::filesystem::path counterClip() {
    return make("counter.mp4", {"-f", "lavfi", "-i", kCounter, "-c:v", "libx264", "-g", "30", "-crf", "12"});
  }

  std::unique_ptr<LoopingVideoSource> open(const std::filesystem::path& file) {
    auto clip = std::make_unique<LoopingVideoSource>(
        file, queue, LoopingVideoSource::Options{.hostClock = [this] { return now; }, .pumpTimer = false});
    return clip;
  }
  void start(LoopingVideoSource& clip) {
    clip.start([](std::optional<std::string>) {});
  }
  // One pump tick once the decoder has caught up with the clock.
  void tick(LoopingVideoSource& clip) {
    ASSERT_TRUE(testing::waitFor([&] { return clip.decoderIdle(); }, 20));
    clip.pump();
  }
  // Runs the clock on frame by frame for `seconds`, pumping on each.
  void run(LoopingVideoSource& clip, double seconds) {
    for (double left = seconds; left > 1e-9; left -= kFrame) {
      now += std::min(kFrame, left);
      tick(clip);
    }
  }
  int shown(const LoopingVideoSource& clip) {
    auto frame = clip.latestFrame();
    return frame ? frameNumber(*frame) : -1;
  }

  testing::TempDir dir;
  testing::ManualMainQueue queue;
  // Mid-frame, so a picture's rounded time never sits on the clock's edge.
  double now = 1000.0 + kFrame / 2;
};

TEST_F(LoopingVideoSourceTest, PlaysAndLoopsBackToTheInPoint) {
  const auto file = counterClip();
  struct Case {
    double trimStart;
    std::optional<double> trimEnd;
    double played;
    int frame;
  };
  for (const Case& c : {Case{0, std::nullopt, 0.5, 15}, Case{0, std::nullopt, 4.2, 6}, Case{1, 2, 0.4, 42},
                        Case{1, 2, 1.5, 45}, Case{3.5, std::nullopt, 0.7, 111}}) {
    auto clip = open(file);
    clip->setTrim(c.trimStart, c.trimEnd);
    start(*clip);
    tick(*clip);
    run(*clip, c.played);
    EXPECT_EQ(shown(*clip), c.frame) << "in " << c.trimStart << ", played " << c.played;
    EXPECT_TRUE(clip->isPlaying());
  }
}

TEST_F(LoopingVideoSourceTest, SeekShowsTheExactFrame) {
  auto clip = open(counterClip());
  start(*clip);
  clip->pause();
  for (int frame : {0, 17, 29, 30, 31, 77, 119, 5}) {
    clip->seek((frame + 0.5) * kFrame);
    tick(*clip);
    EXPECT_EQ(shown(*clip), frame);
  }
  EXPECT_FALSE(clip->isPlaying());
}

TEST_F(LoopingVideoSourceTest, OutPointReachedWhilePausedStaysPaused) {
  auto clip = open(counterClip());
  clip->setTrim(1, 2);
  start(*clip);
  clip->pause();
  clip->seek(2.5);
  EXPECT_DOUBLE_EQ(clip->currentTime(), 1.0);
  run(*clip, 1.0);
  EXPECT_FALSE(clip->isPlaying());
  EXPECT_EQ(shown(*clip), 30);
}

TEST_F(LoopingVideoSourceTest, TrimIsClampedAndMovesAPlayheadOutsideIt) {
  struct Case {
    double start;
    std::optional<double> end;
    double trimStart;
    std::optional<double> trimEnd;
    double playhead;
  };
  const auto file = counterClip();
  for (const Case& c : {Case{5, 3, 5, 5.1, 5}, Case{-2, std::nullopt, 0, std::nullopt, 3}, Case{1, 2, 1, 2, 1},
                        Case{0.5, 3.5, 0.5, 3.5, 3}}) {
    auto clip = open(file);
    start(*clip);
    clip->pause();
    clip->seek(3);
    std::optional<std::pair<double, std::optional<double>>> told;
    clip->onTrimChanged = [&](double in, std::optional<double> out) { told = {in, out}; };
    clip->setTrim(c.start, c.end);
    EXPECT_DOUBLE_EQ(clip->trimStart(), c.trimStart);
    EXPECT_EQ(clip->trimEnd().has_value(), c.trimEnd.has_value());
    if (c.trimEnd) {
      EXPECT_NEAR(*clip->trimEnd(), *c.trimEnd, 1e-9);
    }
    EXPECT_DOUBLE_EQ(clip->currentTime(), c.playhead) << "trim " << c.start;
    ASSERT_TRUE(told);
    EXPECT_DOUBLE_EQ(told->first, c.trimStart);
  }
}

TEST_F(LoopingVideoSourceTest, ColoursAlphaAndTurnsComeFromTheStream) {
  struct Case {
    std::string name;
    std::vector<std::string> arguments;
    BGRA expected;
    int tolerance;
  };
  const std::vector<Case> cases{
      {"bt709.mp4",
       {"-f", "lavfi", "-i", "color=c=0xC04020:s=64x64:d=0.2", "-vf", "scale=out_color_matrix=bt709:out_range=tv",
        "-pix_fmt", "yuv420p", "-colorspace", "bt709", "-color_range", "tv", "-c:v", "libx264", "-crf", "0"},
       {0x20, 0x40, 0xC0, 255},
       3},
      {"full.mov",
       {"-f", "lavfi", "-i", "color=c=0xC04020:s=64x64:d=0.2", "-vf", "scale=out_color_matrix=bt601:out_range=pc",
        "-pix_fmt", "yuvj420p", "-c:v", "mjpeg", "-q:v", "1"},
       {0x20, 0x40, 0xC0, 255},
       3},
      {"qtrle.mov",
       {"-f", "lavfi", "-i", "color=c=0xFF8000@0.5:s=64x64:d=0.2,format=argb", "-c:v", "qtrle"},
       {0, 64, 128, 128},
       2},
      {"prores.mov",
       {"-f", "lavfi", "-i", "color=c=0xFF8000@0.5:s=64x64:d=0.2,format=yuva444p10le", "-c:v", "prores_ks",
        "-profile:v", "4444"},
       {0, 64, 128, 128},
       4},
      {"vp9.webm",
       {"-f", "lavfi", "-i", "color=c=0xFF8000@0.5:s=64x64:d=0.2,format=yuva420p", "-c:v", "libvpx-vp9", "-lossless",
        "1"},
       {0, 64, 128, 128},
       4},
  };
  for (const Case& c : cases) {
    auto clip = open(make(c.name, c.arguments));
    start(*clip);
    tick(*clip);
    auto frame = clip->latestFrame();
    ASSERT_TRUE(frame) << c.name << ": " << clip->lastError();
    const BGRA got = pixelAt(*frame, 32, 32);
    EXPECT_NEAR(got.b, c.expected.b, c.tolerance) << c.name;
    EXPECT_NEAR(got.g, c.expected.g, c.tolerance) << c.name;
    EXPECT_NEAR(got.r, c.expected.r, c.tolerance) << c.name;
    EXPECT_NEAR(got.a, c.expected.a, c.tolerance) << c.name;
  }

  // A display matrix of a quarter turn: the blue top left corner stands where ffmpeg's own player shows it.
  const auto upright = make("upright.mp4", {"-f", "lavfi", "-i", "color=red:s=320x240:d=0.2,drawbox=w=32:h=32:c=blue:t=fill",
                                            "-c:v", "libx264"});
  auto turned = open(make("turned.mp4", {"-i", upright.string(), "-c", "copy", "-metadata:s:v:0", "rotate=90"}));
  start(*turned);
  tick(*turned);
  auto frame = turned->latestFrame();
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->width(), 240);
  EXPECT_EQ(frame->height(), 320);
  EXPECT_GT(pixelAt(*frame, 10, 310).b, 200);
  EXPECT_LT(pixelAt(*frame, 10, 10).b, 60);
}

TEST_F(LoopingVideoSourceTest, UnreadableFilesShowNothingAndSayWhy) {
  const auto whole = counterClip();
  std::ifstream in(whole, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), {});
  testing::writeFile(dir / "cut.mp4", bytes.substr(0, bytes.size() / 2));
  testing::writeFile(dir / "noise.mp4", std::string(4096, 'x'));
  for (const char* name : {"missing.mp4", "cut.mp4", "noise.mp4"}) {
    auto clip = open(dir / name);
    start(*clip);
    run(*clip, 0.2);
    EXPECT_FALSE(clip->latestFrame()) << name;
    EXPECT_FALSE(clip->lastError().empty()) << name;
  }
  // A file cut short after its header plays what it holds and loops over it.
  const auto fast = make("fast.mp4", {"-f", "lavfi", "-i", kCounter, "-c:v", "libx264", "-g", "30", "-movflags",
                                      "+faststart"});
  std::ifstream fastIn(fast, std::ios::binary);
  std::string fastBytes((std::istreambuf_iterator<char>(fastIn)), {});
  testing::writeFile(dir / "fastcut.mp4", fastBytes.substr(0, fastBytes.size() / 2));
  auto clip = open(dir / "fastcut.mp4");
  start(*clip);
  tick(*clip);
  run(*clip, 5);
  EXPECT_TRUE(clip->latestFrame());
}

TEST_F(LoopingVideoSourceTest, ParkedClipDecodesNothing) {
  auto clip = open(counterClip());
  start(*clip);
  run(*clip, 0.5);
  clip->park();
  ASSERT_TRUE(testing::waitFor([&] { return clip->decoderIdle(); }));
  const auto decoded = clip->decodedPictures();
  run(*clip, 1.0);
  EXPECT_EQ(clip->decodedPictures(), decoded);
  EXPECT_EQ(shown(*clip), 15);
  clip->resume();
  run(*clip, 0.5);
  EXPECT_GT(clip->decodedPictures(), decoded);
  EXPECT_EQ(shown(*clip), 30);
}

TEST_F(LoopingVideoSourceTest, SoundIsStampedOnThePicturesClock) {
  // A click at every whole second against the counter; the sound at 44.1 kHz goes through the resampler.
  const auto file = make("clicks.mov", {"-f", "lavfi", "-i", kCounter, "-f", "lavfi", "-i",
                                        "aevalsrc='if(lt(mod(t,1),0.002),0.9,0)':s=44100:d=4", "-c:v", "libx264", "-g",
                                        "30", "-c:a", "pcm_s16le", "-shortest"});
  auto clip = open(file);
  std::vector<double> clicks;
  bool loud = false;
  clip->setSoundSink([&](PcmBuffer& block, double hostTime) {
    for (std::uint32_t i = 0; i < block.frameLength; ++i) {
      const bool now = std::abs(block.planes[0][i]) > 0.5f;
      if (now && !loud) clicks.push_back(hostTime + static_cast<double>(i) / kCommonSampleRate);
      loud = now;
    }
  });
  std::map<int, double> frameTimes;
  start(*clip);
  tick(*clip);
  for (int i = 0; i < 75; ++i) {
    now += kFrame;
    tick(*clip);
    if (auto frame = clip->latestFrame()) frameTimes.emplace(frameNumber(*frame), frame->hostTime());
  }
  ASSERT_GE(clicks.size(), 2u);
  for (int second : {1, 2}) {
    ASSERT_TRUE(frameTimes.count(30 * second));
    const double click = clicks[static_cast<std::size_t>(second)] ;
    EXPECT_NEAR(click, frameTimes[30 * second], kFrame) << "second " << second;
  }
}

}  // namespace
}  // namespace tavorin

#include "platform/media/ClipRangeCopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/ChildProcess.h"
#include "support/Ffprobe.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

// Each picture shows its own number in binary: seven vertical stripes, white for a set bit.
const std::string kCounter =
    "color=black:s=320x240:r=30:d=4,format=yuv420p,geq=lum='255*mod(floor(N/pow(2,floor(X*7/W))),2)':cb=128:cr=128";

// The number a picture of the counter shows, read from its grey row 120.
int counterNumber(const std::string& picture) {
  int number = 0;
  for (int bit = 0; bit < 7; ++bit) {
    const int x = static_cast<int>((bit + 0.5) * 320 / 7);
    if (static_cast<unsigned char>(picture[120 * 320 + x]) > 128) number |= 1 << bit;
  }
  return number;
}

// With and without reordered pictures: B-frames lean on a reference decoded
// before them that shows after the out point, which is kept, and with it the
// few pictures of its group past the out point.
TEST(ClipRangeCopyTest, CopiesTheRangeWithoutReencodingFromTheInPointToTheOutPoint) {
  testing::TempDir dir;
  const std::string ffmpeg = testing::findProgram("ffmpeg", "ffmpeg");
  const struct {
    const char* bFrames;
    int pastTheOutPoint;  // at most
  } rows[] = {{"0", 0}, {"2", 3}};
  for (const auto& [bFrames, pastTheOutPoint] : rows) {
    SCOPED_TRACE(std::string("B-frames: ") + bFrames);
    const auto source = dir / (std::string("counter-") + bFrames + ".mp4");
    ASSERT_EQ(testing::runProcess({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i", kCounter, "-f",
                                   "lavfi", "-i", "sine=duration=4", "-c:v", "libx264", "-g", "30", "-bf", bFrames,
                                   "-c:a", "aac", source},
                                  dir / "ffmpeg.log"),
              0);
    const auto cut = dir / (std::string("cut-") + bFrames + ".mov");
    ASSERT_EQ(copyClipRange(source, cut, 1.5, 2.5), std::nullopt);

    const auto info = testing::probe(cut);
    ASSERT_NE(testing::streamOf(info, "video"), nullptr);
    ASSERT_NE(testing::streamOf(info, "audio"), nullptr);
    EXPECT_EQ((*testing::streamOf(info, "video"))["codec_name"], "h264");
    EXPECT_NEAR(testing::number(info["format"]["duration"]), 1.0 + pastTheOutPoint / 60.0, (1.0 + pastTheOutPoint / 2.0) / 30 + 0.03);
    // The very samples of the source, from the key frame before the in point.
    const auto original = testing::packetHashes(source, "v");
    const auto copied = testing::packetHashes(cut, "v");
    ASSERT_FALSE(copied.empty());
    EXPECT_NE(std::search(original.begin(), original.end(), copied.begin(), copied.end()), original.end());

    // ffmpeg honours the edit list: the pictures shown run from frame 45, none broken, to the out point.
    const auto pictures = testing::outputOf(
        {ffmpeg, "-v", "error", "-nostdin", "-i", cut, "-f", "rawvideo", "-pix_fmt", "gray", "-"}, dir / "decode.log");
    ASSERT_TRUE(pictures && pictures->size() >= 320u * 240u && pictures->size() % (320u * 240u) == 0);
    const std::size_t count = pictures->size() / (320u * 240u);
    EXPECT_EQ(counterNumber(pictures->substr(0, 320 * 240)), 45);
    const int last = counterNumber(pictures->substr((count - 1) * 320 * 240, 320 * 240));
    EXPECT_GE(last, 73);
    EXPECT_LE(last, 75 + pastTheOutPoint);
    EXPECT_EQ(testing::readFile(dir / "decode.log"), "") << "no picture lost its reference";
  }
  EXPECT_NE(copyClipRange(dir / "missing.mp4", dir / "none.mov", 0, 1), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(dir / "none.mov"));
}

}  // namespace
}  // namespace tavorin

#include "platform/media/ImageDecoder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

struct BGRA {
  int b = 0, g = 0, r = 0, a = 0;
  friend bool operator==(const BGRA&, const BGRA&) = default;
  friend std::ostream& operator<<(std::ostream& os, const BGRA& p) {
    return os << "(b " << p.b << ", g " << p.g << ", r " << p.r << ", a " << p.a << ")";
  }
};

BGRA pixelAt(const PixelBuffer& buffer, int x, int y) {
  const std::uint8_t* px = buffer.row(y) + 4 * x;
  return BGRA{px[0], px[1], px[2], px[3]};
}

bool near(const BGRA& p, const BGRA& q, int tolerance) {
  return std::abs(p.b - q.b) <= tolerance && std::abs(p.g - q.g) <= tolerance && std::abs(p.r - q.r) <= tolerance &&
         std::abs(p.a - q.a) <= tolerance;
}

class ImageDecoderTest : public ::testing::Test {
 protected:
  // Makes `output` with ffmpeg from a lavfi graph, or from `samples` repeated
  // over an 8 by 8 picture of `pixelFormat` when given.
  PixelBufferRef decoded(const std::string& output, const std::string& source, std::vector<std::string> extra = {},
                         const std::vector<std::uint8_t>& samples = {}) {
    std::vector<std::string> argv{"/usr/bin/ffmpeg", "-v", "error", "-nostdin", "-y"};
    if (samples.empty()) {
      argv.insert(argv.end(), {"-f", "lavfi", "-i", source});
    } else {
      std::string raw;
      for (int i = 0; i < 64; ++i) raw.append(samples.begin(), samples.end());
      testing::writeFile(dir / "samples.raw", raw);
      argv.insert(argv.end(), {"-f", "rawvideo", "-pix_fmt", source, "-s", "8x8", "-i", dir / "samples.raw",
                               "-pix_fmt", source});
    }
    argv.insert(argv.end(), extra.begin(), extra.end());
    argv.insert(argv.end(), {"-frames:v", "1", dir / output});
    EXPECT_TRUE(std::filesystem::exists(argv[0])) << "the test pictures are made by the Debian package ffmpeg";
    EXPECT_EQ(testing::runProcess(argv, dir / "ffmpeg.log"), 0) << testing::readFile(dir / "ffmpeg.log");
    auto image = decodeImageFile(dir / output);
    EXPECT_TRUE(image.buffer) << image.error;
    return image.buffer;
  }

  testing::TempDir dir;
};

TEST_F(ImageDecoderTest, OpaqueColourAndGreyComeOutExact) {
  auto rgb = decoded("rgb.png", "rgb24", {}, {255, 128, 3});
  ASSERT_TRUE(rgb);
  EXPECT_EQ(rgb->width(), 8);
  EXPECT_EQ(pixelAt(*rgb, 7, 7), (BGRA{3, 128, 255, 255}));
  auto grey = decoded("grey.png", "gray", {}, {128});
  ASSERT_TRUE(grey);
  EXPECT_EQ(pixelAt(*grey, 0, 0), (BGRA{128, 128, 128, 255}));
}

TEST_F(ImageDecoderTest, EveryKindOfAlphaComesOutPremultiplied) {
  // Straight orange (255, 128, 0) at alpha 128 is premultiplied (128, 64, 0).
  const BGRA halfOrange{0, 64, 128, 128};
  auto rgba = decoded("rgba.png", "rgba", {}, {255, 128, 0, 128});
  ASSERT_TRUE(rgba);
  EXPECT_PRED3(near, pixelAt(*rgba, 3, 3), halfOrange, 1);
  auto deep = decoded("deep.png", "rgba64be", {}, {0xFF, 0xFF, 0x80, 0x80, 0, 0, 0x80, 0x80});
  ASSERT_TRUE(deep);
  EXPECT_PRED3(near, pixelAt(*deep, 3, 3), halfOrange, 1);
  auto webp = decoded("half.webp", "color=c=0xFF8000@0.5:s=16x16,format=rgba", {"-c:v", "libwebp"});
  ASSERT_TRUE(webp);
  EXPECT_PRED3(near, pixelAt(*webp, 8, 8), (BGRA{0, 64, 127, 127}), 3);
  auto palette = decoded("palette.png",
                         "color=c=blue:s=4x4:d=0.04,format=rgba[a];color=c=green@0.0:s=4x4:d=0.04,format=rgba[b];"
                         "[a][b]hstack,split[x][y];[x]palettegen=reserve_transparent=1[p];[y][p]paletteuse");
  ASSERT_TRUE(palette);
  EXPECT_EQ(pixelAt(*palette, 0, 0), (BGRA{255, 0, 0, 255}));
  EXPECT_EQ(pixelAt(*palette, 7, 3), (BGRA{0, 0, 0, 0})) << "a transparent entry keeps none of its colour";
}

TEST_F(ImageDecoderTest, JpegFullRangeIsKept) {
  auto jpeg = decoded("pale.jpg", "color=c=0xD0E0F0:s=64x32", {"-q:v", "2"});
  ASSERT_TRUE(jpeg);
  EXPECT_PRED3(near, pixelAt(*jpeg, 32, 16), (BGRA{0xF0, 0xE0, 0xD0, 255}), 6);
}

TEST_F(ImageDecoderTest, LargePicturesShrinkToFitWithoutBleedingAndNoSideGoesBelowTwo) {
  EXPECT_EQ(fittedImageSize(4000, 1000, 1920, 1080), (ImagePixelSize{1920, 480}));
  EXPECT_EQ(fittedImageSize(100, 100, 1920, 1080), (ImagePixelSize{100, 100}));
  EXPECT_EQ(fittedImageSize(1, 5000, 1920, 1080), (ImagePixelSize{2, 1080}));

  // Left half transparent green, right half opaque red.
  auto wide = decoded("wide.png", "color=c=green@0.0:s=2000x1000,format=rgba[l];"
                                  "color=c=red:s=2000x1000,format=rgba[r];[l][r]hstack");
  ASSERT_TRUE(wide);
  ASSERT_EQ(wide->width(), 1920);
  ASSERT_EQ(wide->height(), 480);
  for (int x = 950; x < 970; ++x) {
    const BGRA px = pixelAt(*wide, x, 240);
    EXPECT_EQ(px.g, 0) << "transparent pixels lend no colour, x " << x;
    EXPECT_NEAR(px.r, px.a, 1) << x;
  }
  auto tall = decoded("tall.png", "color=c=red:s=2x5000,format=rgb24,crop=1:5000:0:0");
  ASSERT_TRUE(tall);
  EXPECT_EQ(tall->width(), 2);
  EXPECT_EQ(tall->height(), 1080);
  EXPECT_EQ(pixelAt(*tall, 1, 500), (BGRA{0, 0, 255, 255}));
}

TEST_F(ImageDecoderTest, UnreadableFilesGiveAnErrorNamingTheFile) {
  testing::writeFile(dir / "notes.txt", "not a picture at all\n");
  testing::writeFile(dir / "fake.png", "not a picture at all\n");
  std::filesystem::create_directory(dir / "folder.png");
  for (const char* name : {"missing.png", "notes.txt", "fake.png", "folder.png"}) {
    auto image = decodeImageFile(dir / name);
    EXPECT_FALSE(image.buffer) << name;
    EXPECT_NE(image.error.find(name), std::string::npos) << image.error;
  }
}

}  // namespace
}  // namespace tavorin

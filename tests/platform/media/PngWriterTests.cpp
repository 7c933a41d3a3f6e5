#include "platform/media/PngWriter.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "platform/media/ImageDecoder.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

void expectRoundTrip(const PixelBuffer& written, const std::filesystem::path& path, int tolerance) {
  std::string error;
  ASSERT_TRUE(writePNG(written, path, &error)) << error;
  auto read = decodeImageFile(path);
  ASSERT_TRUE(read.buffer) << read.error;
  ASSERT_EQ(read.buffer->width(), written.width());
  ASSERT_EQ(read.buffer->height(), written.height());
  for (int y = 0; y < written.height(); ++y) {
    for (int i = 0; i < 4 * written.width(); ++i) {
      EXPECT_NEAR(read.buffer->row(y)[i], written.row(y)[i], tolerance) << "row " << y << " byte " << i;
    }
  }
}

TEST(PngWriterTest, PremultipliedPicturesSurviveARoundTripWrittenAtomically) {
  testing::TempDir dir;
  auto translucent = PixelBuffer::make(3, 2);
  translucent->fill(0, 0, 0, 0);
  const std::uint8_t samples[] = {10, 60, 128, 128, 255, 255, 255, 255, 1, 2, 3, 4};
  std::copy(std::begin(samples), std::end(samples), translucent->row(1));
  testing::writeFile(dir / "translucent.png", "an older file");
  expectRoundTrip(*translucent, dir / "translucent.png", 1);

  auto opaque = PixelBuffer::make(70, 2);
  opaque->fill(30, 90, 250, 255);
  expectRoundTrip(*opaque, dir / "opaque.png", 0);
  EXPECT_EQ(testing::entriesIn(dir.path()), 2u) << "no temporary file is left behind";

  std::string error;
  EXPECT_FALSE(writePNG(*opaque, dir / "no-such-folder" / "x.png", &error));
  EXPECT_NE(error.find("no-such-folder"), std::string::npos) << error;
}

}  // namespace
}  // namespace tavorin

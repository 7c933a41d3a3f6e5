#include <gtest/gtest.h>

#include <string>

#include "sources/StillPixels.h"
#include "sources/TextPainter.h"
#include "support/PrivateFonts.h"

namespace tavorin {
namespace {

using testing::pixelUp;
using testing::samePixels;

// Before any test sets text in this binary.
const auto* const kFonts = ::testing::AddGlobalTestEnvironment(new testing::PrivateFonts);

TextConfig title(std::string text, double fontSize = 40) {
  TextConfig config;
  config.text = std::move(text);
  config.fontSize = fontSize;
  return config;
}

TEST(TextPainterTest, PictureIsTheTextPlusPaddingWithinItsLimits) {
  TextPainter painter;
  auto sizeOf = [&](const TextConfig& config) {
    PixelBufferRef picture = painter.draw(config);
    EXPECT_TRUE(picture);
    return picture ? std::pair{picture->width(), picture->height()} : std::pair{0, 0};
  };
  auto padded = [](TextConfig config, double padding) {
    config.padding = padding;
    return config;
  };
  const auto [textWidth, lineHeight] = sizeOf(padded(title("Text", 20), 0));

  // Padding 0 and a padding of exactly 2 pixels both leave the 2-pixel margin.
  EXPECT_EQ(sizeOf(padded(title("Text", 20), 0.1)), std::pair(textWidth, lineHeight));
  EXPECT_EQ(sizeOf(padded(title("Text", 20), 0.5)), std::pair(textWidth + 16, lineHeight + 16));
  EXPECT_GT(lineHeight, 4 + 20) << "a line of 20-pixel text and the margin";

  // An empty title keeps the height of one line.
  const auto [emptyWidth, emptyHeight] = sizeOf(padded(title("", 20), 0));
  EXPECT_EQ(emptyHeight, lineHeight);
  EXPECT_GE(emptyWidth, TextPainter::kMinSide);
  EXPECT_LT(emptyWidth, textWidth);

  // A long title wraps at 3200; past 4096 pixels of height it is cut off.
  std::string words;
  for (int i = 0; i < 400; ++i) words += "word ";
  const auto [wrappedWidth, wrappedHeight] = sizeOf(title(words, 40));
  EXPECT_LE(wrappedWidth, 3200 + 2 * 12);
  EXPECT_GT(wrappedWidth, 3000);
  EXPECT_GT(wrappedHeight, 2 * lineHeight);
  EXPECT_EQ(sizeOf(title(words, 400)).second, TextPainter::kMaxSide);
  EXPECT_EQ(sizeOf(title("W", 100000)), std::pair(TextPainter::kMaxSide, TextPainter::kMaxSide));
}

TEST(TextPainterTest, BackgroundCornerRadiusIsClampedToAShareOfHalfTheShorterSide) {
  struct Case {
    double cornerRadius;
    bool cornerPainted;  // the panel's pixel next to the picture's corner
  };
  const Case cases[] = {{-1, true}, {0, true}, {0.35, false}, {1, false}, {5, false}};
  TextPainter painter;
  auto draw = [&](double cornerRadius) {
    TextConfig config = title("Panel");
    config.backgroundEnabled = true;
    config.background.color1 = {0, 0, 1, 1};
    config.cornerRadius = cornerRadius;
    return painter.draw(config);
  };
  for (const auto& c : cases) {
    PixelBufferRef picture = draw(c.cornerRadius);
    ASSERT_TRUE(picture);
    const int top = picture->height() - 1;
    EXPECT_EQ(pixelUp(*picture, 0, 0).a, 0) << "the panel is inset by a pixel";
    EXPECT_EQ(pixelUp(*picture, 1, 1).a, c.cornerPainted ? 255 : 0) << c.cornerRadius;
    EXPECT_EQ(pixelUp(*picture, picture->width() - 2, top - 1).a, c.cornerPainted ? 255 : 0) << c.cornerRadius;
    EXPECT_EQ(pixelUp(*picture, picture->width() / 2, 2).b, 255) << "the panel's edge midway";
  }
  EXPECT_TRUE(samePixels(*draw(5), *draw(1)));
  EXPECT_TRUE(samePixels(*draw(-1), *draw(0)));
}

TEST(TextPainterTest, FontNamesAreHonouredAndAnUnknownOneIsTheSystemFont) {
  TextPainter painter;
  auto draw = [&](const std::string& fontName) {
    TextConfig config = title("Hamburgefonstiv");
    config.fontName = fontName;
    return painter.draw(config);
  };
  const PixelBufferRef system = draw("DejaVu Sans");
  EXPECT_TRUE(samePixels(*draw("No Such Family"), *system));
  EXPECT_TRUE(samePixels(*draw("Helvetica Neue"), *system));
  EXPECT_TRUE(samePixels(*draw("dejavu serif"), *draw("DejaVu Serif")));
  EXPECT_FALSE(samePixels(*draw("DejaVu Serif"), *system));
}

TEST(TextPainterTest, ScriptsShapeWithoutMissingGlyphs) {
  const char* texts[] = {"مرحبا بالعالم", "नमस्ते दुनिया", "Grüße, café", "שָׁלוֹם"};
  TextPainter painter;
  for (const char* text : texts) {
    TextLayout layout = painter.layout(title(text));
    EXPECT_EQ(layout.unknownGlyphCount(), 0) << text;
    EXPECT_EQ(layout.lineCount(), 1) << text;
  }
}

// Ink of the text, weighed by columns, in a band of rows (y up).
double inkCentreX(const PixelBuffer& picture, int fromY, int toY) {
  double sum = 0, weight = 0;
  for (int y = fromY; y < toY; ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const double a = pixelUp(picture, x, y).a;
      sum += a * x;
      weight += a;
    }
  }
  return weight > 0 ? sum / weight / picture.width() : -1;
}

TEST(TextPainterTest, LinesReadTopDownAndAlignAcrossThePicture) {
  struct Case {
    TextConfig::Align alignment;
    double shortLineCentre;  // a share of the width
  };
  const Case cases[] = {{TextConfig::Align::left, 0.1}, {TextConfig::Align::center, 0.5}, {TextConfig::Align::right, 0.9}};
  TextPainter painter;
  for (const auto& c : cases) {
    TextConfig config = title("WWWWWWWWWWWW\nW");
    config.padding = 0;
    config.alignment = c.alignment;
    PixelBufferRef picture = painter.draw(config);
    ASSERT_TRUE(picture);
    const int half = picture->height() / 2;
    EXPECT_NEAR(inkCentreX(*picture, half, picture->height()), 0.5, 0.05) << "the long line on top";
    EXPECT_NEAR(inkCentreX(*picture, 0, half), c.shortLineCentre, 0.06) << enumName(c.alignment);
  }
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include <cstdlib>

#include "sources/ShapePainter.h"
#include "sources/StillPixels.h"

namespace tavorin {
namespace {

using testing::pixelUp;

TEST(ShapePainterTest, EachShapeCoversItsOutlineWithTheUpwardSpace) {
  struct Probe {
    int x, y;  // y up
    bool inside;
  };
  struct Case {
    ShapeType shape;
    std::vector<Probe> probes;
  };
  // R runs from 40.96 to 983.04 on both axes; its centre is 512.
  const Case cases[] = {
      {ShapeType::rectangle, {{42, 42, true}, {981, 981, true}, {39, 512, false}, {512, 985, false}}},
      {ShapeType::square, {{42, 512, true}, {981, 512, true}, {39, 512, false}}},
      {ShapeType::circle, {{42, 512, true}, {512, 981, true}, {60, 60, false}, {960, 960, false}}},
      // Vertices at 30° + 60°i: points at the top and bottom, flat sides left and right.
      {ShapeType::hexagon, {{512, 45, true}, {512, 979, true}, {100, 512, false}, {110, 100, false}}},
      {ShapeType::octagon, {{512, 100, true}, {512, 60, false}, {60, 60, false}}},
      // The first tip at −90° is at the bottom; the top is between two tips.
      {ShapeType::star, {{512, 50, true}, {512, 900, false}, {60, 512, false}}},
      // The heart's point is at the bottom, its dip at the top.
      {ShapeType::heart, {{512, 60, true}, {512, 900, false}, {280, 800, true}, {744, 800, true}}},
  };
  ShapePainter painter;
  for (const auto& c : cases) {
    PixelBufferRef picture = painter.draw({.shape = c.shape, .fill = {.color1 = {1, 1, 1, 1}}});
    ASSERT_TRUE(picture);
    ASSERT_EQ(picture->width(), 1024);
    ASSERT_EQ(picture->height(), 1024);
    for (const auto& p : c.probes) {
      EXPECT_EQ(pixelUp(*picture, p.x, p.y).a, p.inside ? 255 : 0)
          << enumName(c.shape) << " at (" << p.x << ", " << p.y << ")";
    }
  }
}

TEST(ShapePainterTest, FillsRunTheirDirectionsWithOpacity) {
  const RGBAColor black{0, 0, 0, 1}, white{1, 1, 1, 1};
  struct Probe {
    int x, y;  // y up
    int red, alpha;
  };
  struct Case {
    const char* what;
    ShapeFill fill;
    std::vector<Probe> probes;
  };
  const Case cases[] = {
      {"solid: opacity 0.5 of alpha 0.8", {.style = ShapeFill::Style::solid, .color1 = {1, 0, 0, 0.8f}, .opacity = 0.5f},
       {{512, 512, 102, 102}}},
      {"linear 0°: left to right", {.style = ShapeFill::Style::linear, .color1 = black, .color2 = white, .angle = 0},
       {{45, 512, 0, 255}, {979, 512, 255, 255}, {512, 45, 128, 255}}},
      {"linear 90°: bottom to top", {.style = ShapeFill::Style::linear, .color1 = black, .color2 = white, .angle = 90},
       {{512, 45, 0, 255}, {512, 979, 255, 255}}},
      {"radial: centre out", {.style = ShapeFill::Style::radial, .color1 = black, .color2 = white},
       {{512, 512, 0, 255}, {45, 45, 255, 255}}},
      // The colour reaches color2 half a turn from the start.
      {"angular from 0°", {.style = ShapeFill::Style::angular, .color1 = black, .color2 = white, .angle = 0},
       {{970, 514, 0, 255}, {54, 510, 255, 255}, {512, 970, 128, 255}}},
      {"angular from 90°", {.style = ShapeFill::Style::angular, .color1 = black, .color2 = white, .angle = 90},
       {{514, 970, 0, 255}, {510, 54, 255, 255}}},
  };
  ShapePainter painter;
  for (const auto& c : cases) {
    PixelBufferRef picture = painter.draw({.shape = ShapeType::rectangle, .fill = c.fill});
    ASSERT_TRUE(picture);
    for (const auto& p : c.probes) {
      const auto pixel = pixelUp(*picture, p.x, p.y);
      EXPECT_NEAR(pixel.r, p.red, 4) << c.what << " at (" << p.x << ", " << p.y << ")";
      EXPECT_NEAR(pixel.a, p.alpha, 1) << c.what << " at (" << p.x << ", " << p.y << ")";
    }
  }
}

}  // namespace
}  // namespace tavorin

#include "compositor/CompositorTestSupport.h"
#include "compositor/QuadGeometry.h"

namespace tavorin::testing {
namespace {

using CornerPinDrawing = CompositorTest;

TEST(PinWeights, ParallelogramsAreAffineAndDegeneratePinsAreSafe) {
  const Float4 full = pinWeights({-1, 1}, {1, 1}, {1, -1}, {-1, -1});
  for (float w : full) EXPECT_FLOAT_EQ(w, 2);
  const Float4 line = pinWeights({0, 0}, {1, 0}, {2, 0}, {0, 1});
  for (float w : line) EXPECT_FLOAT_EQ(w, 1);
  // A trapezoid: the short edge's corners weigh more.
  const Float4 trapezoid = pinWeights({-0.5, 1}, {0.5, 1}, {1, -1}, {-1, -1});
  EXPECT_GT(trapezoid[2], trapezoid[0]);
  EXPECT_FLOAT_EQ(trapezoid[2], trapezoid[3]);
}

TEST_F(CornerPinDrawing, FourCornersLandOnTheirPinsWithPerspective) {
  frames["quads"] = quadrantFrame(100, 100, kRed, kGreen, kBlue, kWhite);
  RenderLayer layer = layerOf("quads");
  const Point tl{0.1, 0.1}, tr{0.6, 0.2}, br{0.7, 0.9}, bl{0.2, 0.7};
  layer.cornerPin = CornerPin{tl, tr, bl, br};
  layer.borderWidth = 0.2f;  // plays no part when pinned
  layer.borderColor = {1, 1, 0, 1};
  auto out = compose({layer});

  auto toward = [](Point from, Point to, double t) { return Point{from.x + (to.x - from.x) * t, from.y + (to.y - from.y) * t}; };
  const Point centroid{(tl.x + tr.x + br.x + bl.x) / 4, (tl.y + tr.y + br.y + bl.y) / 4};
  EXPECT_TRUE(near(at(*out, toward(tl, centroid, 0.15).x, toward(tl, centroid, 0.15).y), kRed));
  EXPECT_TRUE(near(at(*out, toward(tr, centroid, 0.15).x, toward(tr, centroid, 0.15).y), kGreen));
  EXPECT_TRUE(near(at(*out, toward(br, centroid, 0.15).x, toward(br, centroid, 0.15).y), kBlue));
  EXPECT_TRUE(near(at(*out, toward(bl, centroid, 0.15).x, toward(bl, centroid, 0.15).y), kWhite));
  EXPECT_TRUE(near(at(*out, 0.9, 0.1), kBlack));

  // The picture's centre goes where the pin's diagonals meet; drawn affinely
  // per triangle it would not.
  const double ex = br.x - tl.x, ey = br.y - tl.y, fx = bl.x - tr.x, fy = bl.y - tr.y;
  const double t = ((tr.x - tl.x) * fy - (tr.y - tl.y) * fx) / (ex * fy - ey * fx);
  const Point meet{tl.x + t * ex, tl.y + t * ey};
  EXPECT_TRUE(near(at(*out, toward(meet, tl, 0.06).x, toward(meet, tl, 0.06).y), kRed));
  EXPECT_TRUE(near(at(*out, toward(meet, tr, 0.06).x, toward(meet, tr, 0.06).y), kGreen));
  EXPECT_TRUE(near(at(*out, toward(meet, br, 0.06).x, toward(meet, br, 0.06).y), kBlue));
  EXPECT_TRUE(near(at(*out, toward(meet, bl, 0.06).x, toward(meet, bl, 0.06).y), kWhite));
}

TEST_F(CornerPinDrawing, FullCanvasPinEqualsAFullLayer) {
  frames["quads"] = quadrantFrame(64, 36, kRed, kGreen, kBlue, kWhite);
  RenderLayer plain = layerOf("quads");
  plain.fill = true;
  RenderLayer pinned = layerOf("quads");
  pinned.cornerPin = CornerPin::unit();
  auto a = compose({plain});
  auto b = compose({pinned});
  int worst = 0;
  for (int y = 0; y < a->height(); ++y)
    for (int x = 0; x < a->width() * 4; ++x) worst = std::max(worst, std::abs(a->row(y)[x] - b->row(y)[x]));
  EXPECT_LE(worst, 1);
}

}  // namespace
}  // namespace tavorin::testing

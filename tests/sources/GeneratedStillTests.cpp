#include <gtest/gtest.h>

#include <vector>

#include "sources/ShapeSource.h"
#include "sources/TextSource.h"

namespace tavorin {
namespace {

TEST(GeneratedStillTest, TitleDrawsOnlyWhenItsDesignChanges) {
  TextSource title("text:1", "Text");
  const FrameRef first = title.latestFrame();
  ASSERT_TRUE(first) << "drawn during construction";
  EXPECT_EQ(title.kind(), SourceKind::still);
  EXPECT_FALSE(title.canPark());

  title.start(nullptr);
  EXPECT_TRUE(title.isRunning());
  title.waitUntilDrawn();
  EXPECT_EQ(title.latestFrame(), first) << "starting draws nothing, and a still title publishes nothing more";

  std::vector<std::string> saved, observed;
  title.onConfigChange = [&](const TextConfig& config) { saved.push_back(config.text); };
  auto subscription = title.config.subscribe([&](const TextConfig& config) { observed.push_back(config.text); });
  TextConfig longer = title.config.get();
  for (const char* typed : {"T", "Ti", "Tit", "Title, typed fast"}) {
    longer.text = typed;
    title.apply(longer);
  }
  title.waitUntilDrawn();
  EXPECT_EQ(saved, (std::vector<std::string>{"T", "Ti", "Tit", "Title, typed fast"}));
  EXPECT_EQ(observed, saved);
  const FrameRef last = title.latestFrame();
  ASSERT_NE(last, first);
  EXPECT_GT(last->width(), first->width()) << "the newest design is the one shown";
  title.stop();
  EXPECT_FALSE(title.isRunning());
  EXPECT_EQ(title.latestFrame(), last);
}

TEST(GeneratedStillTest, ShapeRedrawsItsFixedSizePictureOnEachChange) {
  ShapeConfig star;
  star.shape = ShapeType::star;
  ShapeSource shape("shape:1", "Star", star);
  const FrameRef first = shape.latestFrame();
  ASSERT_TRUE(first);
  ShapeConfig circle;
  circle.shape = ShapeType::circle;
  shape.apply(circle);
  shape.waitUntilDrawn();
  const FrameRef second = shape.latestFrame();
  ASSERT_NE(second, first);
  EXPECT_EQ(second->width(), 1024);
  EXPECT_EQ(shape.config.get(), circle);
}

}  // namespace
}  // namespace tavorin

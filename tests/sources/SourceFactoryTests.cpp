#include "sources/SourceFactory.h"

#include <gtest/gtest.h>

#include "base/PixelBuffer.h"
#include "platform/media/PngWriter.h"
#include "sources/StaticSource.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

SavedSource saved(std::string id, SavedSource::Kind kind, std::string name) {
  SavedSource entry;
  entry.id = std::move(id);
  entry.kind = kind;
  entry.name = std::move(name);
  return entry;
}

TEST(SourceFactoryTest, RebuildsWhatItCanUnderTheSavedIdentity) {
  testing::TempDir dir;
  auto picture = PixelBuffer::make(2000, 2000);
  picture->fill(0, 0, 255, 255);
  ASSERT_TRUE(writePNG(*picture, dir / "big.png"));
  SourceFactory factory;

  auto image = saved("image:1", SavedSource::Kind::image, "Poster");
  EXPECT_FALSE(factory.make(image)) << "no path";
  image.filePath = (dir / "missing.png").string();
  EXPECT_FALSE(factory.make(image));
  image.filePath = (dir / "big.png").string();
  auto source = factory.make(image);
  ASSERT_TRUE(source);
  EXPECT_EQ(source->id(), "image:1");
  EXPECT_EQ(source->displayName(), "Poster");
  EXPECT_EQ(source->kind(), SourceKind::still);
  EXPECT_EQ(source->latestFrame()->width(), 1080) << "fitted inside 1920 by 1080";

  auto black = factory.make(saved("still:black", SavedSource::Kind::black, "Dark"));
  ASSERT_TRUE(black);
  EXPECT_EQ(black->displayName(), "Dark");
  auto sync = factory.make(saved("synctest:1", SavedSource::Kind::syncTest, "Sync test"));
  ASSERT_TRUE(sync);
  EXPECT_EQ(sync->kind(), SourceKind::syncTest);

  auto camera = saved("camera:x", SavedSource::Kind::camera, "Cam");
  EXPECT_FALSE(factory.make(camera)) << "a kind nobody registered";
  factory.registerKind(SavedSource::Kind::camera, [](const SavedSource& entry) -> std::shared_ptr<BaseSource> {
    return makeBlackSource(entry.id);
  });
  ASSERT_TRUE(factory.make(camera));
  EXPECT_EQ(factory.make(camera)->id(), "camera:x");
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include "app/AppModel.h"
#include "base/PixelBuffer.h"
#include "platform/media/PngWriter.h"
#include "support/FakeSource.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

TEST(AppModelSourcesTest, StoredSourcesReturnAtStartAndAfterEachDeviceChangeAndFollowScenes) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  auto logo = PixelBuffer::make(320, 180);
  logo->fill(0, 0, 255, 255);
  ASSERT_TRUE(writePNG(*logo, show / "logo.png"));
  const auto onLaterDrive = show / "drive" / "later.png";
  testing::writeFile(show / "sources.json", R"([
      {"id": "image:logo", "kind": "image", "name": "Logo", "filePath": ")" + (show / "logo.png").string() + R"("},
      {"id": "image:later", "kind": "image", "name": "Later", "filePath": ")" + onLaterDrive.string() + R"("},
      {"id": "still:black", "kind": "black", "name": "Black"}])");

  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  model.start();
  queue.runUntilIdle();
  ASSERT_EQ(model.sources->size(), 2u);
  EXPECT_EQ(model.sources->at(0)->id(), "image:logo");
  EXPECT_EQ(model.sources->at(1)->id(), "still:black");
  EXPECT_TRUE(model.sources->at(0)->isRunning());
  EXPECT_EQ(model.sourcesStore.saved->size(), 3u) << "the missing picture stays stored";
  EXPECT_TRUE(model.log->empty()) << "and is skipped without a message";
  EXPECT_EQ(model.switcher.sourcePixelSize("image:logo"), (Size{320, 180}));
  EXPECT_EQ(model.verticalSwitcher.sourcePixelSize("still:black"), (Size{1920, 1080}));
  EXPECT_FALSE(model.switcher.sourcePixelSize("image:later"));

  // The drive is mounted; the next device list brings its picture back.
  std::filesystem::create_directories(onLaterDrive.parent_path());
  ASSERT_TRUE(writePNG(*logo, onLaterDrive));
  model.audioMixer.onDevicesChanged();
  ASSERT_EQ(model.sources->size(), 3u);
  EXPECT_EQ(model.sources->at(2)->id(), "image:later");
  model.audioMixer.onDevicesChanged();
  EXPECT_EQ(model.sources->size(), 3u) << "a source in the show is not built twice";

  model.removeSource("still:black");
  EXPECT_EQ(model.sources->size(), 2u);
  EXPECT_FALSE(model.frameSlots.contains("still:black"));
  EXPECT_EQ(model.sourcesStore.saved->size(), 2u);

  auto camera = std::make_shared<testing::FakeSource>("camera:x");
  model.addSource(camera);
  model.editor.addLayer("camera:x");
  queue.runUntilIdle();
  EXPECT_EQ(camera->resumes, 1) << "a Preview layer wakes its source";
}

TEST(AppModelSourcesTest, OperatorAddsPicturesNamesAndDeletesThem) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  auto picture = PixelBuffer::make(64, 32);
  picture->fill(0, 255, 0, 255);
  const auto desktop = show / "desktop";
  const auto images = show / "library" / "Images";
  std::filesystem::create_directories(desktop);
  std::filesystem::create_directories(images);
  ASSERT_TRUE(writePNG(*picture, desktop / "logo.png"));
  ASSERT_TRUE(writePNG(*picture, images / "kept.png"));
  testing::writeFile(desktop / "notes.png", "not a picture");

  std::optional<std::string> logoID;
  {
    AppModel model(AppEnvironment{show / "library", show / "preferences.json", queue});
    model.start();
    queue.runUntilIdle();
    struct Case {
      std::filesystem::path file;
      bool added;
      bool copied;  // into the image library
      const char* logged;  // the start of the one log line, which names the file; or nothing
    };
    const Case cases[] = {
        {desktop / "logo.png", true, true, nullptr},
        {images / "kept.png", true, false, nullptr},
        {desktop / "gone.png", false, false, "Image not added — No such file: "},
        {desktop / "notes.png", false, false, "Image not added — "},
    };
    for (const Case& c : cases) {
      const std::size_t logged = model.log->size();
      const auto id = model.addImageSource(c.file);
      ASSERT_EQ(id.has_value(), c.added) << c.file;
      EXPECT_EQ(model.log->size(), logged + (c.logged ? 1 : 0)) << c.file;
      if (c.logged) {
        EXPECT_EQ(model.log->back().rfind(c.logged, 0), 0u) << model.log->back();
        EXPECT_NE(model.log->back().find(c.file.string()), std::string::npos) << model.log->back();
      }
      if (!id) continue;
      const SavedSource& saved = model.sourcesStore.saved->back();
      EXPECT_EQ(saved.id, *id);
      EXPECT_EQ(saved.name, c.file.stem().string());
      const std::filesystem::path stored = *saved.filePath;
      EXPECT_EQ(stored.parent_path() == images && stored != c.file, c.copied) << stored;
      EXPECT_TRUE(std::filesystem::exists(stored));
      EXPECT_EQ(model.sources->back()->id(), *id);
      EXPECT_EQ(model.switcher.sourcePixelSize(*id), (Size{64, 32}));
    }
    EXPECT_EQ(model.sources->size(), 2u);
    logoID = model.sources->front()->id();

    model.renameSource(*logoID, "  Sponsor ");
    model.renameSource(*logoID, " ");
    EXPECT_EQ(model.displayName(*logoID), "Sponsor");
    EXPECT_EQ(model.mediaNames->at(*logoID), "Sponsor");
    EXPECT_EQ(model.displayName("camera:unknown"), "camera:unknown");

    const std::string keptID = model.sources->back()->id();
    model.removeSource(keptID);
    EXPECT_FALSE(model.sourceLifecycle.find(keptID));
    EXPECT_EQ(model.sourcesStore.saved->size(), 1u);
  }
  AppModel model(AppEnvironment{show / "library", show / "preferences.json", queue});
  model.start();
  queue.runUntilIdle();
  ASSERT_EQ(model.sources->size(), 1u) << "the copy comes back, the deleted picture does not";
  EXPECT_EQ(model.displayName(*logoID), "Sponsor");
}

TEST(AppModelSourcesTest, FiredTransitionWakesRewindsAndPosesItsSourcesWhileItRuns) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  AppModel model(AppEnvironment{show.path(), show / "preferences.json", queue});
  model.start();
  auto title = std::make_shared<testing::FakeSource>("title:3d");
  title->turnsIn3D = true;
  model.addSource(title);
  queue.runUntilIdle();
  EXPECT_TRUE(model.sourceLifecycle.isParked("title:3d"));

  CustomTransition spin;
  spin.duration = 1;
  TransitionKeyframe first{0, LayerState::make("title:3d"), 0, 0};
  TransitionKeyframe last{1, first.state, 90, -30};
  spin.tracks.push_back({Uuid::make(), "title:3d", {first, last}});
  model.transitionStore.upsert(spin);
  model.switcher.fireTransition(spin.id);
  queue.runUntilIdle();
  EXPECT_EQ(title->replays, 1);
  EXPECT_FALSE(model.sourceLifecycle.isParked("title:3d"));

  // The render thread drives the pose; it lands on the main queue.
  model.switcher.store().programPlan(queue.now() + 1);
  EXPECT_FALSE(title->pose);
  queue.runUntilIdle();
  ASSERT_TRUE(title->pose);
  EXPECT_DOUBLE_EQ(title->pose->first, 90);
  EXPECT_DOUBLE_EQ(title->pose->second, -30);

  queue.advance(1.5);
  EXPECT_TRUE(model.switcher.firedTransitionIDs->empty());
  EXPECT_TRUE(model.sourceLifecycle.isParked("title:3d"));
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include "app/AppModel.h"
#include "support/ChildProcess.h"
#include "support/ManualMainQueue.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

TEST(AppModelClipTest, OperatorAddsAClipTrimsItAndItComesBackWithItsSound) {
  testing::TempDir show;
  testing::ManualMainQueue queue;
  const auto desktop = show / "desktop";
  std::filesystem::create_directories(desktop);
  ASSERT_EQ(testing::runProcess({testing::findProgram("ffmpeg", "ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi",
                                 "-i", "testsrc2=s=160x120:rate=30:duration=2", "-f", "lavfi", "-i",
                                 "sine=f=440:duration=2", "-c:v", "libx264", "-g", "30", "-c:a", "aac",
                                 desktop / "intro.mp4"},
                                show / "ffmpeg.log"),
            0);
  testing::writeFile(desktop / "notes.mp4", "not a clip");

  std::string id;
  {
    AppModel model(AppEnvironment{show / "library", show / "preferences.json", queue});
    model.start();
    queue.runUntilIdle();
    EXPECT_FALSE(model.addClipSource(desktop / "notes.mp4"));
    EXPECT_EQ(model.log->back().rfind("Clip not added — ", 0), 0u) << model.log->back();

    id = model.addClipSource(desktop / "intro.mp4").value_or("");
    ASSERT_FALSE(id.empty());
    const SavedSource saved = model.sourcesStore.saved->back();
    EXPECT_EQ(std::filesystem::path(*saved.filePath).parent_path(), show / "library" / "Clips");
    EXPECT_EQ(id, "clip:" + *saved.filePath);
    ASSERT_TRUE(model.sourceLifecycle.find(id));
    EXPECT_EQ(model.sourceLifecycle.find(id)->kind(), SourceKind::clip);

    model.setClipTrim(id, 0.5, 1.5);
    EXPECT_EQ(model.sourcesStore.saved->back().trimStart, 0.5);
    EXPECT_EQ(model.sourcesStore.saved->back().trimEnd, 1.5);

    model.exportClipTrim(id);
    EXPECT_EQ(model.log->back(), "Exporting trimmed clip…");
    ASSERT_TRUE(testing::waitFor([&] {
      queue.runUntilIdle();
      return model.log->back().rfind("Trimmed clip saved to the media library: intro trim ", 0) == 0;
    })) << model.log->back();
    EXPECT_EQ(model.sources->size(), 2u);
    model.setClipTrim(id, 5, std::nullopt);
    model.exportClipTrim(id);
    EXPECT_EQ(model.log->back(), "Trim export: the range is empty.");
    model.setClipTrim(id, 0.5, 1.5);

    // The clip's sound joins the mixer once its file is open, following the clip onto Program.
    model.sourceLifecycle.startSource(model.sourceLifecycle.find(id), false);
    const auto channel = [&]() -> std::optional<ChannelInfo> {
      for (const ChannelInfo& info : model.audioMixer.channels.get()) {
        if (info.id == id) return info;
      }
      return std::nullopt;
    };
    ASSERT_TRUE(testing::waitFor([&] {
      queue.runUntilIdle();
      return channel().has_value();
    }));
    EXPECT_TRUE(channel()->afv);
    EXPECT_EQ(channel()->videoSourceID, id);
  }
  AppModel model(AppEnvironment{show / "library", show / "preferences.json", queue});
  model.start();
  queue.runUntilIdle();
  auto* clip = dynamic_cast<LoopingVideoSource*>(model.sourceLifecycle.find(id).get());
  ASSERT_TRUE(clip) << "the stored clip comes back";
  EXPECT_EQ(clip->trimStart(), 0.5);
  EXPECT_EQ(clip->trimEnd(), 1.5);
}

}  // namespace
}  // namespace tavorin

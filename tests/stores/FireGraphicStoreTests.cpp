#include "stores/FireGraphicStore.h"

#include <gtest/gtest.h>

#include "model/FireGraphicJson.h"
#include "support/StoreTestFiles.h"

namespace tavorin {
namespace {

TEST(FireGraphicStore, CuesRoundTripAndAnEmptyObjectReadsAsTheBottomBand) {
  testing::TempDir dir;
  ShowFolder folder{dir / "Tavorin"};
  FireGraphic full;
  full.name = "Guest";
  full.overlayID = Uuid::make();
  full.config = {{"name", "Ada"}};
  full.center = {0.25, 0.8};
  full.size = {0.5, 0.1};
  full.durationSeconds = 10;
  full.soundID = Uuid::make();
  full.state = LayerState::make("overlay:x");
  full.state->opacity = 0.5f;
  full.enterMove = LayerAnimation::Move::slideLeft;
  full.exitMove = LayerAnimation::Move::fade;
  full.exitDuration = 0.5;
  FireGraphic clip;
  clip.sourceID = "clip:/a.mp4";
  {
    FireGraphicStore store(folder);
    store.upsert(full);
    store.upsert(clip);
    full.name = "Host";
    store.upsert(full);
  }
  FireGraphicStore reopened(folder);
  EXPECT_EQ(reopened.graphics.get(), (std::vector<FireGraphic>{full, clip}));
  reopened.remove({0, 7});
  EXPECT_EQ(FireGraphicStore(folder).graphics.get(), (std::vector<FireGraphic>{clip}));

  FireGraphic empty = Json::object();
  EXPECT_EQ(empty.name, "Cue");
  EXPECT_EQ(empty.center, (Point{0.5, 0.88}));
  EXPECT_EQ(empty.size, (Size{1.0, 0.2}));
  EXPECT_FALSE(empty.overlayID || empty.sourceID || empty.state);
  EXPECT_EQ(empty.enterDuration, 0.35);
  EXPECT_EQ(empty.exitDuration, 0.3);
}

}  // namespace
}  // namespace tavorin

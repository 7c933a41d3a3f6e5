#include "stores/SessionStore.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::TempDir;
using testing::writeFile;

TEST(SessionStoreTests, SavedSessionLoadsBackAndOpeningMakesTheRoot) {
  TempDir dir;
  ShowFolder folder(dir / "a" / "b" / "Tavorin");
  SessionStore store(folder);
  EXPECT_TRUE(std::filesystem::is_directory(folder.root()));
  EXPECT_FALSE(store.load());

  SessionState state;
  state.program = MixerScene::named("On air");
  LayerState layer;
  layer.sourceID = "cam";
  state.program.layers.push_back(layer);
  state.preview = MixerScene::named("Next");
  state.transition = "slide";
  state.duration = 1.25;
  state.lockAspect = false;
  store.save(state);
  EXPECT_EQ(SessionStore(folder).load(), state);
}

TEST(SessionStoreTests, SessionWithoutARequiredKeyDoesNotLoad) {
  TempDir dir;
  ShowFolder folder(dir.path());
  writeFile(folder.file("session.json"), R"({"program":{},"preview":{},"transition":"cut","duration":0.5})");
  EXPECT_FALSE(SessionStore(folder).load());
}

}  // namespace
}  // namespace tavorin

#include <gtest/gtest.h>

#include "platform/camera/SystemCameraDirectory.h"
#include "platform/v4l2/FakeV4L2Device.h"
#include "support/ManualMainQueue.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

namespace fs = std::filesystem;

TEST(SystemCameraDirectory, WithoutPipeWireListsV4L2NodesAndFollowsHotPlug) {
  testing::TempDir noDaemon;
  testing::ScopedEnvironment environment;
  environment.set("XDG_RUNTIME_DIR", noDaemon.path().string());
  environment.set("PIPEWIRE_RUNTIME_DIR", std::nullopt);
  environment.set("PIPEWIRE_REMOTE", std::nullopt);

  testing::TempDir root;
  testing::FakeV4L2Device io;
  auto plug = [&](const std::string& node, const std::string& card) {
    fs::create_directories(root / "sys/class/video4linux" / node);
    testing::writeFile(root / "dev" / node, "");
    io.addNode((root / "dev" / node).string(), testing::FakeNode{.card = card});
  };
  plug("video0", "Desk Camera");
  testing::ManualMainQueue queue;
  SystemCameraDirectory directory(queue, {root.path(), &io});
  int changes = 0;
  directory.onChanged = [&] { ++changes; };
  ASSERT_EQ(directory.cameras().size(), 1u);
  EXPECT_EQ(directory.cameras()[0].name, "Desk Camera");
  EXPECT_EQ(directory.cameras()[0].route, CameraDevice::Route::v4l2);

  plug("video2", "Document Camera");
  queue.advance(1.0);
  EXPECT_EQ(changes, 1);
  ASSERT_EQ(directory.cameras().size(), 2u);

  fs::remove_all(root / "sys/class/video4linux/video0");
  queue.advance(1.0);
  EXPECT_EQ(changes, 2);
  ASSERT_EQ(directory.cameras().size(), 1u);
  EXPECT_EQ(directory.cameras()[0].name, "Document Camera");
  // Nothing changed, nothing said.
  queue.advance(3.0);
  EXPECT_EQ(changes, 2);
}

}  // namespace
}  // namespace tavorin

#include "platform/v4l2/V4L2Discovery.h"

#include <gtest/gtest.h>

#include "platform/v4l2/FakeV4L2Device.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::FakeNode;
using testing::FakeV4L2Device;

TEST(V4L2Discovery, ListsCaptureNodesNamedByTheirLinksAndSkipsMetadataAndOurOwnCamera) {
  testing::TempDir root;
  namespace fs = std::filesystem;
  fs::create_directories(root / "dev/v4l/by-id");
  fs::create_directories(root / "dev/v4l/by-path");
  FakeV4L2Device io;
  auto add = [&](const std::string& name, FakeNode node) {
    fs::create_directories(root / "sys/class/video4linux" / name);
    testing::writeFile(root / "dev" / name, "");
    io.addNode((root / "dev" / name).string(), std::move(node));
  };
  // Numeric order: video10 after video2.
  add("video10", FakeNode{.card = "Capture Card", .busInfo = "pci-0000:03:00.0"});
  add("video0", FakeNode{.card = "HD Webcam"});
  add("video1", FakeNode{.card = "HD Webcam", .deviceCaps = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING});
  add("video2", FakeNode{.driver = "v4l2 loopback", .card = "Tavorin"});
  add("video3", FakeNode{.card = "Bare"});
  fs::create_symlink("../../video0", root / "dev/v4l/by-id/usb-Vendor_HD_Webcam_1234-video-index0");
  fs::create_symlink("../../video1", root / "dev/v4l/by-id/usb-Vendor_HD_Webcam_1234-video-index1");
  fs::create_symlink("../../video0", root / "dev/v4l/by-path/pci-0000:00:14.0-usb-0:1:1.0-video-index0");
  fs::create_symlink("../../video3", root / "dev/v4l/by-path/platform-bare-video-index0");

  const auto cameras = discoverV4L2Cameras(io, root.path());
  ASSERT_EQ(cameras.size(), 3u);
  EXPECT_EQ(cameras[0], (CameraDevice{"usb-Vendor_HD_Webcam_1234-video-index0", "HD Webcam", CameraDevice::Route::v4l2,
                                      (root / "dev/video0").string(), 0}));
  EXPECT_EQ(cameras[1].uniqueID, "platform-bare-video-index0");
  EXPECT_EQ(cameras[2].uniqueID, "Capture Card@pci-0000:03:00.0");
  EXPECT_EQ(cameras[2].name, "Capture Card");

  const auto before = v4l2NodeSignature(root.path());
  fs::create_directories(root / "sys/class/video4linux/video4");
  EXPECT_NE(v4l2NodeSignature(root.path()), before);
}

}  // namespace
}  // namespace tavorin

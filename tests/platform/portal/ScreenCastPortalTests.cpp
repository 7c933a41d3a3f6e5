#include "platform/portal/ScreenCastPortal.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <fstream>

#include "model/Json.h"
#include "peers/PrivateSessionBus.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"
#include "support/WaitFor.h"

namespace tavorin {
namespace {

using testing::ChildProcess;

class ScreenCastPortalTest : public ::testing::Test {
 protected:
  std::unique_ptr<ChildProcess> startPortal(std::vector<std::string> extra = {}) {
    std::vector<std::string> argv{"/usr/bin/python3", TAVORIN_TESTS_DIR "/peers/scripts/screencast_portal.py",
                                  (dir / "calls.jsonl").string(), "42"};
    argv.insert(argv.end(), extra.begin(), extra.end());
    auto portal = std::make_unique<ChildProcess>(argv, dir / "portal.log");
    EXPECT_TRUE(testing::waitFor([] { return ScreenCastPortal::available(); })) << testing::logTail(dir / "portal.log");
    return portal;
  }
  // What the portal was asked, call by call.
  std::vector<Json> calls() {
    std::vector<Json> all;
    std::ifstream file(dir / "calls.jsonl");
    for (std::string line; std::getline(file, line);) all.push_back(Json::parse(line));
    return all;
  }

  testing::PrivateSessionBus bus{false};
  testing::TempDir dir;
};

TEST_F(ScreenCastPortalTest, AShareIsGrantedThenGivenBackWithItsTokenAndClosed) {
  EXPECT_FALSE(ScreenCastPortal::available());
  auto none = ScreenCastPortal::open("");
  ASSERT_TRUE(std::holds_alternative<std::string>(none));
  EXPECT_EQ(std::get<std::string>(none).rfind("no ScreenCast portal on the session bus", 0), 0u);

  auto portal = startPortal();
  auto first = ScreenCastPortal::open("");
  ASSERT_TRUE(std::holds_alternative<std::unique_ptr<ScreenCastSession>>(first)) << std::get<std::string>(first);
  auto& session = *std::get<std::unique_ptr<ScreenCastSession>>(first);
  EXPECT_EQ(session.nodeID(), 42u);
  EXPECT_EQ(std::pair(session.width(), session.height()), std::pair(1280, 720));
  EXPECT_EQ(session.restoreToken(), "granted-1");
  const int fd = session.takePipeWireFd();
  EXPECT_GE(fcntl(fd, F_GETFD), 0) << "a descriptor of ours";
  close(fd);
  EXPECT_EQ(session.takePipeWireFd(), -1);

  auto second = ScreenCastPortal::open(session.restoreToken());
  ASSERT_TRUE(std::holds_alternative<std::unique_ptr<ScreenCastSession>>(second));
  EXPECT_EQ(std::get<std::unique_ptr<ScreenCastSession>>(second)->restoreToken(), "granted-2");
  first = std::string();
  second = std::string();

  std::vector<Json> selects, closes;
  for (const Json& call : calls()) {
    if (call["method"] == "SelectSources") selects.push_back(call["options"]);
    if (call["method"] == "Close") closes.push_back(call);
  }
  ASSERT_EQ(selects.size(), 2u);
  EXPECT_EQ(selects[0]["persist_mode"], 2) << "remembered until the operator revokes it";
  EXPECT_EQ(selects[0]["cursor_mode"], 2) << "the pointer drawn into the picture";
  EXPECT_EQ(selects[0]["types"], 3) << "a monitor or a window";
  EXPECT_FALSE(selects[0].contains("restore_token"));
  EXPECT_EQ(selects[1]["restore_token"], "granted-1");
  EXPECT_EQ(closes.size(), 2u) << "each share ends with its session";
}

TEST_F(ScreenCastPortalTest, ACancelledDialogSaysSo) {
  auto portal = startPortal({"--cancel"});
  auto result = ScreenCastPortal::open("");
  ASSERT_TRUE(std::holds_alternative<std::string>(result));
  EXPECT_EQ(std::get<std::string>(result), "the operator cancelled the screen-share dialog");
}

}  // namespace
}  // namespace tavorin

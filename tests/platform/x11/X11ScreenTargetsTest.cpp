#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "peers/PrivateXServer.h"
#include "platform/x11/TestClient.h"
#include "platform/x11/X11ScreenBackend.h"
#include "support/ScopedEnvironment.h"

namespace tavorin {
namespace {

using testing::TestWindowSpec;

ScreenTargets enumerated() {
  auto result = X11ScreenBackend().enumerate();
  if (auto* error = std::get_if<std::string>(&result)) ADD_FAILURE() << *error;
  return std::get<ScreenTargets>(result);
}

const WindowTarget* findTitled(const ScreenTargets& targets, const std::string& title) {
  const auto found = std::find_if(targets.windows.begin(), targets.windows.end(),
                                  [&](const auto& w) { return w.title == title; });
  return found == targets.windows.end() ? nullptr : &*found;
}

// Both ways of finding the windows: a window manager's stacking list, and
// without one the root's children that carry WM_STATE, framed or not.
class X11WindowListing : public ::testing::TestWithParam<bool> {};

TEST_P(X11WindowListing, ListsTitledVisibleWindowsLargerThan80Pixels) {
  const bool stackingList = GetParam();
  testing::PrivateXServer server(1600, 1000);
  testing::TestClient client;
  struct Case {
    TestWindowSpec spec;
    bool listed;
    std::string appID;
    std::string appName;
  };
  const std::string executable = std::filesystem::read_symlink("/proc/self/exe").filename();
  std::vector<Case> cases = {
      {{.title = "Editor", .appID = "org.tavorin.Editor", .wmClass = "Editor"}, true, "org.tavorin.Editor", "Editor"},
      {{.title = "Second editor", .appID = "org.tavorin.Editor", .wmClass = "Editor"}, true, "org.tavorin.Editor", "Editor"},
      {{.title = "Legacy", .netWMName = false}, true, executable, "TavorinTest"},
      {{.title = "Framed", .framed = true}, true, executable, "TavorinTest"},
      {{.title = "Narrow", .width = 79}, false, "", ""},
      {{.title = "Flat", .height = 80}, false, "", ""},
      {{.title = ""}, false, "", ""},
      {{.title = "Panel", .type = "DOCK"}, false, "", ""},
  };
  std::vector<Window> clients;
  for (auto& c : cases) {
    c.spec.wmState = !stackingList;
    clients.push_back(client.create(c.spec));
  }
  if (stackingList) client.setStackingList(clients);

  const ScreenTargets targets = enumerated();
  EXPECT_EQ(targets.windows.size(), 4u);
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const Case& c = cases[i];
    const WindowTarget* window = c.spec.title.empty() ? nullptr : findTitled(targets, c.spec.title);
    EXPECT_EQ(window != nullptr, c.listed) << c.spec.title;
    if (!window || !c.listed) continue;
    EXPECT_EQ(window->id, clients[i]) << c.spec.title;
    EXPECT_EQ(window->appID, c.appID) << c.spec.title;
    EXPECT_EQ(window->appName, c.appName) << c.spec.title;
  }
  // The two editor windows make one application.
  EXPECT_EQ(targets.applications,
            (std::vector<ApplicationTarget>{{"org.tavorin.Editor", "Editor"}, {executable, "TavorinTest"}}));
}

INSTANTIATE_TEST_SUITE_P(X11, X11WindowListing, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) { return info.param ? "StackingList" : "TreeWithWMState"; });

TEST(X11ScreenTargets, DisplayIDStaysTheSameAcrossEnumerationsAndConnections) {
  testing::PrivateXServer server(1600, 1000);
  const ScreenTargets first = enumerated();
  const ScreenTargets second = enumerated();
  ASSERT_EQ(first.displays.size(), 1u);
  const DisplayTarget& display = first.displays.front();
  EXPECT_EQ(display, second.displays.front());
  EXPECT_FALSE(display.outputName.empty());
  EXPECT_EQ(display.id, displayIDFor(display.outputName));
  EXPECT_EQ(std::make_pair(display.width, display.height), std::make_pair(1600, 1000));
}

TEST(X11ScreenTargets, NoXServerIsExplainedNotFatal) {
  testing::ScopedEnvironment environment;
  environment.set("DISPLAY", ":4095");
  auto result = X11ScreenBackend().enumerate();
  ASSERT_TRUE(std::holds_alternative<std::string>(result));
  EXPECT_EQ(std::get<std::string>(result), kNoX11Display);
  EXPECT_TRUE(X11ScreenBackend().makeCapture()->start({}, {}, [](auto) {}, [](auto&) {}).has_value());
}

}  // namespace
}  // namespace tavorin

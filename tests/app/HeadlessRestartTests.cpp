#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include "model/SceneJson.h"
#include "stores/PreferenceKeys.h"
#include "stores/Preferences.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::readFile;
using testing::runProcess;
using testing::TempDir;
using testing::writeFile;

std::optional<SessionState> readSession(const std::filesystem::path& file) {
  try {
    return Json::parse(readFile(file)).get<SessionState>();
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

SessionState sampleSession() {
  SessionState session;
  session.program = MixerScene::named("Program");
  session.program.layers.push_back(LayerState::make("still:black"));
  session.preview = MixerScene::named("Interview");
  auto guest = LayerState::make("camera:guest");
  guest.center = {0.25, 0.5};
  guest.size = {0.5, 0.5};
  session.preview.layers.push_back(guest);
  session.transition = "slide";
  session.duration = 1.25;
  session.lockAspect = false;
  return session;
}

class HeadlessApp : public ::testing::Test {
 protected:
  std::optional<int> run(std::vector<std::string> extra) {
    std::vector<std::string> argv{TAVORIN_EXECUTABLE, "--headless", "--show-dir", show.path().string()};
    argv.insert(argv.end(), extra.begin(), extra.end());
    return runProcess(argv, show / "stderr.txt");
  }

  TempDir show;
};

TEST_F(HeadlessApp, RestartFindsSessionAndLayoutsAgainInTheFirstDeck) {
  const SessionState session = sampleSession();
  std::vector<MixerScene> layouts{MixerScene::named("Opening"), MixerScene::named("Talk")};
  layouts[1].layers.push_back(LayerState::make("camera:host"));
  writeFile(show / "session.json", Json(session).dump());
  writeFile(show / "layouts.json", Json(layouts).dump());

  for (int launch = 0; launch < 2; ++launch) {
    ASSERT_EQ(run({"--seconds", "0.3"}), 0) << readFile(show / "stderr.txt");
    auto written = readSession(show / "session.json");
    ASSERT_TRUE(written) << "launch " << launch << ": session.json does not decode";
    EXPECT_EQ(*written, session) << "launch " << launch;
  }
  // The library from before decks is the first deck's, and stays where it was.
  const auto decks = Json::parse(readFile(show / "decks.json"));
  ASSERT_EQ(decks.size(), 1u);
  const auto deckFile = show / ("layouts-" + decks[0]["id"].get<std::string>() + ".json");
  EXPECT_EQ(Json::parse(readFile(deckFile)).get<std::vector<MixerScene>>(), layouts);
  EXPECT_EQ(Json::parse(readFile(show / "layouts.json")).get<std::vector<MixerScene>>(), layouts);
  const Preferences prefs(show / "preferences.json");
  EXPECT_TRUE(prefs.boolOr(prefkey::deckLayoutsMigrated, false));
  EXPECT_TRUE(prefs.boolOr(prefkey::embeddedVerticalMigrated, false));
}

TEST_F(HeadlessApp, UnreadableSessionStartsEmptyAndQuitWritesADecodableOne) {
  writeFile(show / "session.json", "{\"program\": {\"layers\": [");
  ASSERT_EQ(run({"--seconds", "0.2"}), 0) << readFile(show / "stderr.txt");
  auto written = readSession(show / "session.json");
  ASSERT_TRUE(written);
  EXPECT_TRUE(written->program.layers.empty());
  EXPECT_EQ(written->transition, "crossfade");
}

TEST_F(HeadlessApp, TermSignalTakesTheQuitPath) {
  std::vector<std::string> argv{TAVORIN_EXECUTABLE, "--headless", "--show-dir", show.path().string()};
  testing::ChildProcess child(argv, show / "stderr.txt");
  // Signal once the show runs (its first log line), however slow the start.
  for (int i = 0; i < 400 && readFile(show / "stderr.txt").find("Show folder:") == std::string::npos; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  child.signal(SIGTERM);
  EXPECT_EQ(child.wait(10), 0) << readFile(show / "stderr.txt");
  EXPECT_TRUE(readSession(show / "session.json"));
}

TEST_F(HeadlessApp, BadArgumentsPrintUsageAndExitTwo) {
  const std::vector<std::vector<std::string>> badArguments{{"--bogus"}, {"--seconds", "soon"}, {"--show-dir"}};
  for (const auto& bad : badArguments) {
    EXPECT_EQ(run(bad), 2) << bad[0];
    EXPECT_NE(readFile(show / "stderr.txt").find("usage: tavorin"), std::string::npos);
  }
  EXPECT_FALSE(std::filesystem::exists(show / "session.json")) << "a refused launch writes nothing";
}

}  // namespace
}  // namespace tavorin

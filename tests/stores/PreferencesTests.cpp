#include "stores/Preferences.h"

#include <gtest/gtest.h>

#include "support/StoreTestFiles.h"
#include "stores/PreferenceKeys.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::fileState;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

class PreferencesTests : public ::testing::Test {
 protected:
  TempDir dir;
  std::filesystem::path file = dir / "config" / "Tavorin" / "preferences.json";
};

TEST_F(PreferencesTests, EveryTypeSurvivesANewInstance) {
  {
    Preferences prefs(file);
    prefs.setBool(prefkey::onboardingDone, true);
    prefs.setInt(prefkey::presenterInkFade, 5);
    prefs.setDouble(prefkey::replayDuration, 42.5);
    prefs.setString(prefkey::canvasSize, "uhd4k");
    prefs.setStringList(prefkey::audioInputIDs, {"mic", "line"});
    prefs.setJSON(prefkey::captureQualities, {{"cam-1", "hd720"}});
  }
  Preferences prefs(file);
  EXPECT_EQ(prefs.getBool(prefkey::onboardingDone), true);
  EXPECT_EQ(prefs.getInt(prefkey::presenterInkFade), 5);
  EXPECT_EQ(prefs.getDouble(prefkey::replayDuration), 42.5);
  EXPECT_EQ(prefs.getString(prefkey::canvasSize), "uhd4k");
  EXPECT_EQ(prefs.getStringList(prefkey::audioInputIDs), (std::vector<std::string>{"mic", "line"}));
  EXPECT_EQ(prefs.getJSON(prefkey::captureQualities), (Json{{"cam-1", "hd720"}}));
}

TEST_F(PreferencesTests, BooleanDefaultingToTrueIsFalseOnlyWhenFalseIsStored) {
  Preferences prefs(file);
  EXPECT_TRUE(prefs.boolOr(prefkey::vcamEnabled, true));
  prefs.setString(prefkey::vcamEnabled, "false");
  EXPECT_TRUE(prefs.boolOr(prefkey::vcamEnabled, true));
  prefs.setBool(prefkey::vcamEnabled, false);
  EXPECT_FALSE(Preferences(file).boolOr(prefkey::vcamEnabled, true));
  prefs.remove(prefkey::vcamEnabled);
  EXPECT_FALSE(prefs.has(prefkey::vcamEnabled));
  EXPECT_TRUE(Preferences(file).boolOr(prefkey::vcamEnabled, true));
}

TEST_F(PreferencesTests, AValueOfAnotherTypeReadsAsUnset) {
  Preferences prefs(file);
  prefs.setDouble(prefkey::presenterInkFade, 2.5);
  prefs.setStringList(prefkey::recordVideoIDs, {"a"});
  EXPECT_FALSE(prefs.getInt(prefkey::presenterInkFade));
  EXPECT_FALSE(prefs.getString(prefkey::recordVideoIDs));
  EXPECT_FALSE(prefs.getBool(prefkey::recordVideoIDs));
  EXPECT_EQ(prefs.getDouble(prefkey::presenterInkFade), 2.5);
}

}  // namespace
}  // namespace tavorin

#include "stores/MixerSettingsStore.h"

#include <gtest/gtest.h>

#include "stores/PreferenceKeys.h"
#include "stores/Preferences.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

TEST(MixerSettingsStore, SurvivesANewInstanceAndReadsOlderOrBrokenTablesSafely) {
  testing::TempDir dir;
  Preferences prefs(dir / "preferences.json");
  MixerSettings settings;
  settings.routing["a"] = ChannelRouting{.level = 1.5f, .air = false, .cue = true, .name = "Host"};
  settings.channelOrder = {"b", "a"};
  settings.monitors = {MonitorSettings{.id = "monitor.1", .name = "Stage", .gain = 0.25f, .deviceUID = "hp"}};
  settings.channelFilters["a"] = {AudioFilterConfig::make(AudioFilterKind::gate)};
  settings.programMasterGain = 0.5f;
  settings.recordAudioIDs = {"a"};
  MixerSettingsStore(prefs).save(settings);
  EXPECT_EQ(MixerSettingsStore(prefs).load(), settings);

  // Older entries have no monitor flag; one bad entry makes the whole table unreadable.
  prefs.setJSON(prefkey::channelRouting,
                Json::parse(R"({"a": {"level": 0.5, "air": false, "cue": true, "afv": false}})"));
  auto loaded = MixerSettingsStore(prefs).load();
  EXPECT_TRUE(loaded.routing.at("a").monitor);
  EXPECT_FALSE(loaded.routing.at("a").air);
  prefs.setJSON(prefkey::channelRouting, Json::parse(R"({"a": {"level": 0.5, "air": false,
      "cue": false, "afv": false}, "b": {"level": "loud"}})"));
  prefs.setJSON(prefkey::monitorOutputs, Json::parse(R"([{"id": "m", "name": "M", "gain": 1}])"));
  loaded = MixerSettingsStore(prefs).load();
  EXPECT_TRUE(loaded.routing.empty());
  EXPECT_TRUE(loaded.monitors.empty()) << "a monitor without its muted flag spoils the list";
}

}  // namespace
}  // namespace tavorin

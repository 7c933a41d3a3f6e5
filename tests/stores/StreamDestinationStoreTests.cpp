#include "stores/StreamDestinationStore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/Json.h"
#include "platform/secrets/FileSecretStore.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::TempDir;

class StreamDestinationStoreTest : public ::testing::Test {
 protected:
  TempDir dir;
  ShowFolder folder{dir / "show"};
  FileSecretStore secrets{dir / "secrets.json", nullptr};
  StreamKeyStore keys{secrets};

  static StreamDestination youtube() {
    StreamDestination d;
    d.name = "Main channel";
    d.platform = StreamPlatform::youtube;
    d.serverURL = "rtmps://a.rtmps.youtube.com:443/live2";
    d.quality = {StreamResolution::p720, 60, 12000, 192};
    return d;
  }
};

TEST_F(StreamDestinationStoreTest, DestinationsSurviveReopeningWithLimitsApplied) {
  StreamDestination twitch;
  twitch.name = "Twitch";
  twitch.platform = StreamPlatform::twitch;
  twitch.serverURL = "rtmps://live.twitch.tv/app";
  twitch.quality.videoBitrateKbps = 8000;
  twitch.bandwidthTest = true;
  StreamDestination vertical = youtube();
  vertical.canvas = StreamCanvas::vertical;
  {
    StreamDestinationStore store(folder, keys);
    EXPECT_TRUE(std::filesystem::is_directory(folder.root()));
    EXPECT_TRUE(store.destinations->empty());
    store.add(twitch);
    store.add(vertical);
    EXPECT_EQ(store.destinations->at(0).quality.videoBitrateKbps, 6000);

    vertical.name = "Shorts";
    vertical.quality.videoBitrateKbps = 90000;
    store.update(vertical);
    StreamDestination stranger = youtube();
    store.update(stranger);
    EXPECT_EQ(store.destinations->size(), 2u);
  }
  StreamDestinationStore reopened(folder, keys);
  ASSERT_EQ(reopened.destinations->size(), 2u);
  twitch.quality.videoBitrateKbps = 6000;
  vertical.quality.videoBitrateKbps = 51000;
  EXPECT_EQ(reopened.destinations->at(0), twitch);
  EXPECT_EQ(reopened.destinations->at(1), vertical);
}

TEST_F(StreamDestinationStoreTest, FileKeepsTheRecordsOrderLeavesAbsentOptionalsOutAndReadsThemAsAbsent) {
  const StreamDestination plain = youtube();
  {
    StreamDestinationStore store(folder, keys);
    store.add(plain);
  }
  const auto document = Json::parse(testing::readFile(folder.file("streamDestinations.json")));
  ASSERT_TRUE(document.is_array());
  const auto& entry = document.at(0);
  std::vector<std::string> names;
  for (const auto& item : entry.items()) names.push_back(item.key());
  EXPECT_EQ(names, (std::vector<std::string>{"id", "name", "platform", "serverURL", "quality"}));
  EXPECT_FALSE(entry.contains("canvas"));
  EXPECT_FALSE(entry.contains("bandwidthTest"));
  EXPECT_EQ(entry.at("id"), plain.id.toString());
  EXPECT_EQ(entry.at("platform"), "youtube");
  EXPECT_EQ(entry.at("quality").at("resolution"), "p720");
  EXPECT_EQ(entry.at("quality").at("audioBitrateKbps"), 192);

  StreamDestinationStore reopened(folder, keys);
  ASSERT_EQ(reopened.destinations->size(), 1u);
  EXPECT_FALSE(reopened.destinations->at(0).canvas.has_value());
  EXPECT_EQ(reopened.destinations->at(0).canvas.value_or(StreamCanvas::main), StreamCanvas::main);
}

TEST_F(StreamDestinationStoreTest, KeyLivesOnlyInTheSecretStoreAndGoesWithTheDestination) {
  StreamDestinationStore store(folder, keys);
  const StreamDestination d = youtube();
  const StreamDestination other = youtube();
  store.add(d);
  store.add(other);
  keys.setKey("live_abc123_secret", d.id);
  keys.setKey("other_key_456", other.id);
  store.save();
  EXPECT_EQ(keys.key(d.id), "live_abc123_secret");
  EXPECT_EQ(testing::readFile(folder.file("streamDestinations.json")).find("live_abc123"), std::string::npos);
  EXPECT_EQ(FileSecretStore(dir / "secrets.json", nullptr).password("org.tavorin.Tavorin.StreamKey", d.id.toString()),
            "live_abc123_secret");

  store.remove(d.id);
  EXPECT_EQ(keys.key(d.id), std::nullopt);
  EXPECT_EQ(keys.key(other.id), "other_key_456");
  ASSERT_EQ(StreamDestinationStore(folder, keys).destinations->size(), 1u);

  keys.setKey("", other.id);
  EXPECT_EQ(keys.key(other.id), std::nullopt);
}

}  // namespace
}  // namespace tavorin

// Every store meets a file that does not decode the same way: it reads as
// empty, the file stays exactly as it was while nothing changes, and the next
// change first keeps it beside itself under a time-stamped name, with one line
// for the operator, then writes a good file in its place.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/secrets/FileSecretStore.h"
#include "stores/LayoutStore.h"
#include "stores/FireGraphicStore.h"
#include "stores/JsonFile.h"
#include "stores/PreferenceKeys.h"
#include "stores/Preferences.h"
#include "stores/SourcesStore.h"
#include "stores/StreamDestinationStore.h"
#include "stores/TransitionStore.h"
#include "stores/UnreadableFiles.h"
#include "stores/VideoEffectPresetStore.h"
#include "support/StoreTestFiles.h"

namespace tavorin {
namespace {

using testing::fileState;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

struct Show {
  TempDir dir;
  ShowFolder folder{dir / "Tavorin"};
  FileSecretStore secrets{dir / "secrets.json", nullptr};
  StreamKeyStore keys{secrets};
  std::vector<std::string> log;
  UnreadableFileReport report{{folder.root()}, [this](const std::string& line) { log.push_back(line); }};

  // The copies kept of files that did not read.
  std::vector<std::filesystem::path> kept() const {
    std::vector<std::filesystem::path> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder.root())) {
      if (entry.path().filename().string().find(".unreadable-") != std::string::npos) found.push_back(entry.path());
    }
    return found;
  }
};

struct Layouts {
  static constexpr const char* file = "layouts.json";
  static std::vector<std::string> bad() {
    return {R"([{"name":"A","layers":[)", "layouts", R"({"name":"A"})",
            R"([{"name":"A","layers":[{"sourceID":"cam","animation":{"kind":"spin"}}]}])"};
  }
  static auto open(Show& show) { return std::make_unique<LayoutStore>(show.folder, file); }
  static bool empty(const LayoutStore& store) { return store.layouts->empty(); }
  static void changeNothing(LayoutStore& store) { store.rename(Uuid::make(), "X"); }
  static void change(LayoutStore& store) { store.add(MixerScene{}, ""); }
};

struct Sources {
  static constexpr const char* file = "sources.json";
  static std::vector<std::string> bad() {
    return {R"([{"id":"a","kind":"hologram","name":"A"}])", R"([{"id":"a","kind":"camera"}])",
            R"([{"id":"a","kind":"display","name":"A","displayID":-1}])",
            R"([{"id":"a","kind":"clip","name":"A","trimStart":"3"}])", R"([{"id":"a","kind":"camera","name":"A"})"};
  }
  static auto open(Show& show) { return std::make_unique<SourcesStore>(show.folder); }
  static bool empty(const SourcesStore& store) { return store.saved->empty(); }
  static void changeNothing(SourcesStore& store) { store.rename("a", "B"); }
  static void change(SourcesStore& store) {
    SavedSource camera;
    camera.id = "b";
    camera.name = "B";
    store.upsert(camera);
  }
};

struct Transitions {
  static constexpr const char* file = "transitions.json";
  static std::vector<std::string> bad() {
    // One good entry next to one whose keyframe names an unknown key mode spoils the file.
    return {R"([{"name":"Good"},{"name":"Bad","tracks":[{"sourceID":"a","keyframes":[
                {"time":0,"state":{"sourceID":"a","keyMode":"sparkle"}}]}]}])",
            R"([{"name":"Good"},{"tracks":[{"keyframes":[]}]}])", R"({"name":"Good"})", "["};
  }
  static auto open(Show& show) { return std::make_unique<TransitionStore>(show.folder); }
  static bool empty(const TransitionStore& store) { return store.transitions->empty(); }
  static void changeNothing(TransitionStore&) {}
  static void change(TransitionStore& store) { store.upsert(CustomTransition{}); }
};

struct Destinations {
  static constexpr const char* file = "streamDestinations.json";
  static std::vector<std::string> bad() {
    const std::string good = R"({"id":"7F3C1E5A-2B4D-4C6E-8F10-123456789ABC","name":"A","platform":"twitch",)"
                             R"("serverURL":"rtmps://live.twitch.tv/app",)"
                             R"("quality":{"resolution":"p1080","fps":30,"videoBitrateKbps":6000,"audioBitrateKbps":160}})";
    // One unknown platform spoils the whole file.
    return {"not json", R"({"destinations": []})",
            "[" + good + R"(, {"id":"8F3C1E5A-2B4D-4C6E-8F10-123456789ABC","name":"B","platform":"myspace",)"
                R"("serverURL":"","quality":{"resolution":"p1080","fps":30,"videoBitrateKbps":1,"audioBitrateKbps":1}}])",
            R"([{"id":"7F3C1E5A-2B4D-4C6E-8F10-123456789ABC","name":"A","platform":"twitch","serverURL":""}])"};
  }
  static auto open(Show& show) { return std::make_unique<StreamDestinationStore>(show.folder, show.keys); }
  static bool empty(const StreamDestinationStore& store) { return store.destinations->empty(); }
  static void changeNothing(StreamDestinationStore& store) { store.remove(Uuid::make()); }
  static void change(StreamDestinationStore& store) { store.add(StreamDestination{}); }
};

struct Cues {
  static constexpr const char* file = "fireGraphics.json";
  static std::vector<std::string> bad() {
    return {R"([{"name":"A"},{"name":"B","enterMove":"spiral"}])", R"({"name":"A"})", R"([{"center":[0.5]}])", "[{"};
  }
  static auto open(Show& show) { return std::make_unique<FireGraphicStore>(show.folder); }
  static bool empty(const FireGraphicStore& store) { return store.graphics->empty(); }
  static void changeNothing(FireGraphicStore& store) { store.remove({3}); }
  static void change(FireGraphicStore& store) { store.upsert(FireGraphic{}); }
};

struct Looks {
  static constexpr const char* file = "videoEffectPresets.json";
  static std::vector<std::string> bad() {
    return {R"([{"id":"6D1F5C0E-2A47-4B8E-A1D3-5E2C7B9A0F31","name":"A","symbol":"star.fill"}])", "{}", "[{"};
  }
  static auto open(Show& show) { return std::make_unique<VideoEffectPresetStore>(show.folder); }
  static bool empty(const VideoEffectPresetStore& store) { return store.presets->empty(); }
  static void changeNothing(VideoEffectPresetStore& store) { store.remove(Uuid::make()); }
  static void change(VideoEffectPresetStore& store) { store.add("Mine", {}); }
};

struct Prefs {
  static constexpr const char* file = "preferences.json";
  static std::vector<std::string> bad() { return {R"({"Tavorin.remoteEnabled": tr)", "[true]", "not json"}; }
  static auto open(Show& show) { return std::make_unique<Preferences>(show.folder.file(file)); }
  static bool empty(const Preferences& prefs) { return !prefs.has(prefkey::remoteEnabled); }
  static void changeNothing(Preferences& prefs) { prefs.remove(prefkey::remoteEnabled); }
  static void change(Preferences& prefs) { prefs.setBool(prefkey::remoteEnabled, true); }
};

template <class Kind>
class BadFile : public ::testing::Test {};
using Stores = ::testing::Types<Layouts, Sources, Transitions, Destinations, Cues, Looks, Prefs>;
TYPED_TEST_SUITE(BadFile, Stores);

TYPED_TEST(BadFile, ReadsEmptyAndIsKeptBesideTheNextGoodFile) {
  for (const std::string& contents : TypeParam::bad()) {
    SCOPED_TRACE(contents);
    Show show;
    const auto path = show.folder.file(TypeParam::file);
    writeFile(path, contents);
    const auto before = fileState(path);
    auto store = TypeParam::open(show);
    EXPECT_TRUE(TypeParam::empty(*store));
    TypeParam::changeNothing(*store);
    EXPECT_EQ(fileState(path), before);
    EXPECT_TRUE(show.kept().empty());

    TypeParam::change(*store);
    TypeParam::change(*store);
    EXPECT_FALSE(TypeParam::empty(*TypeParam::open(show))) << "the change wrote a file that reads back";
    const auto kept = show.kept();
    ASSERT_EQ(kept.size(), 1u) << "kept once, before the first write";
    EXPECT_EQ(readFile(kept[0]), contents);
    EXPECT_EQ(kept[0].extension(), path.extension());
    ASSERT_EQ(show.log.size(), 1u);
    EXPECT_NE(show.log[0].find(kept[0].string()), std::string::npos) << show.log[0];
  }
}

TYPED_TEST(BadFile, AMissingOrGoodFileIsNeverKept) {
  Show show;
  TypeParam::change(*TypeParam::open(show));
  TypeParam::change(*TypeParam::open(show));
  EXPECT_TRUE(show.kept().empty());
  EXPECT_TRUE(show.log.empty());
}

TEST(StoreFile, InvalidUtf8IsReplacedRatherThanBlockingTheWrite) {
  TempDir dir;
  const std::vector<std::string> names = {"ok", std::string("bad\xff")};
  ASSERT_TRUE(writeJsonFile(dir / "n.json", names));
  auto back = readJsonFile<std::vector<std::string>>(dir / "n.json");
  ASSERT_TRUE(back);
  EXPECT_EQ((*back)[0], "ok");
  EXPECT_EQ((*back)[1], "bad\xEF\xBF\xBD");
}

}  // namespace
}  // namespace tavorin

// Every store meets a file that does not decode the same way: it reads as
// empty, the file stays exactly as it was while nothing changes, and the next
// change writes a good file over it.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/secrets/FileSecretStore.h"
#include "stores/LayoutStore.h"
#include "stores/PreferenceKeys.h"
#include "stores/Preferences.h"
#include "stores/SourcesStore.h"
#include "stores/StreamDestinationStore.h"
#include "stores/TransitionStore.h"
#include "support/StoreTestFiles.h"

namespace tavorin {
namespace {

using testing::fileState;
using testing::TempDir;
using testing::writeFile;

struct Show {
  TempDir dir;
  ShowFolder folder{dir / "Tavorin"};
  FileSecretStore secrets{dir / "secrets.json", nullptr};
  StreamKeyStore keys{secrets};
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
using Stores = ::testing::Types<Layouts, Sources, Transitions, Destinations, Prefs>;
TYPED_TEST_SUITE(BadFile, Stores);

TYPED_TEST(BadFile, ReadsEmptyAndStaysUntouchedUntilTheNextChange) {
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
    TypeParam::change(*store);
    EXPECT_FALSE(TypeParam::empty(*TypeParam::open(show))) << "the change wrote a file that reads back";
  }
}

}  // namespace
}  // namespace tavorin

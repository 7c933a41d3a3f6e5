#include "app/AppModel.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include <chrono>
#include <cstdint>
#include <thread>

#include "app/ScreenshotWriter.h"
#include "model/SceneJson.h"
#include "sources/StaticSource.h"
#include "stores/PreferenceKeys.h"
#include "support/ManualMainQueue.h"
#include "support/ProgramMixProbe.h"
#include "support/TempDir.h"

namespace tavorin {
namespace {

using testing::ManualMainQueue;
using testing::readFile;
using testing::TempDir;

class AppModelTest : public ::testing::Test {
 protected:
  std::unique_ptr<AppModel> makeModel() {
    auto model = std::make_unique<AppModel>(AppEnvironment{show.path(), show / "preferences.json", queue});
    model->start();
    return model;
  }

  // The active deck's scene library as written.
  std::vector<MixerScene> storedLayouts(const AppModel& model) {
    return Json::parse(readFile(model.layoutStore.fileURL())).get<std::vector<MixerScene>>();
  }

  TempDir show;
  ManualMainQueue queue;
};

TEST_F(AppModelTest, LogKeepsTheLast200LinesAndEchoesEachOne) {
  auto model = makeModel();
  std::vector<std::string> echoed;
  model->onLogLine = [&](const std::string& line) { echoed.push_back(line); };
  for (int i = 1; i <= 201; ++i) model->appendLog("line " + std::to_string(i));
  ASSERT_EQ(model->log->size(), 200u);
  EXPECT_EQ(model->log->front(), "line 2");
  EXPECT_EQ(model->log->back(), "line 201");
  EXPECT_EQ(echoed.size(), 201u);
}

TEST_F(AppModelTest, SessionIsWrittenHalfASecondAfterTheLastChange) {
  auto model = makeModel();
  model->switcher.setTransitionDuration(2.0);
  queue.advance(0.4);
  model->editor.addLayer("camera:a");
  queue.advance(0.4);
  EXPECT_FALSE(std::filesystem::exists(show / "session.json")) << "the second change restarts the wait";
  queue.advance(0.11);
  auto session = Json::parse(readFile(show / "session.json")).get<SessionState>();
  EXPECT_EQ(session.duration, 2.0);
  EXPECT_EQ(session.preview.layers.size(), 1u);
}

TEST_F(AppModelTest, RestoredSessionWithUnknownTransitionNameUsesCrossfade) {
  SessionState saved;
  saved.program.layers.push_back(LayerState::make("still:black"));
  saved.transition = "wipe";
  saved.duration = 0.8;
  saved.lockAspect = false;
  testing::writeFile(show / "session.json", Json(saved).dump());
  auto model = makeModel();
  EXPECT_EQ(model->switcher.programScene.get(), saved.program);
  EXPECT_EQ(model->switcher.selectedTransition.get(), TransitionKind::crossfade);
  EXPECT_EQ(model->switcher.transitionDuration.get(), 0.8);
  EXPECT_FALSE(model->switcher.lockAspectRatio.get());
  EXPECT_EQ(model->switcher.store().programPlan(queue.now()).layers.size(), 1u) << "the snapshot is published";
}

TEST_F(AppModelTest, StructuralEditReachesTheLayoutAtOnceAndOtherEditsAfterTheDebounce) {
  auto model = makeModel();
  auto layoutID = model->layoutStore.add(MixerScene::named("Talk"), "Talk");
  model->loadLayout(model->layoutStore.layouts->front());
  ASSERT_EQ(model->switcher.loadedLayoutID.get(), layoutID);

  auto layerID = model->editor.addLayer("camera:host");
  ASSERT_EQ(storedLayouts(*model).front().layers.size(), 1u) << "an added layer is saved before the debounce";

  LayerState moved = *model->switcher.previewScene->layer(layerID);
  moved.center = {0.2, 0.3};
  model->editor.updateLayer(moved);
  EXPECT_EQ(storedLayouts(*model).front().layers.front().center, (Point{0.5, 0.5}));
  queue.advance(0.21);
  EXPECT_EQ(storedLayouts(*model).front().layers.front().center, (Point{0.2, 0.3}));
  EXPECT_EQ(storedLayouts(*model).front().name, "Talk");
}

TEST_F(AppModelTest, QuitWritesPendingLayoutEditAndSession) {
  auto model = makeModel();
  model->layoutStore.add(MixerScene::named("Talk"), "Talk");
  model->loadLayout(model->layoutStore.layouts->front());
  auto layerID = model->editor.addLayer("camera:host");
  LayerState faded = *model->switcher.previewScene->layer(layerID);
  faded.opacity = 0.25f;
  model->editor.updateLayer(faded);
  model->willTerminate();
  EXPECT_EQ(storedLayouts(*model).front().layers.front().opacity, 0.25f);
  EXPECT_TRUE(std::filesystem::exists(show / "session.json"));
}

TEST_F(AppModelTest, VerticalOnlyLayoutLeavesTheMainSwitcherAloneAndJoinsTheNextTake) {
  auto model = makeModel();
  const MixerScene mainPreview = model->switcher.previewScene.get();
  MixerScene layout = MixerScene::named("Shorts");
  layout.verticalLayers = std::vector<LayerState>{LayerState::make("camera:phone")};
  model->loadLayout(layout);
  EXPECT_EQ(model->switcher.previewScene.get(), mainPreview);
  EXPECT_EQ(model->verticalSwitcher.previewScene->layers.size(), 1u);
  ASSERT_TRUE(model->verticalTakePending.get()) << "studio mode stages the vertical view for the next take";

  model->cut(model->switcher);
  EXPECT_FALSE(model->verticalTakePending.get());
  EXPECT_EQ(model->verticalSwitcher.programScene->layers.size(), 1u);
}

TEST_F(AppModelTest, TakeWithAKindClearsThePendingTakeTransitionWithoutUsingIt) {
  auto model = makeModel();
  model->pendingTakeTransition = Uuid::make();
  model->editor.addLayer("camera:a");
  model->take(model->switcher, TransitionKind::cut);
  EXPECT_FALSE(model->pendingTakeTransition.get());
  EXPECT_EQ(model->switcher.programScene->layers.size(), 1u);
}

TEST_F(AppModelTest, SelectingOnOneCanvasClearsTheOthers) {
  auto model = makeModel();
  auto mainLayer = model->editor.addLayer("camera:a");
  auto verticalLayer = model->verticalEditor.addLayer("camera:b");
  EXPECT_FALSE(model->editor.selectedLayerID.get());
  model->editor.selectLayer(mainLayer);
  EXPECT_FALSE(model->verticalEditor.selectedLayerID.get());
  EXPECT_EQ(model->editor.selectedLayerID.get(), mainLayer);
  model->verticalEditor.selectLayer(verticalLayer);
  EXPECT_FALSE(model->editor.selectedLayerID.get());
}

TEST_F(AppModelTest, TakesSwitchFollowingAudioAndMasterGainIsKept) {
  auto model = makeModel();
  model->audioMixer.addSourceChannel("ndiaudio:cam", "Cam (NDI)", "network", true, "ndi:cam");
  EXPECT_FALSE(model->audioMixer.channels.get().back().air) << "the camera is not on Program";
  const Uuid camera = model->editor.addLayer("ndi:cam");
  model->cut(model->switcher);
  EXPECT_TRUE(model->audioMixer.channels.get().back().air);
  model->editor.removeLayer(camera);
  model->cut(model->switcher);
  EXPECT_FALSE(model->audioMixer.channels.get().back().air);

  model->audioMixer.setProgramMasterGain(0.5f);
  model.reset();
  EXPECT_FLOAT_EQ(makeModel()->audioMixer.programMasterGain.get(), 0.5f);
}

TEST_F(AppModelTest, OperatorPunchesAndLayoutsWithTheirOwnTransition) {
  auto model = makeModel();
  queue.runUntilIdle();
  model->punchBlack();
  ASSERT_EQ(model->switcher.programScene->layers.size(), 1u);
  EXPECT_EQ(model->switcher.programScene->layers[0].sourceID, "still:black");
  EXPECT_TRUE(model->sourceLifecycle.find("still:black"));
  model->punchBRB();
  EXPECT_TRUE(model->switcher.brbActive.get());

  model->screenshotProgram();  // no frame clock in this test: nothing on Program
  EXPECT_EQ(model->log->back(), "Nothing to screenshot — the Program is empty.");

  CustomTransition sweep;
  model->transitionStore.upsert(sweep);
  MixerScene layout = MixerScene::named("Interview");
  layout.layers.push_back(LayerState::make("camera:a"));
  const Uuid id = model->layoutStore.add(layout, "Interview");
  model->loadLayout(id, sweep.id);  // studio mode: the next take carries it
  EXPECT_EQ(model->pendingTakeTransition.get(), sweep.id);
  EXPECT_EQ(model->switcher.previewScene->layers[0].sourceID, "camera:a");
  queue.advance(5);  // the holding card's take is over
  model->take(model->switcher);
  ASSERT_TRUE(model->switcher.store().active());
  EXPECT_TRUE(model->switcher.store().active()->custom);
  EXPECT_FALSE(model->pendingTakeTransition.get());
}

TEST_F(AppModelTest, ScreenshotsQueueBehindOneBeingWrittenAndNeverShareAName) {
  ScreenshotWriter writer(queue);
  std::vector<std::string> written;
  auto done = [&](const std::filesystem::path& file, bool ok, const std::string& error) {
    EXPECT_TRUE(ok) << error;
    written.push_back(file.filename().string());
  };
  // A 4K picture of noise takes a while to compress: the second request must not wait for it.
  auto frame = PixelBuffer::make(3840, 2160);
  std::uint32_t noise = 7;
  for (std::size_t i = 0; i < frame->byteCount(); ++i) {
    noise = noise * 1664525u + 1013904223u;
    frame->data()[i] = i % 4 == 3 ? 255 : static_cast<std::uint8_t>(noise >> 24);
  }
  const auto start = std::chrono::steady_clock::now();
  writer.write(frame, show / "Tavorin-shot-2026-11-24-021500.png", done);
  writer.write(frame, show / "Tavorin-shot-2026-11-24-021500.png", done);
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 0.05);
  for (int i = 0; i < 1000 && written.size() < 2; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    queue.runUntilIdle();
  }
  EXPECT_EQ(written, (std::vector<std::string>{"Tavorin-shot-2026-11-24-021500.png", "Tavorin-shot-2026-11-24-021500-2.png"}))
      << "two shots in one second keep both pictures";
}

TEST_F(AppModelTest, HoldingCardTakesProgramAudioOffAirUntilItGoes) {
  auto model = makeModel();
  queue.runUntilIdle();
  model->switcher.setSelectedTransition(TransitionKind::cut);
  model->punchBRB();
  EXPECT_FALSE(model->switcher.brbActive.get()) << "no still, no card";

  model->audioMixer.addSourceChannel("mic", "Mic", "mic", false, std::nullopt);
  testing::ProgramMixProbe mic(model->audioMixer, "mic");
  EXPECT_NEAR(mic.play(0.3f).sinks, 0.3f, 1e-6);
  model->addSource(makeBlackSource("still:card", "Card"));
  model->addSource(makeBlackSource("still:later", "Later"));
  model->punchBRB();
  EXPECT_EQ(model->switcher.programScene->layers.at(0).sourceID, "still:card") << "the first still";
  EXPECT_EQ(model->switcher.programScene->name, "Card");
  EXPECT_NEAR(mic.play(0.3f).sinks, 0.0f, 1e-6) << "what is recorded and streamed is silent behind the card";
  model->punchBRB();
  EXPECT_FALSE(model->switcher.brbActive.get());
  EXPECT_NEAR(mic.play(0.3f).sinks, 0.3f, 1e-6) << "and the mic is back when the card goes";

  model->muteSourceID = "still:later";
  model->renameSource("still:later", "  Back in five ");
  model->punchBRB();
  EXPECT_EQ(model->switcher.programScene->layers.at(0).sourceID, "still:later");
  EXPECT_EQ(model->switcher.programScene->name, "Back in five");
  model->removeSource("still:later");
  EXPECT_FALSE(model->muteSourceID.get());
  model->punchBRB();
  EXPECT_FALSE(model->switcher.brbActive.get()) << "a card whose source is gone still goes";
  EXPECT_FALSE(model->audioMixer.programMuted.get());
}

TEST_F(AppModelTest, PreferencesShapeTheFields) {
  {
    Preferences prefs(show / "preferences.json");
    prefs.setString(prefkey::canvasSize, "uhd4k");
    prefs.setBool(prefkey::layoutSyncV, false);
    prefs.setBool(prefkey::studioMode, false);
    prefs.setString(prefkey::editCanvas, "vertical");
  }
  auto model = makeModel();
  EXPECT_EQ(model->canvasSize.get(), CanvasSize::uhd4k);
  EXPECT_TRUE(model->layoutSyncHorizontal.get());
  EXPECT_FALSE(model->layoutSyncVertical.get());
  EXPECT_FALSE(model->switcher.studioMode.get());
  EXPECT_EQ(model->editCanvas.get(), AppModel::EditCanvas::vertical);
  EXPECT_TRUE(model->showOnboarding.get());
}

TEST_F(AppModelTest, RecordingSettingsAreRestoredAndKept) {
  using Q = ProgramRecorder::Quality;
  // Raw values, the case names older versions wrote, and a value no version wrote.
  const std::pair<const char*, Q> stored[] = {
      {"ProRes 422 (editing)", Q::proRes422}, {"proRes422", Q::proRes422}, {"High (HEVC)", Q::hevcHigh}, {"ProRes", Q::hevcHigh}};
  for (const auto& [value, quality] : stored) {
    SCOPED_TRACE(value);
    Preferences(show / "preferences.json").setString(prefkey::recordQuality, value);
    EXPECT_EQ(makeModel()->recording.recordQuality.get(), quality);
  }

  {
    auto model = makeModel();
    model->setRecordQuality(Q::proRes422);
    model->setRecordVideo("camera:a", true);
    model->setRecordVideo("camera:b", true);
    model->setRecordVideo("camera:a", false);
  }
  EXPECT_EQ(Preferences(show / "preferences.json").getString(prefkey::recordQuality), "ProRes 422 (editing)");
  auto model = makeModel();
  EXPECT_EQ(model->recording.recordQuality.get(), Q::proRes422);
  EXPECT_EQ(model->recording.recordVideoIDs.get(), std::set<std::string>{"camera:b"});
}

TEST_F(AppModelTest, AnInputUnpluggedAtLaunchIsRememberedAndARemovedOneIsNot) {
  Preferences(show / "preferences.json").setStringList(prefkey::audioInputIDs, {"usb-mic"});
  {
    auto model = makeModel();  // no audio devices here: the microphone is unplugged
    model->audioMixer.addSourceChannel("ndiaudio:cam", "Cam (NDI)", "network", true, "ndi:cam");
    model->audioMixer.addSourceChannel("ndiaudio:guest", "Guest (NDI)", "network", true, "ndi:guest");
    model->audioMixer.removeChannel("ndiaudio:guest");
  }
  const std::vector<std::string> expected{"ndiaudio:cam", "usb-mic"};
  EXPECT_EQ(Preferences(show / "preferences.json").getStringList(prefkey::audioInputIDs), expected);
  EXPECT_EQ(makeModel()->savedAudioInputIDs, expected);
}

TEST_F(AppModelTest, UnreadablePreferencesAreKeptAndLoggedOnce) {
  testing::writeFile(show / "preferences.json", "{\"Tavorin.canvasSize\": ");
  auto model = makeModel();
  model->setRecordQuality(ProgramRecorder::Quality::proRes422);
  model->setRecordVideo("camera:a", true);
  std::vector<std::string> lines;
  for (const auto& line : model->log.get()) {
    if (line.find("preferences.unreadable-") != std::string::npos) lines.push_back(line);
  }
  ASSERT_EQ(lines.size(), 1u);
  const auto kept = lines[0].substr(lines[0].find(show.path().string()));
  EXPECT_EQ(readFile(kept), "{\"Tavorin.canvasSize\": ");
  EXPECT_EQ(Preferences(show / "preferences.json").getString(prefkey::recordQuality), "ProRes 422 (editing)");
}

}  // namespace
}  // namespace tavorin

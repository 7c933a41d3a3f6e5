#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <thread>

#include <linux/input-event-codes.h>

#include "app/ShowRuntime.h"
#include "peers/NginxRtmp.h"
#include "peers/PrivateXServer.h"
#include "platform/media/PngWriter.h"
#include "peers/RtspCamera.h"
#include "support/ChildProcess.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"
#include "ui/SceneGraphShare.h"
#include "ui/ShowWindow.h"

namespace tavorin {
namespace {

// Serves the main loop (Qt's, over GLib's default context) until `done` holds.
bool pumpUntil(const std::function<bool()>& done, double seconds = 10) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// Warnings from the window's own QML (a delegate that cannot be made, a
// binding to something missing) fail the test that caused them.
std::vector<std::string>& qmlWarnings() {
  static std::vector<std::string> warnings;
  return warnings;
}

void recordQmlWarnings(QtMsgType type, const QMessageLogContext&, const QString& message) {
  if (type != QtDebugMsg && type != QtInfoMsg && message.contains("qrc:/tavorin/")) {
    qmlWarnings().push_back(message.toStdString());
  }
}

std::filesystem::path writeColour(const std::filesystem::path& path, std::uint8_t b, std::uint8_t g, std::uint8_t r) {
  auto buffer = PixelBuffer::make(320, 180);
  buffer->fill(b, g, r, 255);
  writePNG(*buffer, path);
  return path;
}

// The window over a show of two full-frame stills: red on Program, blue on Preview.
class Window : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // The offscreen platform draws with the software scene graph unless a run under Xvfb chose xcb.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    if (std::string(std::getenv("QT_QPA_PLATFORM")) == "offscreen") setenv("QT_QUICK_BACKEND", "software", 0);
    static int argc = 1;
    static char name[] = "tavorin_ui_tests";
    static char* argv[] = {name, nullptr};
    // As the app does: Qt's EGL integration on X11, whose contexts the compositor's joins.
    setenv("QT_XCB_GL_INTEGRATION", "xcb_egl", 0);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    // Never destroyed: Qt's exit routines would run after the statics they use are gone.
    static QGuiApplication* application = new QGuiApplication(argc, argv);
    (void)application;
    qInstallMessageHandler(recordQmlWarnings);
  }

  void SetUp() override {
    LaunchOptions options;
    options.showDir = dir_.path();
    runtime_ = std::make_unique<ShowRuntime>(options, queue_, [] {}, sceneGraphShareGroup());
    ASSERT_TRUE(runtime_->model()) << runtime_->failure();
    runtime_->start();
    AppModel& model = *runtime_->model();
    const auto red = model.addImageSource(writeColour(dir_ / "red.png", 0, 0, 255));
    const auto blue = model.addImageSource(writeColour(dir_ / "blue.png", 255, 0, 0));
    ASSERT_TRUE(red && blue);
    MixerScene onAir = MixerScene::named("Red"), next = MixerScene::named("Blue");
    onAir.layers.push_back(LayerState::make(*red));
    LayerState half = LayerState::make(*blue);
    half.size = {0.5, 0.5};
    next.layers.push_back(half);
    redID_ = model.layoutStore.add(onAir, "Red");
    blueID_ = model.layoutStore.add(next, "Blue");
    for (const MixerScene& scene : model.layoutStore.layouts.get()) {
      if (scene.id == redID_) {
        model.switcher.stageLayout(scene);
        model.cut(model.switcher);
      }
    }
    for (const MixerScene& scene : model.layoutStore.layouts.get()) {
      if (scene.id == blueID_) model.switcher.stageLayout(scene);
    }
    // The first-launch guide would cover the window; its own test runs it.
    if (!runsGuide()) model.finishOnboarding();
    window_ = std::make_unique<ShowWindow>(model);
    ASSERT_TRUE(window_->window());
    window_->window()->resize(1366, 768);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_->window()));
  }

  void TearDown() override {
    window_.reset();
    for (const auto& warning : qmlWarnings()) ADD_FAILURE() << warning;
    qmlWarnings().clear();
    bool closed = true;
    if (runtime_) runtime_->finish(closed);
  }

  AppModel& model() { return *runtime_->model(); }
  virtual bool runsGuide() const { return false; }
  // Searched in the visual tree, where views keep their delegates, and
  // waited for: views make their delegates once laid out.
  QQuickItem* item(const char* name) {
    std::function<QQuickItem*(QQuickItem*)> search = [&](QQuickItem* at) -> QQuickItem* {
      if (at->objectName() == name) return at;
      for (QQuickItem* child : at->childItems()) {
        if (QQuickItem* found = search(child)) return found;
      }
      return nullptr;
    };
    QQuickItem* found = nullptr;
    pumpUntil([&] { return (found = search(window_->window()->contentItem())) != nullptr; }, 5);
    settle();
    return found;
  }
  // Lays out what changed by drawing a frame (polish runs first), so that an
  // item just made or moved is clicked where it is shown.
  void settle() {
    QSignalSpy swapped(window_->window(), &QQuickWindow::frameSwapped);
    window_->window()->update();
    swapped.wait(1000);
  }
  // A shown control whose text is `text` (a dialog's standard buttons have no names).
  QQuickItem* labelled(const QString& text) {
    std::function<QQuickItem*(QQuickItem*)> search = [&](QQuickItem* at) -> QQuickItem* {
      if (at->isVisible() && at->property("text").toString() == text && at->inherits("QQuickAbstractButton")) return at;
      for (QQuickItem* child : at->childItems()) {
        if (QQuickItem* found = search(child)) return found;
      }
      return nullptr;
    };
    QQuickItem* found = nullptr;
    pumpUntil([&] { return (found = search(window_->window()->contentItem())) != nullptr; }, 5);
    return found;
  }
  QPoint centre(QQuickItem* of, QPointF fraction = {0.5, 0.5}) {
    return of->mapToScene(QPointF(of->width() * fraction.x(), of->height() * fraction.y())).toPoint();
  }
  // The colour the window shows at `at`, as the operator sees it.
  QColor shown(QPoint at) { return window_->window()->grabWindow().pixelColor(at); }
  bool shows(QPoint at, QColor colour) {
    return pumpUntil([&] {
      const QColor c = shown(at);
      return std::abs(c.red() - colour.red()) < 40 && std::abs(c.green() - colour.green()) < 40 &&
             std::abs(c.blue() - colour.blue()) < 40;
    });
  }

  testing::TempDir dir_;
  GLibMainQueue queue_;
  std::unique_ptr<ShowRuntime> runtime_;
  std::unique_ptr<ShowWindow> window_;
  Uuid redID_, blueID_;
};

TEST_F(Window, MonitorsShowProgramAndPreviewAndTakeSwapsThem) {
  // Under X11 Qt draws with EGL and samples the compositor's textures; offscreen it uploads pixels.
  EXPECT_EQ(model().engine->sharesTextures(), QGuiApplication::platformName() == "xcb");
  QQuickItem* program = item("programMonitorPicture");
  QQuickItem* preview = item("previewMonitorPicture");
  ASSERT_TRUE(program && preview);
  EXPECT_TRUE(shows(centre(program), Qt::red));
  EXPECT_TRUE(shows(centre(preview), Qt::blue));
  EXPECT_TRUE(shows(centre(preview, {0.1, 0.1}), Qt::black)) << "the half-size layer leaves the corner black";

  model().switcher.setTransitionDuration(0.2);
  QTest::mouseClick(window_->window(), Qt::LeftButton, {}, centre(item("takeButton")));
  EXPECT_TRUE(pumpUntil([&] { return model().switcher.programScene->id == blueID_; }));
  EXPECT_TRUE(shows(centre(program), Qt::blue));
}

TEST_F(Window, DraggingOnPreviewMovesTheLayerAndTheStoredLayoutFollows) {
  QQuickItem* preview = item("previewMonitorPicture");
  QQuickWindow* window = window_->window();
  const QPoint from = centre(preview);
  const double pictureWidth = preview->property("pictureRect").toRectF().width();
  auto along = [&](double fraction) { return from + QPoint(static_cast<int>(fraction * pictureWidth), 0); };
  QTest::mousePress(window, Qt::LeftButton, {}, from);
  for (int step = 1; step <= 10; ++step) QTest::mouseMove(window, along(step * 0.02));
  QTest::mouseRelease(window, Qt::LeftButton, {}, along(0.2));
  const auto stored = [&] {
    for (const MixerScene& scene : model().layoutStore.layouts.get()) {
      if (scene.id == blueID_) return scene.layers.front().center.x;
    }
    return 0.0;
  };
  EXPECT_NEAR(model().switcher.previewScene->layers.front().center.x, 0.7, 0.02);
  EXPECT_TRUE(pumpUntil([&] { return std::abs(stored() - 0.7) < 0.02; })) << "stored x " << stored();
}

TEST_F(Window, DoubleClickingASceneTakesIt) {
  QQuickItem* red = item("scene0");
  ASSERT_TRUE(red);
  model().switcher.setTransitionDuration(0.1);
  model().switcher.stageLayout(model().layoutStore.layouts.get()[1]);
  model().take(model().switcher);
  ASSERT_TRUE(pumpUntil([&] { return model().switcher.programScene->id == blueID_; }));
  QTest::mouseDClick(window_->window(), Qt::LeftButton, {}, centre(red));
  EXPECT_TRUE(pumpUntil([&] { return model().switcher.programScene->id == redID_; }));
}

TEST_F(Window, InspectorEditsTheSelectedLayerInPixelsDegreesAndPercent) {
  const LayerState& before = model().switcher.previewScene->layers.front();
  model().editor.selectLayer(before.id);
  ASSERT_TRUE(window_->inspector().active());
  const double width = model().engine->canvasWidth();
  struct Case {
    const char* key;
    QVariant value;
    std::function<double(const LayerState&)> read;
    double expected;
  };
  const Case cases[] = {
      {"x", 100, [&](const LayerState& l) { return (l.center.x - l.size.width / 2) * width; }, 100},
      {"width", width / 4, [&](const LayerState& l) { return l.size.width * width; }, width / 4},
      {"rotation", 90, [](const LayerState& l) { return l.rotation; }, M_PI / 2},
      {"opacity", 40, [](const LayerState& l) { return l.opacity; }, 0.4},
      {"cropRight", 25, [](const LayerState& l) { return l.cropRect.maxX(); }, 0.75},
      {"radiusTopRight", 20, [](const LayerState& l) { return l.corners.topRight + l.corners.topLeft; }, 0.2},
      {"shadowY", 27, [&](const LayerState& l) { return l.shadowOffset.height * width * 9 / 16; }, 27},
  };
  for (const Case& c : cases) {
    window_->inspector().setValue(c.key, c.value);
    EXPECT_NEAR(c.read(model().switcher.previewScene->layers.front()), c.expected, 1e-3) << c.key;
  }
  EXPECT_NEAR(model().switcher.previewScene->layers.front().center.x * width, 100 + width / 8, 1e-3)
      << "a new width keeps the left edge";
}

TEST_F(Window, EffectsAreAddedTunedSwitchedAndKeptAsALookFromTheInspector) {
  const LayerState& layer = model().switcher.previewScene->layers.front();
  model().editor.selectLayer(layer.id);
  QQuickWindow* window = window_->window();
  QQuickItem* add = item("addEffect");
  ASSERT_TRUE(add);
  // "+ Effect" → the fourth kind, Hue.
  QMetaObject::invokeMethod(add, "activated", Q_ARG(int, 3));
  ASSERT_EQ(model().switcher.previewScene->layers.front().videoFilters->size(), 1u);
  EXPECT_EQ(model().switcher.previewScene->layers.front().videoFilters->front().kind, VideoFilterKind::hue);
  QQuickItem* slider = item("effectParam0_0");
  ASSERT_TRUE(slider);
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(slider, {0.75, 0.5}));
  EXPECT_NEAR(model().switcher.previewScene->layers.front().videoFilters->front().params.at("angle"), 90, 15);
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("effectEnabled0")));
  EXPECT_FALSE(model().switcher.previewScene->layers.front().videoFilters->front().enabled);

  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("saveLook")));
  ASSERT_EQ(model().videoLooks.presets->size(), 1u);
  EXPECT_EQ(model().videoLooks.presets->front().name, "My look 1");
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("removeEffect0")));
  EXPECT_TRUE(model().switcher.previewScene->layers.front().videoFilters->empty());
}

TEST_F(Window, AKeyColourIsPickedFromThePreviewPicture) {
  ASSERT_TRUE(shows(centre(item("previewMonitorPicture")), Qt::blue));
  model().editor.selectLayer(model().switcher.previewScene->layers.front().id);
  LayerInspector& inspector = window_->inspector();
  inspector.setPickingKey("keyColor");
  inspector.pickFromPreview(0.5, 0.5);
  const RGBAColor key = model().switcher.previewScene->layers.front().keyColor;
  EXPECT_NEAR(key.b, 1, 0.02);
  EXPECT_NEAR(key.r + key.g, 0, 0.02);
  EXPECT_TRUE(inspector.pickingKey().isEmpty()) << "one click picks once";
}

TEST_F(Window, AMaskDrawnOnPreviewCutsThePictureAndADraggedPinCornerReshapesIt) {
  QQuickItem* preview = item("previewMonitorPicture");
  QQuickWindow* window = window_->window();
  ASSERT_TRUE(shows(centre(preview), Qt::blue));
  // Canvas units to the window, through where the monitor draws its picture.
  auto at = [&](QPointF canvas) {
    const QRectF r = preview->property("pictureRect").toRectF();
    return preview->mapToScene(r.topLeft() + QPointF(canvas.x() * r.width(), canvas.y() * r.height())).toPoint();
  };
  model().editor.selectLayer(model().switcher.previewScene->layers.front().id);
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("drawMaskButton")));
  ASSERT_TRUE(model().editor.maskEditing.get());
  const QPointF triangle[] = {{0.4, 0.4}, {0.6, 0.4}, {0.5, 0.6}, {0.4, 0.4}};
  for (const QPointF& point : triangle) QTest::mouseClick(window, Qt::LeftButton, {}, at(point));
  const LayerState& masked = model().switcher.previewScene->layers.front();
  EXPECT_EQ(masked.maskPolygons->size(), 1u) << "back on the first point closes the region";
  EXPECT_EQ(masked.maskMode, MaskMode::exclude);
  EXPECT_TRUE(shows(at({0.5, 0.47}), Qt::black)) << "the region is cut out";
  EXPECT_TRUE(shows(at({0.3, 0.3}), Qt::blue));
  window_->shapes().setMaskEditing(false);
  window_->shapes().clearMask();

  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("cornerPinButton")));
  QQuickItem* corner = item("pinCorner0");
  ASSERT_TRUE(corner);
  ASSERT_TRUE(shows(at({0.2, 0.2}), Qt::black));
  QTest::mousePress(window, Qt::LeftButton, {}, centre(corner));
  for (int step = 1; step <= 8; ++step) {
    QTest::mouseMove(window, at({0.25 - step * 0.03, 0.25 - step * 0.03}));
  }
  QTest::mouseRelease(window, Qt::LeftButton, {}, at({0.01, 0.01}));
  const auto& pin = model().switcher.previewScene->layers.front().cornerPin;
  ASSERT_TRUE(pin);
  EXPECT_NEAR(pin->topLeft.x, 0.01, 0.01);
  EXPECT_NEAR(pin->bottomRight.x, 0.75, 1e-6) << "the other corners stay";
  EXPECT_TRUE(shows(at({0.2, 0.2}), Qt::blue)) << "the picture reaches the dragged corner";
}

TEST_F(Window, MixerStripsSetTheChannelsLevelAndAirAndTheRoutingIsStored) {
  model().audioMixer.addSourceChannel("tone:test", "Test tone", "waveform", false, std::nullopt);
  // Before the permanent Sound FX strip, so that its controls are the first found.
  model().audioMixer.moveChannel("tone:test", AudioMixerEngine::kSFXChannelID);
  QQuickItem* fader = item("fader");
  ASSERT_TRUE(fader);

  auto channel = [&] { return model().audioMixer.channels.get().front(); };
  auto stored = [&](const char* key) -> Json {
    std::ifstream file(dir_ / "preferences.json");
    const Json all = Json::parse(file, nullptr, false);
    const Json* routing = all.is_object() && all.contains("Tavorin.channelRouting") ? &all["Tavorin.channelRouting"] : nullptr;
    return routing && routing->contains("tone:test") ? (*routing)["tone:test"].value(key, Json()) : Json();
  };
  // A quarter of the way down a fader that runs from +6 dB to silence: about -10 dB.
  QTest::mouseClick(window_->window(), Qt::LeftButton, {}, centre(fader, {0.5, 0.25}));
  const float level = channel().level;
  EXPECT_GT(level, 0.15f);
  EXPECT_LT(level, 0.6f);
  EXPECT_TRUE(pumpUntil([&] { return stored("level").is_number() && std::abs(stored("level").get<double>() - level) < 1e-4; }));
  ASSERT_TRUE(channel().air);
  QTest::mouseClick(window_->window(), Qt::LeftButton, {}, centre(item("air")));
  EXPECT_FALSE(channel().air);
  EXPECT_TRUE(pumpUntil([&] { return stored("air") == Json(false); }));

  // The strip's filters: the editor opens on its channel and edits the chain in order.
  QTest::mouseClick(window_->window(), Qt::LeftButton, {}, centre(item("fxButton")));
  AudioFilterBridge& filters = window_->audioFilters();
  ASSERT_EQ(filters.channel(), "tone:test");
  filters.add("eq");
  filters.add("compressor");
  ASSERT_EQ(filters.rowCount(), 2);
  const QString eq = filters.data(filters.index(0), AudioFilterBridge::idRole).toString();
  filters.setParam(eq, "midGain", 9);
  const QVariantList curve = filters.eqCurve(eq, 97);
  ASSERT_EQ(curve.size(), 97);
  double highest = -100;
  for (const QVariant& point : curve) highest = std::max(highest, point.toMap()["db"].toDouble());
  EXPECT_NEAR(highest, 9, 0.3) << "the curve peaks at the mid band's gain";
  filters.move(1, 0);
  EXPECT_EQ(model().audioMixer.channelFilters->at("tone:test").front().kind, AudioFilterKind::compressor);
  pumpUntil([] { return false; }, 0.3);  // the editor's rows are made: their QML must not warn
}

TEST_F(Window, TheRecordingPanelRecordsIntoTheChosenFolderAndTheStripSavesAndPlaysAReplay) {
  RecordingBridge& recorder = window_->recorder();
  const std::filesystem::path folder = dir_ / "recordings";
  recorder.setFolder(QUrl::fromLocalFile(QString::fromStdString(folder.string())).toString());
  EXPECT_EQ(recorder.folder().toStdString(), folder.string());
  QQuickWindow* window = window_->window();
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("recIndicator")));
  QQuickItem* record = item("recordButton");
  ASSERT_TRUE(record);
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(record));
  ASSERT_TRUE(pumpUntil([&] { return recorder.elapsed() == "0:00:01"; }));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("pauseButton")));
  EXPECT_TRUE(recorder.paused());
  pumpUntil([] { return false; }, 1.5);
  EXPECT_EQ(recorder.elapsed(), "0:00:01") << "paused time is not counted";
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("pauseButton")));
  EXPECT_FALSE(recorder.paused());
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(record));
  EXPECT_TRUE(pumpUntil([&] { return !recorder.recording(); }));
  const std::filesystem::path last = recorder.lastRecording().toStdString();
  EXPECT_EQ(last.parent_path(), folder);
  EXPECT_TRUE(pumpUntil([&] { return std::filesystem::exists(last / "program.mov"); }));

  // The replay buffer kept Program meanwhile: saved from the strip, then played over Program.
  ASSERT_TRUE(pumpUntil([&] { return model().replay.heldSeconds() > 0.5; }, 20));
  QQuickItem* play = item("playReplayButton");
  EXPECT_FALSE(play->isEnabled());
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("saveReplayButton")));
  ASSERT_TRUE(pumpUntil([&] { return play->isEnabled(); }, 20)) << model().log->back();
  EXPECT_TRUE(model().log->back().starts_with("Replay saved: Replay ")) << model().log->back();
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(play));
  EXPECT_TRUE(model().fireGraphics.activeFireIDs->contains(AppModel::kReplayCueID));
}

TEST_F(Window, ADestinationAddedInTheEditorKeepsItsKeySecretAndGoesLiveFromThePanel) {
  testing::NginxRtmp nginx;
  QQuickWindow* window = window_->window();
  auto type = [&](const char* field, const QString& text) {
    QTest::mouseClick(window, Qt::LeftButton, {}, centre(item(field)));
    QTest::keyClick(window, Qt::Key_A, Qt::ControlModifier);
    for (const QChar c : text) QTest::sendKeyEvent(QTest::Click, window, Qt::Key_unknown, c, Qt::NoModifier);
  };
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("liveIndicator")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("addDestinationButton")));
  type("serverField", QString::fromStdString(nginx.url("live")));
  type("keyField", "secretkey42");
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(labelled("Save")));
  ASSERT_TRUE(pumpUntil([&] { return model().streamStore.destinations->size() == 1; }));
  const StreamDestination saved = model().streamStore.destinations->front();
  EXPECT_EQ(saved.serverURL, nginx.url("live"));
  EXPECT_EQ(model().streamKeys.key(saved.id), "secretkey42");
  std::ifstream file(model().streamStore.fileURL());
  const std::string stored((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_NE(stored.find(nginx.url("live")), std::string::npos);
  EXPECT_EQ(stored.find("secretkey42"), std::string::npos) << "the key stays out of the destinations file";

  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("liveToggle")));
  QQuickItem* state = item("stateText");
  ASSERT_TRUE(state);
  EXPECT_TRUE(pumpUntil([&] { return state->property("text").toString().startsWith("Live"); }, 30))
      << state->property("text").toString().toStdString();
  EXPECT_TRUE(pumpUntil([&] { return state->property("text").toString().contains("kbps · "); }, 10))
      << "the health row: " << state->property("text").toString().toStdString();
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("liveToggle")));
  EXPECT_TRUE(pumpUntil([&] { return !model().streaming.isAnyActive(); }));
  EXPECT_TRUE(std::filesystem::exists(nginx.recording("live", "secretkey42"))) << "nginx received the stream";
}

TEST_F(Window, AScreenIsAddedFromTheDialogAfterALiveLook) {
  testing::PrivateXServer screen(1280, 720);
  CaptureBridge& capture = window_->capture();
  capture.refresh();
  // A listing of the display the window runs on may still be on its way: the private one's comes after it.
  ASSERT_TRUE(pumpUntil([&] {
    return capture.displays().size() == 1 && capture.displays()[0].toMap()["detail"].toString() == "1280 × 720";
  })) << capture.screenProblem().toStdString();
  const QString key = capture.displays()[0].toMap()["key"].toString();

  const QString look = capture.preview("display", key);
  EXPECT_EQ(look, "source:preview:capture");
  EXPECT_TRUE(pumpUntil([&] { return model().frameSlots.latestFrame("preview:capture") != nullptr; }))
      << "a live look before anything is added";
  EXPECT_EQ(model().sourcesStore.saved->size(), 2u) << "looking adds nothing";

  const QString id = capture.add("display", key, 3);
  ASSERT_FALSE(id.isEmpty());
  EXPECT_FALSE(model().frameSlots.contains("preview:capture")) << "the look ends with the dialog's choice";
  const auto source = model().sourceLifecycle.find(id.toStdString());
  ASSERT_TRUE(source);
  EXPECT_TRUE(pumpUntil([&] { return source->isRunning(); }));
  EXPECT_EQ(capture.quality(id), 3);
  EXPECT_EQ(model().capture.captureQuality(id.toStdString()), CaptureQuality::hd720);
  EXPECT_EQ(model().sourcesStore.saved->back().kind, SavedSource::Kind::display);
}

TEST_F(Window, AClipIsAddedTrimmedAndItsRangeExportedFromItsEditor) {
  const auto file = dir_ / "countdown.mp4";
  ASSERT_EQ(testing::runProcess({testing::findProgram("ffmpeg", "ffmpeg"), "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                                 "testsrc2=rate=30:duration=3:size=320x180", "-g", "30", "-pix_fmt", "yuv420p",
                                 file.string()},
                                dir_ / "ffmpeg.log"),
            0);
  ClipBridge& clips = window_->clips();
  const QString id = clips.add(QUrl::fromLocalFile(QString::fromStdString(file.string())).toString());
  ASSERT_FALSE(id.isEmpty());
  clips.setClip(id);
  ASSERT_TRUE(pumpUntil([&] { return clips.duration() > 2.9; }));
  EXPECT_TRUE(pumpUntil([&] { return clips.playing(); })) << "a clip plays as it is added";
  clips.pause();
  EXPECT_FALSE(clips.playing());

  clips.setTrim(1.0, 2.0);
  EXPECT_DOUBLE_EQ(clips.trimEnd(), 2.0);
  const auto stored = [&] {
    for (const SavedSource& saved : model().sourcesStore.saved.get()) {
      if (saved.id == id.toStdString()) return std::pair(saved.trimStart.value_or(-1), saved.trimEnd.value_or(-1));
    }
    return std::pair(-1.0, -1.0);
  };
  EXPECT_TRUE(pumpUntil([&] { return stored() == std::pair(1.0, 2.0); }));
  clips.setTrim(1.0, clips.duration());
  EXPECT_TRUE(pumpUntil([&] { return stored().second == -1; })) << "an out point at the end is none";

  const std::size_t before = model().sources->size();
  clips.exportTrim();
  EXPECT_TRUE(pumpUntil([&] { return model().sources->size() == before + 1; }, 20)) << "the trimmed range is a clip of its own";
}

TEST_F(Window, ATitleIsTypedIntoItsEditorAndDrawnAsItIsTyped) {
  TitleBridge& titles = window_->titles();
  QTest::mouseClick(window_->window(), Qt::LeftButton, {}, centre(item("addSourceButton")));
  QTest::mouseClick(window_->window(), Qt::LeftButton, {}, centre(item("addTitleItem")));
  ASSERT_EQ(titles.kind(), "text") << "the new title is open in its editor";
  const std::string id = titles.source().toStdString();
  const FrameRef before = model().frameSlots.latestFrame(id);
  ASSERT_TRUE(before);

  QQuickItem* text = item("titleText");
  ASSERT_TRUE(text);
  text->setProperty("text", "Welcome");
  const auto stored = [&] {
    for (const SavedSource& saved : model().sourcesStore.saved.get()) {
      if (saved.id == id && saved.textConfig) return saved.textConfig->value("text", "");
    }
    return std::string();
  };
  EXPECT_EQ(stored(), "Welcome") << "kept as it is typed";
  EXPECT_TRUE(pumpUntil([&] { return model().frameSlots.latestFrame(id) != before; })) << "and drawn";
  EXPECT_TRUE(titles.setColor("background.color1", QColor(255, 0, 0)));
  EXPECT_TRUE(titles.set("fontSize", 80));
  EXPECT_EQ(titles.design()["fontSize"].toDouble(), 80);
  EXPECT_FALSE(titles.set("alignment", "diagonal")) << "a value the design cannot take";
  EXPECT_FALSE(titles.set("nosuchfield", 1));
  EXPECT_EQ(titles.design()["alignment"].toString(), "center");

  titles.setSource(titles.addShape(5));
  EXPECT_EQ(titles.kind(), "shape");
  EXPECT_EQ(titles.design()["shape"].toString(), "star");
  EXPECT_TRUE(titles.set("fill.style", "radial"));
  EXPECT_EQ(titles.design()["fill"].toMap()["style"].toString(), "radial");
}

class FirstLaunch : public Window {
 protected:
  bool runsGuide() const override { return true; }
};

TEST_F(FirstLaunch, TheGuideSetsTheCanvasAndRunsOnce) {
  QQuickWindow* window = window_->window();
  ASSERT_TRUE(window_->settings().showOnboarding());
  QQuickItem* next = labelled("Next");
  ASSERT_TRUE(next);
  window_->settings().setCanvasSize(1);  // what the guide's first picker does
  EXPECT_EQ(model().engine->canvasWidth(), 2560);
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(next));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(labelled("Next")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(labelled("Finish")));
  EXPECT_TRUE(pumpUntil([&] { return !model().showOnboarding.get(); }));
  std::ifstream file(dir_ / "preferences.json");
  const Json stored = Json::parse(file, nullptr, false);
  EXPECT_EQ(stored.value("Tavorin.onboardingDone", false), true) << "a second launch skips the guide";
}

TEST_F(Window, ATransitionBuiltAndSavedPlaysAsATake) {
  QQuickWindow* window = window_->window();
  TransitionBuilderBridge& builder = window_->builder();
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("builderButton")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("builderAddTrack")));
  ASSERT_EQ(builder.tracks().size(), 1);
  const QVariantMap track = builder.tracks()[0].toMap();
  builder.setName("Zoom through");
  builder.addStage(track["id"].toString());
  const QVariantList stages = builder.tracks()[0].toMap()["stages"].toList();
  ASSERT_EQ(stages.size(), track["stages"].toList().size() + 1);
  builder.setStage(track["id"].toString(), stages.back().toMap()["id"].toString(), "hold", 0.3);
  builder.setStage(track["id"].toString(), stages.back().toMap()["id"].toString(), "opacity", 7);
  EXPECT_EQ(builder.tracks()[0].toMap()["stages"].toList().back().toMap()["opacity"].toDouble(), 1) << "kept to sense";

  // Scrubbed, the studio monitor shows the draft alone at that point, and follows its edits.
  QQuickItem* studio = item("builderStudioPicture");
  ASSERT_TRUE(studio);
  const auto lit = [&](QPointF at) { return pumpUntil([&] { return shown(centre(studio, at)).lightness() > 60; }, 5); };
  builder.scrub(0);
  EXPECT_TRUE(lit({0.5, 0.5})) << "the first pose: small, in the middle";
  EXPECT_TRUE(shows(centre(studio, {0.9, 0.9}), Qt::black));
  builder.setStage(track["id"].toString(), stages.front().toMap()["id"].toString(), "posX", 0.2);
  EXPECT_TRUE(lit({0.2, 0.5}));
  EXPECT_TRUE(shows(centre(studio), Qt::black));
  // Played on the studio canvas, it leaves the show's switcher alone.
  builder.audition();
  EXPECT_TRUE(model().studioSwitcher.isTransitioning.get());
  EXPECT_FALSE(model().switcher.isTransitioning.get());
  EXPECT_EQ(model().switcher.programScene->id, redID_);

  builder.toggleHoldStage(track["id"].toString(), stages.back().toMap()["id"].toString());
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("builderSave")));
  ASSERT_EQ(model().transitionStore.transitions->size(), 1u);
  EXPECT_EQ(model().transitionStore.transitions->front().name, "Zoom through");
  EXPECT_TRUE(model().transitionStore.transitions->front().holdPoint) << "a fired run waits at the marked stage";
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(labelled("Close")));
  EXPECT_TRUE(pumpUntil([&] { return builder.scrubPosition() < 0; })) << "the studio canvas is given back";
  EXPECT_TRUE(std::filesystem::exists(model().transitionStore.fileURL()));
  builder.save();
  EXPECT_EQ(model().transitionStore.transitions->size(), 1u) << "saving again replaces it";

  // The switcher offers it at once, and a take with it runs it.
  SwitcherBridge& switcher = window_->switcher();
  const QVariantList choices = switcher.transitionChoices();
  int zoom = -1;
  for (int i = 0; i < choices.size(); ++i) {
    if (choices[i].toMap()["name"].toString() == "Zoom through") zoom = i;
  }
  ASSERT_GE(zoom, 0);
  switcher.setTransitionIndex(zoom);
  switcher.take();
  EXPECT_TRUE(pumpUntil([&] { return switcher.transitioning(); }, 2)) << "the transition runs";
  EXPECT_TRUE(pumpUntil([&] { return !switcher.transitioning() && model().switcher.programScene->id == blueID_; }));
}

TEST_F(Window, CroppingACornerCutsThePictureWithoutScalingIt) {
  LayerListModel& layers = window_->layers();
  layers.select(QString::fromStdString(model().switcher.previewScene->layers.front().id.toString()));
  const QRectF box = layers.selectedBox(), whole(0, 0, 1, 1);
  // The right edge in by a fifth of the box; then past the source's left edge, which holds.
  layers.cropSelected(box, whole, box.adjusted(0, 0, -box.width() / 5, 0));
  EXPECT_NEAR(layers.selectedCrop().right(), 0.8, 1e-9);
  EXPECT_NEAR(layers.selectedBox().left(), box.left(), 1e-9);
  EXPECT_NEAR(layers.selectedBox().width(), box.width() * 0.8, 1e-9);
  layers.cropSelected(box, whole, box.adjusted(-0.1, 0, 0, 0));
  EXPECT_NEAR(layers.selectedCrop().left(), 0, 1e-9);
  EXPECT_NEAR(layers.selectedBox().left(), box.left(), 1e-9) << "the box stops at the picture's edge";
}

TEST_F(Window, LayersGroupHideAsOneAndUngroup) {
  LayerListModel& layers = window_->layers();
  layers.addLayer(QString::fromStdString(*model().switcher.previewScene->layers.front().sourceID), 0.2, 0.2);
  ASSERT_EQ(layers.rowCount(), 2);
  layers.groupWithNext(0);
  const auto group = [&](int row) { return layers.data(layers.index(row), LayerListModel::groupIDRole).toString(); };
  ASSERT_FALSE(group(0).isEmpty());
  EXPECT_EQ(group(0), group(1));
  layers.setGroupHidden(group(0), true);
  for (const LayerState& layer : model().switcher.previewScene->layers) EXPECT_TRUE(layer.hidden);
  layers.ungroup(group(0));
  EXPECT_TRUE(group(0).isEmpty() && group(1).isEmpty());
}

// A drag as the operator's mouse makes it: pressed, moved in steps, released.
void dragBy(QQuickWindow* window, QPoint from, QPoint by) {
  QTest::mousePress(window, Qt::LeftButton, {}, from);
  for (int step = 1; step <= 8; ++step) QTest::mouseMove(window, from + by * step / 8, 15);
  QTest::mouseRelease(window, Qt::LeftButton, {}, from + by, 15);
}

// A key as X delivers it: the key's code beside Qt's name for it.
void pressKey(QQuickWindow* window, Qt::Key key, Qt::KeyboardModifiers modifiers, quint32 evdev, const QString& text) {
  QKeyEvent press(QEvent::KeyPress, key, modifiers, evdev + 8, 0, 0, text);
  QCoreApplication::sendEvent(window, &press);
}

TEST_F(Window, TheDeckRunsItsTilesAndIsArrangedEditedAndKeyedFromThePanel) {
  QQuickWindow* window = window_->window();
  DeckStore& decks = model().deckStore;
  decks.addTile(DeckAction::plain(DeckActionKind::cut), std::nullopt);
  decks.addTile(DeckAction::plain(DeckActionKind::punchBlack), std::nullopt);
  QQuickItem* cut = item("deckTile_CUT");
  QQuickItem* black = item("deckTile_Black");
  ASSERT_TRUE(cut && black);
  const double pitch = window_->deck().unit() + window_->deck().gap();
  EXPECT_DOUBLE_EQ(black->x() - cut->x(), 2 * pitch) << "medium tiles side by side";

  QTest::mouseClick(window, Qt::LeftButton, {}, centre(black));
  ASSERT_EQ(model().switcher.programScene->layers.size(), 1u);
  EXPECT_EQ(model().switcher.programScene->layers[0].sourceID, "still:black");

  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("editDeckButton")));
  const Uuid blackID = decks.activeDeck()->tiles[1].id;
  dragBy(window, centre(black), QPoint(-static_cast<int>(pitch), 0));
  settle();
  EXPECT_FALSE(decks.findTile(blackID)->gridX) << "onto the CUT tile: springs back";
  dragBy(window, centre(item("deckTile_Black")), QPoint(0, static_cast<int>(2 * pitch)));
  ASSERT_TRUE(pumpUntil([&] { return decks.findTile(blackID)->gridX.has_value(); }, 2));
  EXPECT_EQ(decks.findTile(blackID)->gridX, 2);
  EXPECT_EQ(decks.findTile(blackID)->gridY, 2);

  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("removeTile_CUT")));
  EXPECT_EQ(decks.activeDeck()->tiles.size(), 2u) << "the first click asks";
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("removeTile_CUT")));
  EXPECT_TRUE(pumpUntil([&] { return decks.activeDeck()->tiles.size() == 1u; }, 2));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("editDeckButton")));

  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("addTileButton")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("hotkeyField")));
  pressKey(window, Qt::Key_C, {}, KEY_C, "c");
  EXPECT_TRUE(item("hotkeyMessage")->isVisible()) << "a plain letter is refused";
  EXPECT_EQ(model().switcher.programScene->layers[0].sourceID, "still:black") << "nor does it reach the shortcuts";
  pressKey(window, Qt::Key_K, Qt::ControlModifier, KEY_K, "k");
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(labelled("Save")));
  ASSERT_EQ(decks.activeDeck()->tiles.size(), 2u);
  EXPECT_EQ(decks.activeDeck()->tiles[1].hotkey, (HotkeyBinding{40, hotkey_modifier::control, "Ctrl+K"}));

  window_->deck().addDeck("Late show");
  EXPECT_EQ(window_->deck().deckName(), "Late show");
  EXPECT_EQ(window_->deck().rowCount(), 0);
}

TEST_F(Window, AnOverlayFromTheLibraryGoesOnAirAndItsParamsAreEditedLive) {
  QQuickWindow* window = window_->window();
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("addSourceButton")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("addOverlayItem")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("newOverlayButton")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("starter6")));  // Lower Third
  ASSERT_TRUE(pumpUntil([&] { return model().overlayStore.overlays->size() == 1u; }, 2));
  const std::string id = "overlay:" + model().overlayStore.overlays->front().id.toString();
  ASSERT_TRUE(model().sourceLifecycle.find(id));

  // The editor opens on it: the bar slides in on its monitor, and a typed name is stored.
  QQuickItem* monitor = item("webMonitor");
  ASSERT_TRUE(monitor);
  EXPECT_TRUE(pumpUntil(
      [&] {
        // The bar right of its text, once the page is laid out at its layer's size.
        const QColor c = shown(centre(monitor, {0.75, 0.5}));
        return c.blue() > 80 && c.blue() > 3 * c.red() && model().frameSlots.latestFrame(id)->width() == 806;
      },
      20));
  QQuickItem* name = item("overlayParam0");
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(name));
  QTest::keyClick(window, Qt::Key_End);
  QTest::keyClick(window, Qt::Key_Exclam, Qt::ShiftModifier);
  const auto stored = [&] {
    for (const auto& saved : model().sourcesStore.saved.get()) {
      if (saved.id == id) return saved.overlayConfig.value_or(std::map<std::string, std::string>{})["name"];
    }
    return std::string();
  };
  EXPECT_TRUE(pumpUntil([&] { return stored() == "Your Name!"; }, 2));
}

TEST_F(Window, ALayerSavedAsACueIsNamedInItsEditorAndFiredOverProgramFromThePanel) {
  QQuickWindow* window = window_->window();
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("saveCue0")));
  ASSERT_EQ(model().fireGraphics.store.graphics->size(), 1u);
  const FireGraphic cue = model().fireGraphics.store.graphics->front();
  EXPECT_EQ(cue.size, (Size{0.5, 0.5})) << "the layer's place";

  // The new cue opens in its editor; a name typed there is kept on Save.
  QQuickItem* name = item("cueName");
  ASSERT_TRUE(name);
  ASSERT_TRUE(pumpUntil([&] { return name->isVisible(); }, 2));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(name));
  QTest::keyClick(window, Qt::Key_End);
  QTest::keyClick(window, Qt::Key_Exclam, Qt::ShiftModifier);
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(labelled("Save")));
  EXPECT_TRUE(pumpUntil([&] { return model().fireGraphics.store.graphics->front().name == cue.name + "!"; }, 2));

  // Fired from the panel: the blue cue over red Program, with the button's tally; hidden again.
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("graphicsTab")));
  QQuickItem* program = item("programMonitor");
  // The list is remade as the tally changes: the button is looked up each time.
  ASSERT_TRUE(item("fireCue0"));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("fireCue0")));
  EXPECT_TRUE(model().fireGraphics.activeFireIDs->contains(cue.id));
  EXPECT_TRUE(shows(centre(program), QColor(0, 0, 255)));
  EXPECT_EQ(item("fireCue0")->property("text").toString(), "HIDE");
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("fireCue0")));
  EXPECT_FALSE(model().fireGraphics.activeFireIDs->contains(cue.id));
  EXPECT_TRUE(shows(centre(program), QColor(255, 0, 0)));
  EXPECT_EQ(model().switcher.programScene->layers.size(), 1u) << "Program's scene is untouched";

  // A second cue from a source, through the panel's menu; its editor opens on it.
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("newCue")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(labelled("Source")));
  const std::string red = model().displayName(model().switcher.programScene->layers.front().sourceID);
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(labelled(QString::fromStdString(red))));
  ASSERT_TRUE(pumpUntil([&] { return model().fireGraphics.store.graphics->size() == 2u; }, 2));
  EXPECT_EQ(model().fireGraphics.store.graphics->back().name, red);
  EXPECT_TRUE(pumpUntil([&] { return item("cueName")->property("text").toString() == QString::fromStdString(red); }, 2));
}

TEST_F(Window, ANetworkCameraIsAddedFromItsDialogWithItsLogin) {
  testing::RtspCamera camera(dir_.path(), {"--auth", "basic", "op", "secret"});
  QQuickWindow* window = window_->window();
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("addSourceButton")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("addRTSPItem")));
  for (const auto& [field, text] : {std::pair{"rtspAddress", camera.url()}, std::pair{"rtspUser", std::string("op")},
                                    std::pair{"rtspPassword", std::string("secret")}}) {
    QTest::mouseClick(window, Qt::LeftButton, {}, centre(item(field)));
    for (const QChar c : QString::fromStdString(text)) QTest::sendKeyEvent(QTest::Click, window, Qt::Key_unknown, c, Qt::NoModifier);
  }
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(labelled("OK")));
  const std::string id = "rtsp:" + camera.url("op");
  ASSERT_TRUE(pumpUntil([&] { return model().sourceLifecycle.find(id) != nullptr; }, 2));
  EXPECT_TRUE(pumpUntil([&] { return model().frameSlots.latestFrame(id) != nullptr; }, 15));
}

// The show without an audio service, whatever the machine runs: the tests
// neither play into the user's speakers nor change the user's devices.
class NoAudioService : public Window {
 protected:
  void SetUp() override {
    environment_.set("PIPEWIRE_REMOTE", "tavorin-test-no-such-server");
    Window::SetUp();
  }
  testing::ScopedEnvironment environment_;
};

TEST_F(NoAudioService, SoundEffectsPlayAndStopFromTheirPanelImportAsideAndRideASavedTransition) {
  QQuickWindow* window = window_->window();
  SoundEffectsBridge& effects = window_->soundEffects();
  ASSERT_TRUE(pumpUntil([&] { return model().soundEffects.store.seeded.get(); }, 30));
  ASSERT_EQ(effects.rowCount(), 15);
  const SFXItem ding = model().soundEffects.store.sounds->front();
  ASSERT_EQ(ding.name, "Ding");

  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("soundsTab")));
  QQuickItem* play = item("sfxPlay_Ding");
  ASSERT_TRUE(play);
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(play));
  EXPECT_TRUE(model().audioMixer.sfxPlaying.get());
  EXPECT_TRUE(shows(centre(play, {0.15, 0.15}), QColor("#e5484d"))) << "the playing sound's tally";
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("sfxStopAll")));
  EXPECT_FALSE(model().audioMixer.sfxPlaying.get());
  EXPECT_FALSE(model().soundEffects.nowPlayingID.get());

  const auto file = dir_ / "Fanfare.wav";
  std::filesystem::copy_file(model().soundEffects.store.fileURL(ding), file);
  effects.importFile(QUrl::fromLocalFile(QString::fromStdString(file.string())).toString());
  ASSERT_TRUE(pumpUntil([&] { return effects.rowCount() == 16 && effects.importing() == 0; }));
  EXPECT_EQ(effects.data(effects.index(15), SoundEffectsBridge::nameRole).toString(), "Fanfare")
      << "after the built-ins";

  TransitionBuilderBridge& builder = window_->builder();
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("builderButton")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("builderAddTrack")));
  item("builderSoundDelay")->setProperty("text", "0.5");
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("builderAddSound")));
  ASSERT_EQ(builder.sounds().size(), 1);
  builder.setSound(builder.sounds()[0].toMap()["id"].toString(), "gainDB", -6);
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("builderSave")));
  ASSERT_EQ(model().transitionStore.transitions->size(), 1u);
  const std::vector<TransitionSound> saved = model().transitionStore.transitions->front().sounds;
  ASSERT_EQ(saved.size(), 1u);
  EXPECT_EQ(saved[0].soundID, ding.id);
  EXPECT_DOUBLE_EQ(saved[0].delay, 0.5);
  EXPECT_NEAR(saved[0].gain, 0.501, 1e-3) << "-6 dB";
}

TEST_F(NoAudioService, InstallingTheAudioDriversSaysWhyItFailed) {
  QQuickWindow* window = window_->window();
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("addInputButton")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("audioDevicesItem")));
  QTest::mouseClick(window, Qt::LeftButton, {}, centre(item("installDriversButton")));
  ASSERT_FALSE(model().log->empty());
  EXPECT_TRUE(model().log->back().starts_with("Audio driver install failed: ")) << model().log->back();
}

TEST(WindowRunner, QuitsThroughTheQuitPathAndSavesTheSession) {
  testing::TempDir dir;
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  setenv("QT_QUICK_BACKEND", "software", 0);
  testing::ChildProcess show({TAVORIN_EXECUTABLE, "--show-dir", dir.path().string(), "--demo", "--seconds", "3"},
                             dir / "stderr.txt");
  EXPECT_EQ(show.wait(60), std::optional<int>(0));
  EXPECT_TRUE(std::filesystem::exists(dir / "session.json"));
}

}  // namespace
}  // namespace tavorin

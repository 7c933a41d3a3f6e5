#include "ui/ShowWindow.h"

#include <QGuiApplication>
#include <QQmlContext>
#include <QScreen>
#include <QQuickWindow>
#include <QUrl>

#include "app/AppModel.h"
#include "ui/MonitorItem.h"

namespace tavorin {

namespace {

constexpr std::string_view kSourcePrefix = "source:";

std::optional<Canvas> canvasNamed(const std::string& name) {
  if (name == "program") return Canvas::program;
  if (name == "preview") return Canvas::preview;
  // The private stage where transitions are rehearsed.
  if (name == "studio") return Canvas::studio;
  return std::nullopt;
}

MonitorFeed feedOf(AppModel& model) {
  MonitorFeed feed;
  feed.newest = [&model](const std::string& name) -> FrameRef {
    if (!model.engine) return nullptr;
    if (name.starts_with(kSourcePrefix)) return model.frameSlots.latestFrame(name.substr(kSourcePrefix.size()));
    const auto id = Uuid::parse(name);
    return id ? model.engine->auxBuffer(*id) : nullptr;
  };
  feed.watch = [&model](const std::string& name, int width, int height) -> std::uint64_t {
    const auto canvas = canvasNamed(name);
    // Thumbnails ride on the ticks the monitors ask for; sources publish by themselves.
    if (!canvas || !model.engine) return 0;
    return model.engine->addMonitor(*canvas, width, height);
  };
  feed.resize = [&model](std::uint64_t token, int width, int height) {
    if (token && model.engine) model.engine->resizeMonitor(token, width, height);
  };
  feed.unwatch = [&model](std::uint64_t token) {
    if (token && model.engine) model.engine->removeConsumer(token);
  };
  feed.picture = [&model](std::uint64_t token) {
    return token && model.engine ? model.engine->monitorPicture(token) : MonitorPicture{};
  };
  feed.canvasSize = [&model](const std::string& name) -> std::pair<int, int> {
    if (!canvasNamed(name) || !model.engine) return {0, 0};
    return {model.engine->canvasWidth(), model.engine->canvasHeight()};
  };
  return feed;
}

}  // namespace

ShowWindow::ShowWindow(AppModel& model)
    : model_(model), switcher_(model), scenes_(model), sources_(model), layers_(model), inspector_(model), shapes_(model), mixer_(model), audioFilters_(model), recorder_(model), streams_(model), settings_(model), builder_(model), capture_(model), clips_(model), titles_(model), status_(model), soundEffects_(model), audioDevices_(model), deck_(model), web_(model), graphics_(model), replay_(model), filters_(model) {
  MonitorItem::setFeed(feedOf(model));
  qmlRegisterType<MonitorItem>("Tavorin", 1, 0, "Monitor");
  engine_ = std::make_unique<QQmlApplicationEngine>();
  QQmlContext* context = engine_->rootContext();
  context->setContextProperty("switcher", &switcher_);
  context->setContextProperty("scenes", &scenes_);
  context->setContextProperty("sources", &sources_);
  context->setContextProperty("layers", &layers_);
  context->setContextProperty("inspector", &inspector_);
  context->setContextProperty("shapes", &shapes_);
  context->setContextProperty("mixer", &mixer_);
  context->setContextProperty("audioFilters", &audioFilters_);
  context->setContextProperty("recorder", &recorder_);
  context->setContextProperty("streams", &streams_);
  context->setContextProperty("settings", &settings_);
  context->setContextProperty("builder", &builder_);
  context->setContextProperty("capture", &capture_);
  context->setContextProperty("clips", &clips_);
  context->setContextProperty("titles", &titles_);
  context->setContextProperty("status", &status_);
  context->setContextProperty("soundEffects", &soundEffects_);
  context->setContextProperty("audioDevices", &audioDevices_);
  context->setContextProperty("deck", &deck_);
  context->setContextProperty("web", &web_);
  context->setContextProperty("graphics", &graphics_);
  context->setContextProperty("replay", &replay_);
  context->setContextProperty("filters", &filters_);
  engine_->load(QUrl("qrc:/tavorin/qml/Main.qml"));
  if (QQuickWindow* shown = window()) shown->installEventFilter(&deck_);
  restoreGeometry();
}

void ShowWindow::restoreGeometry() {
  QQuickWindow* shown = window();
  const Json state = model_.windowState();
  if (!shown || !state.is_object()) return;
  const QRect wanted(state.value("x", 0), state.value("y", 0), state.value("width", 0), state.value("height", 0));
  // A place on a screen that is gone, or a size below the window's least, is not restored.
  QScreen* screen = QGuiApplication::screenAt(wanted.center());
  if (wanted.width() >= shown->minimumWidth() && wanted.height() >= shown->minimumHeight() && screen) {
    shown->setGeometry(wanted);
  }
  if (state.value("maximized", false)) shown->showMaximized();
}

void ShowWindow::saveGeometry() {
  QQuickWindow* shown = window();
  if (!shown) return;
  const QRect at = shown->geometry();
  model_.setWindowState(Json{{"x", at.x()},
                             {"y", at.y()},
                             {"width", at.width()},
                             {"height", at.height()},
                             {"maximized", shown->windowStates().testFlag(Qt::WindowMaximized)}});
}

ShowWindow::~ShowWindow() {
  saveGeometry();
  // The scene goes before the bridges it reads.
  engine_.reset();
  MonitorItem::setFeed({});
}

QQuickWindow* ShowWindow::window() const {
  const auto roots = engine_->rootObjects();
  return roots.isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(roots.first());
}

}  // namespace tavorin

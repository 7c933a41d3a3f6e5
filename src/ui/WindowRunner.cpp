#include "ui/WindowRunner.h"

#include <QGuiApplication>
#include <QQuickStyle>
#include <QQuickWindow>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/ShowRuntime.h"
#include "platform/loop/GLibMainQueue.h"
#include "ui/SceneGraphShare.h"
#include "ui/ShowWindow.h"

namespace tavorin {

int runWindow(const LaunchOptions& options, int& argc, char** argv) {
  const bool display = std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY") || std::getenv("QT_QPA_PLATFORM");
  if (!display) {
    std::fprintf(stderr, "tavorin: no display to open the window on; run with --headless\n");
    return 2;
  }
  // Qt's offscreen platform has no GL: its scene graph draws in software.
  if (const char* platform = std::getenv("QT_QPA_PLATFORM"); platform && std::string(platform) == "offscreen") {
    setenv("QT_QUICK_BACKEND", "software", 0);
  }
  // On X11, Qt's EGL integration: the only one whose contexts can share with the compositor's.
  if (!std::getenv("QT_XCB_GL_INTEGRATION")) setenv("QT_XCB_GL_INTEGRATION", "xcb_egl", 1);
  QGuiApplication::setApplicationName("Tavorin");
  QGuiApplication::setOrganizationName("Tavorin");
  // Every context of the scene graph then shares with one global context, which ours joins.
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  QGuiApplication application(argc, argv);
  QQuickStyle::setStyle("Basic");

  // Qt serves GLib's default main context on Linux: the model's queue runs on Qt's loop.
  GLibMainQueue queue;
  const GLShareGroup share = sceneGraphShareGroup();
  ShowRuntime runtime(options, queue, [] { QCoreApplication::quit(); }, share);
  if (!runtime.model()) {
    std::fprintf(stderr, "%s\n", runtime.failure().c_str());
    return 1;
  }
  runtime.start();
  if (!share.context) {
    runtime.model()->appendLog("Qt draws without EGL here (" + QGuiApplication::platformName().toStdString() +
                               "); the monitors show copies of the pictures");
  }
  int exitStatus = 1;
  {
    ShowWindow window(*runtime.model());
    if (window.window()) {
      QGuiApplication::exec();
      exitStatus = 0;
    }
  }
  bool outputsClosed = true;
  const int finished = runtime.finish(outputsClosed);
  if (exitStatus == 0) exitStatus = finished;
  if (!outputsClosed) {
    // As headless: the show is saved, a stuck writer does not hold the process.
    std::fflush(stderr);
    std::_Exit(exitStatus);
  }
  return exitStatus;
}

}  // namespace tavorin

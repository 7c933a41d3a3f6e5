#include "ui/SceneGraphShare.h"

#include <QOpenGLContext>
#include <QQuickWindow>
#include <QtGui/qopenglcontext_platform.h>

namespace tavorin {

GLShareGroup sceneGraphShareGroup() {
  // The backend chosen by QT_QUICK_BACKEND is not what sceneGraphBackend() reports; both are asked.
  const QString backend = qEnvironmentVariable("QT_QUICK_BACKEND");
  if (QQuickWindow::sceneGraphBackend() == "software" || backend == "software" || backend == "softwarecontext" ||
      QQuickWindow::graphicsApi() != QSGRendererInterface::OpenGL) {
    return {};
  }
  QOpenGLContext* global = QOpenGLContext::globalShareContext();
  auto* egl = global ? global->nativeInterface<QNativeInterface::QEGLContext>() : nullptr;
  if (!egl) return {};
  return GLShareGroup{egl->display(), egl->nativeContext()};
}

}  // namespace tavorin

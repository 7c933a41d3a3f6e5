#include "ui/SceneGraphShare.h"

#include <QOpenGLContext>
#include <QQuickWindow>
#include <QtGui/qopenglcontext_platform.h>

namespace tavorin {

GLShareGroup sceneGraphShareGroup() {
  if (QQuickWindow::sceneGraphBackend() == "software") return {};
  QOpenGLContext* global = QOpenGLContext::globalShareContext();
  auto* egl = global ? global->nativeInterface<QNativeInterface::QEGLContext>() : nullptr;
  if (!egl) return {};
  return GLShareGroup{egl->display(), egl->nativeContext()};
}

}  // namespace tavorin

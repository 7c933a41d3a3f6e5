#pragma once

#include "platform/gl/GLShareGroup.h"

namespace tavorin {

// After the application is made: the EGL display and context Qt's scene
// graph shares its textures with (Qt::AA_ShareOpenGLContexts set before),
// so the compositor's context can join them. None where Qt draws without
// EGL: its software backend, or GLX.
GLShareGroup sceneGraphShareGroup();

}  // namespace tavorin

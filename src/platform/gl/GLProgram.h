#pragma once

#include <string>

#include "platform/gl/GLContext.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// Compiles and links a vertex and a fragment shader; `fragmentDefines`
// (lines of #define) go ahead of the fragment source. Throws GLFailure with
// "Failed to create pipeline VERTEX/FRAGMENT: " and the compiler's log.
GLProgramHandle buildProgram(const GLContext& context, const std::string& vertexName, const char* vertexSource,
                             const std::string& fragmentName, const char* fragmentSource,
                             const std::string& fragmentDefines = {});

}  // namespace tavorin

#pragma once

#include <stdexcept>
#include <string>

namespace tavorin {

// A GPU set-up step that cannot go on; the text is the operator's message.
class GLFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline constexpr const char* kOpenGLUnavailableMessage = "OpenGL is required and unavailable on this machine.";

}  // namespace tavorin

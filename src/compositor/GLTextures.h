#pragma once

#include <cstdint>

#include "platform/gl/GLObjects.h"

namespace tavorin {

// A colour texture that holds BGRA bytes. Sampling swizzles them so shaders
// see true rgba; shaders that write such a texture store `.bgra`.
GLTexture makeBGRATexture(int width, int height);

// A single-channel 8-bit texture, filled from tightly packed rows (or left undefined with null).
GLTexture makeR8Texture(int width, int height, const std::uint8_t* pixels);

// A texture as a layer's draw uses it.
struct LayerTexture {
  GLuint texture = 0;
  int width = 0;
  int height = 0;
};

}  // namespace tavorin

#include "compositor/GLTextures.h"

namespace tavorin {

namespace {

void setSampling() {
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

}  // namespace

GLTexture makeBGRATexture(int width, int height) {
  GLTexture texture = makeTexture();
  glBindTexture(GL_TEXTURE_2D, texture.get());
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  setSampling();
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_R, GL_BLUE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_B, GL_RED);
  glBindTexture(GL_TEXTURE_2D, 0);
  return texture;
}

GLTexture makeR8Texture(int width, int height, const std::uint8_t* pixels) {
  GLTexture texture = makeTexture();
  glBindTexture(GL_TEXTURE_2D, texture.get());
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, width, height, 0, GL_RED, GL_UNSIGNED_BYTE, pixels);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  setSampling();
  glBindTexture(GL_TEXTURE_2D, 0);
  return texture;
}

}  // namespace tavorin

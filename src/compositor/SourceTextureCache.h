#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "base/PixelBuffer.h"
#include "compositor/GLTextures.h"
#include "platform/gl/GLObjects.h"

namespace tavorin {

// GPU copies of the sources' newest frames. A frame is uploaded once, through
// a pixel-unpack buffer, and only when it is a picture not seen before; each
// source alternates between two textures so an upload never waits on a draw
// that still reads the previous frame. Render thread only.
class SourceTextureCache {
 public:
  // The texture holding `frame` for `sourceID`; uploads when needed. A
  // texture of 0 when the upload could not be made.
  LayerTexture textureFor(const std::string& sourceID, const PixelBuffer& frame);

  // Call once per composed frame: sources unused for a long stretch give
  // their textures back.
  void endFrame();

  std::uint64_t uploadCount() const { return uploads_; }

 private:
  struct Entry {
    GLTexture textures[2];
    GLBuffer unpackBuffer;
    int width = 0;
    int height = 0;
    int current = 0;
    std::uint64_t generation = 0;
    const PixelBuffer* buffer = nullptr;
    std::uint64_t lastUsedFrame = 0;
  };

  static constexpr std::uint64_t kEvictAfterFrames = 600;

  std::unordered_map<std::string, Entry> entries_;
  std::uint64_t frame_ = 0;
  std::uint64_t uploads_ = 0;
};

}  // namespace tavorin

#include "compositor/SourceTextureCache.h"

#include <cstring>

namespace tavorin {

LayerTexture SourceTextureCache::textureFor(const std::string& sourceID, const PixelBuffer& frame) {
  auto it = entries_.find(sourceID);
  if (it == entries_.end()) it = entries_.emplace(sourceID, Entry{}).first;
  Entry& entry = it->second;
  entry.lastUsedFrame = frame_;
  if (entry.buffer == &frame && entry.generation == frame.generation() && entry.textures[entry.current]) {
    return {entry.textures[entry.current].get(), entry.width, entry.height};
  }
  if (entry.width != frame.width() || entry.height != frame.height() || !entry.textures[0]) {
    entry.textures[0] = makeBGRATexture(frame.width(), frame.height());
    entry.textures[1] = makeBGRATexture(frame.width(), frame.height());
    entry.width = frame.width();
    entry.height = frame.height();
  }
  if (!entry.unpackBuffer) entry.unpackBuffer = makeBuffer();
  const int next = entry.buffer == nullptr ? entry.current : 1 - entry.current;

  const auto bytes = static_cast<GLsizeiptr>(frame.byteCount());
  glBindBuffer(GL_PIXEL_UNPACK_BUFFER, entry.unpackBuffer.get());
  // Orphaning gives fresh storage, so the copy below never waits on an
  // upload still in flight.
  glBufferData(GL_PIXEL_UNPACK_BUFFER, bytes, nullptr, GL_STREAM_DRAW);
  void* mapped = glMapBufferRange(GL_PIXEL_UNPACK_BUFFER, 0, bytes, GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_BUFFER_BIT);
  if (mapped == nullptr) {
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    return {};
  }
  {
    std::memcpy(mapped, frame.data(), frame.byteCount());
    glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);
    glBindTexture(GL_TEXTURE_2D, entry.textures[next].get());
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, static_cast<GLint>(frame.bytesPerRow() / 4));
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, frame.width(), frame.height(), GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glBindTexture(GL_TEXTURE_2D, 0);
    ++uploads_;
  }
  glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
  entry.current = next;
  entry.buffer = &frame;
  entry.generation = frame.generation();
  return {entry.textures[next].get(), entry.width, entry.height};
}

void SourceTextureCache::endFrame() {
  ++frame_;
  if (frame_ % 60 != 0) return;
  std::erase_if(entries_, [&](const auto& item) { return frame_ - item.second.lastUsedFrame > kEvictAfterFrames; });
}

}  // namespace tavorin

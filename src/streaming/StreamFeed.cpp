#include "streaming/StreamFeed.h"

#include <algorithm>
#include <utility>

namespace tavorin {

namespace {

void reserveBlock(StreamFeed::AudioChunk& chunk) {
  chunk.buffer.planes.resize(kCommonChannels);
  for (auto& plane : chunk.buffer.planes) plane.reserve(kProgramBlockFrames);
}

}  // namespace

StreamFeed::Batch::Batch() {
  for (auto& chunk : audio) reserveBlock(chunk);
}

StreamFeed::StreamFeed() {
  for (auto& chunk : audio_.slots) reserveBlock(chunk);
}

bool StreamFeed::putVideo(PixelBufferRef frame, double time) {
  bool dropped = false;
  {
    std::lock_guard hold(lock_);
    if (finished_) return false;
    auto& slot = video_.push(dropped);
    slot.frame = std::move(frame);
    slot.time = time;
  }
  wake_.notify_one();
  return dropped;
}

bool StreamFeed::putAudio(const PcmBuffer& buffer, double when) {
  bool dropped = false;
  {
    std::lock_guard hold(lock_);
    if (finished_) return false;
    auto& slot = audio_.push(dropped);
    slot.when = when;
    slot.buffer.sampleRate = buffer.sampleRate;
    slot.buffer.frameLength = buffer.frameLength;
    slot.buffer.planes.resize(buffer.planes.size());
    for (std::size_t c = 0; c < buffer.planes.size(); ++c) {
      const auto& source = buffer.planes[c];
      slot.buffer.planes[c].assign(source.begin(), source.begin() + std::min<std::size_t>(buffer.frameLength, source.size()));
    }
  }
  wake_.notify_one();
  return dropped;
}

bool StreamFeed::take(Batch& batch) {
  std::unique_lock hold(lock_);
  wake_.wait(hold, [this] { return finished_ || video_.count > 0 || audio_.count > 0; });
  if (finished_) return false;
  batch.videoCount = video_.count;
  for (std::size_t i = 0; i < video_.count; ++i) {
    batch.video[i] = std::move(video_.slots[(video_.head + i) % kVideoCapacity]);
  }
  video_.head = video_.count = 0;
  batch.audioCount = audio_.count;
  for (std::size_t i = 0; i < audio_.count; ++i) {
    std::swap(batch.audio[i], audio_.slots[(audio_.head + i) % kAudioCapacity]);
  }
  audio_.head = audio_.count = 0;
  return true;
}

void StreamFeed::finish() {
  {
    std::lock_guard hold(lock_);
    finished_ = true;
    for (auto& slot : video_.slots) slot.frame.reset();
    video_.count = audio_.count = 0;
  }
  wake_.notify_all();
}

}  // namespace tavorin

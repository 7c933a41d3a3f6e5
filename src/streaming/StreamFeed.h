#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <mutex>

#include "base/PcmBuffer.h"
#include "base/PixelBuffer.h"

namespace tavorin {

// The frames and audio waiting for one session's encoders. The frame path
// and the audio tap only put; the session's pump takes. New media pushes out
// the oldest, so a session that falls behind loses its own oldest frames and
// holds nobody up. Putting never allocates once the slots have held a block
// of the tap's size; the lock is held only to move references.
class StreamFeed {
 public:
  static constexpr std::size_t kVideoCapacity = 2;
  static constexpr std::size_t kAudioCapacity = 32;

  struct VideoSample {
    PixelBufferRef frame;
    double time = 0;
  };
  struct AudioChunk {
    PcmBuffer buffer;
    double when = 0;
  };
  // What one take hands the pump; its audio chunks trade places with the feed's.
  struct Batch {
    std::array<VideoSample, kVideoCapacity> video;
    std::size_t videoCount = 0;
    std::array<AudioChunk, kAudioCapacity> audio;
    std::size_t audioCount = 0;

    Batch();
  };

  StreamFeed();

  // True when the oldest waiting frame made way for this one.
  bool putVideo(PixelBufferRef frame, double time);
  // True when the oldest waiting chunk made way for this one.
  bool putAudio(const PcmBuffer& buffer, double when);
  // Waits until media waits or the feed is finished; false once finished.
  bool take(Batch& batch);
  // Wakes the pump for good and lets go of what waits.
  void finish();

 private:
  template <class T, std::size_t N>
  struct Ring {
    std::array<T, N> slots;
    std::size_t head = 0;
    std::size_t count = 0;

    // The slot to fill next; when full, the oldest, which is dropped.
    T& push(bool& dropped) {
      dropped = count == N;
      if (dropped) {
        head = (head + 1) % N;
        --count;
      }
      return slots[(head + count++) % N];
    }
  };

  std::mutex lock_;
  std::condition_variable wake_;
  Ring<VideoSample, kVideoCapacity> video_;
  Ring<AudioChunk, kAudioCapacity> audio_;
  bool finished_ = false;
};

}  // namespace tavorin

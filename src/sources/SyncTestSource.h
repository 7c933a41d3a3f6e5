#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include "base/HostTime.h"
#include "base/PixelBufferPool.h"
#include "sources/BaseSource.h"

namespace tavorin {

// The picture that lines up a chain and measures its A/V sync: 30 frames a
// second on a grid fixed at construction (frame i shows at epoch + i/30), a
// dark field with a bar that sweeps across once a second and a seconds
// counter, and a full white frame as the first frame of every second. The
// sync beep of the mixer runs on the same epoch.
class SyncTestSource : public BaseSource {
 public:
  static constexpr int kFrameRate = 30;
  static constexpr int kWidth = 1920;
  static constexpr int kHeight = 1080;

  SyncTestSource(std::string id, std::string displayName, double epoch = hostTimeNow());
  ~SyncTestSource() override;

  // Host time of frame 0; every whole second after it starts with a flash.
  double epoch() const { return epoch_; }
  double frameTime(std::int64_t index) const { return epoch_ + static_cast<double>(index) / kFrameRate; }

  void start(StartDone done) override;
  void stop() override;
  bool canPark() const override { return false; }

  // The pacing thread's step: frame `index` drawn into a pooled buffer and
  // stamped with frameTime(index); it flashes when it is the frame on a whole
  // second. Null when the pool has no buffer free. Only one thread at a time
  // calls it: the source's own while started, a test otherwise.
  FrameRef drawFrame(std::int64_t index);

 private:
  void run();

  const double epoch_;
  PixelBufferPool pool_{kWidth, kHeight};
  std::atomic<bool> producing_{false};
  std::thread thread_;
};

}  // namespace tavorin

#pragma once

#include <array>
#include <memory>
#include <optional>

#include "base/MainQueue.h"
#include "compositor/CompositorEngine.h"
#include "platform/media/SharedEncoders.h"

namespace tavorin {

// The encoders as consumers of the frame clock: while the recorder, a stream
// or the hardware path encodes a canvas, that canvas is drawn, at the fastest
// frame rate its encoders take; once the last one closes, it is not.
class EncoderConsumers {
 public:
  // Main thread. Takes what is open already, then follows every change.
  EncoderConsumers(SharedEncoders& encoders, CompositorEngine& engine, MainQueue& queue);
  ~EncoderConsumers();
  EncoderConsumers(const EncoderConsumers&) = delete;
  EncoderConsumers& operator=(const EncoderConsumers&) = delete;

 private:
  struct Need {
    double rate = 0;
    std::optional<CompositorEngine::ConsumerID> id;
  };

  // Main thread: matches the engine's consumers to the encoders open now.
  void update();

  SharedEncoders& encoders_;
  CompositorEngine& engine_;
  // Program's and the vertical canvas's, the two canvases that are encoded.
  std::array<Need, 2> needs_;
  // Changes come from the threads that open encoders; each is taken on the
  // main queue, which does nothing once this is gone.
  std::shared_ptr<EncoderConsumers*> self_ = std::make_shared<EncoderConsumers*>(this);
};

}  // namespace tavorin

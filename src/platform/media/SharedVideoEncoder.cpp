#include "platform/media/SharedVideoEncoder.h"

#include "base/ThreadName.h"

namespace tavorin {

SharedVideoEncoder::SharedVideoEncoder(std::string canvas, std::unique_ptr<VideoEncoder> encoder)
    : canvas_(std::move(canvas)),
      encoding_(encoder->encoding()),
      encoderName_(encoder->encoderName()),
      // A clock a little early still gives every frame the rate wants.
      minInterval_(1.0 / std::max(encoder->encoding().frameRate, 1.0) - 0.002),
      encoder_(std::move(encoder)),
      thread_([this] { run(); }) {}

SharedVideoEncoder::~SharedVideoEncoder() { stop(false); }

void SharedVideoEncoder::offer(const FrameRef& frame) {
  if (!frame) return;
  const double time = frame->hostTime();
  // Older or repeated times, and frames sooner than the rate wants, are not encoded.
  if (time - lastOffered_ < minInterval_) return;
  lastOffered_ = time;
  {
    std::lock_guard hold(lock_);
    if (stopping_) return;
    if (count_ == kQueueCapacity) {
      ++dropped_;
      return;
    }
    ring_[(head_ + count_++) % kQueueCapacity] = Queued{frame, time};
  }
  wake_.notify_one();
}

void SharedVideoEncoder::addReceiver(std::uint64_t id, Receiver receiver) {
  receivers_.add(id, std::move(receiver), true);
  forceKeyFrame_ = true;
}

bool SharedVideoEncoder::removeReceiver(std::uint64_t id) {
  if (receivers_.size() > 1) return receivers_.remove(id);
  // The last receiver gets what the encoder still holds before it goes.
  stop(true);
  receivers_.remove(id);
  return true;
}

void SharedVideoEncoder::stop(bool flush) {
  {
    std::lock_guard hold(lock_);
    if (stopping_ && !thread_.joinable()) return;
    stopping_ = true;
    flushOnStop_ = flushOnStop_ || flush;
  }
  wake_.notify_one();
  if (!thread_.joinable()) return;
  // A receiver that leaves from inside its own callback cannot wait for the thread it runs on.
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void SharedVideoEncoder::deliverAll() {
  EncodedVideoSample sample;
  EncoderError error;
  while (encoder_->receive(sample, error)) {
    const bool key = sample.isKeyFrame;
    receivers_.deliver(std::make_shared<const EncodedVideoSample>(std::move(sample)), key);
    sample = {};
  }
}

void SharedVideoEncoder::run() {
  nameThisThread("Tavorin.Encode");
  for (;;) {
    Queued item;
    bool flush = false;
    {
      std::unique_lock hold(lock_);
      wake_.wait(hold, [this] { return count_ > 0 || stopping_; });
      if (stopping_ && !flushOnStop_) return;
      if (count_ > 0) {
        item = std::move(ring_[head_]);
        head_ = (head_ + 1) % kQueueCapacity;
        --count_;
      } else {
        flush = true;
      }
    }
    if (flush) {
      if (encoder_->flush() == EncoderError::none) deliverAll();
      return;
    }
    const bool key = forceKeyFrame_.exchange(false);
    if (encoder_->send(*item.frame, item.time, key) != EncoderError::none) {
      // The frame is lost; the next one tries again and makes the key frame that was asked for.
      if (key) forceKeyFrame_ = true;
      ++dropped_;
      continue;
    }
    item.frame.reset();
    deliverAll();
  }
}

}  // namespace tavorin

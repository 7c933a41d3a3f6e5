#include "platform/media/SharedVideoEncoder.h"

#include <algorithm>

#include "base/ThreadName.h"

namespace tavorin {

SharedVideoEncoder::SharedVideoEncoder(std::string canvas, std::unique_ptr<VideoEncoder> encoder,
                                       std::uint32_t serial, LogHandler log)
    : canvas_(std::move(canvas)),
      serial_(serial),
      encoding_(encoder->encoding()),
      encoderName_(encoder->encoderName()),
      // A clock a little early still gives every frame the rate wants.
      minInterval_(1.0 / std::max(encoder->encoding().frameRate, 1.0) - 0.002),
      takesNv12_(encoder->takesNv12(encoder->encoding().width, encoder->encoding().height)),
      encoder_(std::move(encoder)),
      failures_("Video encoder " + encoderName_ + " (" + canvas_ + ", " + std::to_string(encoding_.width) + "×" +
                    std::to_string(encoding_.height) + ")",
                std::move(log)) {
  worker_.start([this] { run(); });
}

SharedVideoEncoder::~SharedVideoEncoder() { worker_.stop(false); }

bool SharedVideoEncoder::wants(double time) {
  // Older or repeated times, and frames sooner than the rate wants, are not encoded.
  if (time - lastOffered_ < minInterval_) return false;
  lastOffered_ = onGrid(time);
  return true;
}

double SharedVideoEncoder::onGrid(double time) const {
  // A frame stamped a little late keeps the rate's grid, so the next one, on
  // time, is not refused (a clock ticking at this very rate would lose it);
  // one a whole frame late or more starts the grid again.
  const double interval = minInterval_ + 0.002;
  return time - lastOffered_ < 1.5 * interval ? lastOffered_ + interval : time;
}

void SharedVideoEncoder::offer(const FrameRef& frame) {
  if (!frame) return;
  const double time = frame->hostTime();
  // The GPU's own NV12 is on its way: the BGRA picture would only be converted again.
  if (time - lastGpuPicture_ < 0.5) return;
  if (wants(time)) push(Queued{frame, nullptr, time});
}

void SharedVideoEncoder::offer(const Nv12FrameRef& frame) {
  if (!frame || !takesNv12(frame->width(), frame->height())) return;
  const double time = frame->hostTime();
  lastGpuPicture_ = time;
  if (wants(time)) push(Queued{nullptr, frame, time});
}

void SharedVideoEncoder::push(Queued item) {
  {
    std::lock_guard hold(worker_.lock);
    if (worker_.stopping) return;
    if (count_ == kQueueCapacity) {
      ++dropped_;
      return;
    }
    ring_[(head_ + count_++) % kQueueCapacity] = std::move(item);
  }
  worker_.wake.notify_one();
}

std::optional<Nv12DmaBuf> SharedVideoEncoder::takeSurface(double now) {
  if (!takesNv12_ || surfacesRefused_) return std::nullopt;
  std::optional<Nv12DmaBuf> surface;
  {
    std::lock_guard hold(worker_.lock);
    if (worker_.stopping) return std::nullopt;
    if (!surfacesWanted_) {
      // The encoder thread exports a few from now on.
      surfacesWanted_ = true;
      worker_.wake.notify_one();
      return std::nullopt;
    }
    if (stashed_ == 0) return std::nullopt;
    if (now - lastOffered_ < minInterval_) return std::nullopt;
    surface = stash_[--stashed_];
  }
  surface->surface = (static_cast<std::uint64_t>(serial_) << 32) | (surface->surface & 0xFFFFFFFFu);
  lastOffered_ = onGrid(now);
  lastGpuPicture_ = now;
  return surface;
}

void SharedVideoEncoder::surfaceDone(std::uint64_t surface, double hostTime, bool written) {
  {
    std::lock_guard hold(worker_.lock);
    // Never more out than exported: there is always room to take one back.
    if (returnedCount_ < returned_.size()) {
      returned_[returnedCount_++] = Returned{surface & 0xFFFFFFFFu, hostTime, written};
    }
  }
  worker_.wake.notify_one();
}

void SharedVideoEncoder::serviceSurfaces() {
  std::array<Returned, kSurfaceCapacity * 2> done;
  std::size_t doneCount = 0;
  std::size_t missing = 0;
  {
    std::lock_guard hold(worker_.lock);
    doneCount = returnedCount_;
    std::copy_n(returned_.begin(), doneCount, done.begin());
    returnedCount_ = 0;
    if (surfacesWanted_) missing = kSurfaceCapacity / 2 > stashed_ ? kSurfaceCapacity / 2 - stashed_ : 0;
  }
  for (std::size_t i = 0; i < doneCount; ++i) {
    const bool key = done[i].written && forceKeyFrame_.exchange(false);
    const EncoderError error = encoder_->sendSurface(done[i].surface, done[i].time, done[i].written, key);
    if (error != EncoderError::none) {
      if (key) forceKeyFrame_ = true;
      ++dropped_;
      failures_.failed(error);
    } else if (done[i].written) {
      failures_.succeeded();
    }
    deliverAll();
  }
  for (std::size_t i = 0; i < missing; ++i) {
    auto surface = encoder_->acquireSurface();
    std::lock_guard hold(worker_.lock);
    if (!surface) {
      // The driver cannot export its surfaces: the readback stays.
      surfacesWanted_ = false;
      surfacesRefused_ = true;
      break;
    }
    stash_[stashed_++] = *surface;
  }
}

void SharedVideoEncoder::encode(const FrameRef& frame, const Nv12FrameRef& nv12, double time) {
  const bool key = forceKeyFrame_.exchange(false);
  const EncoderError error = nv12 ? encoder_->send(*nv12, time, key) : encoder_->send(*frame, time, key);
  if (error != EncoderError::none) {
    // The frame is lost; the next one tries again and makes the key frame that was asked for.
    if (key) forceKeyFrame_ = true;
    ++dropped_;
    failures_.failed(error);
    return;
  }
  failures_.succeeded();
  deliverAll();
}

void SharedVideoEncoder::addReceiver(std::uint64_t id, Receiver receiver) {
  receivers_.add(id, std::move(receiver), true);
  forceKeyFrame_ = true;
}

bool SharedVideoEncoder::removeReceiver(std::uint64_t id) {
  // The last receiver gets what the encoder still holds before it goes.
  return receivers_.leave(id, [this] { worker_.stop(true); });
}

void SharedVideoEncoder::deliverAll() {
  EncodedVideoSample sample;
  EncoderError error;
  while (encoder_->receive(sample, error)) {
    const bool key = sample.isKeyFrame;
    receivers_.deliver(std::make_shared<const EncodedVideoSample>(std::move(sample)), key);
    sample = {};
  }
  if (error != EncoderError::none) failures_.failed(error);
}

void SharedVideoEncoder::run() {
  nameThisThread("Tavorin.Encode");
  for (;;) {
    Queued item;
    bool flush = false;
    {
      std::unique_lock hold(worker_.lock);
      const auto surfaceWork = [this] {
        return returnedCount_ > 0 || (surfacesWanted_ && stashed_ < kSurfaceCapacity / 2);
      };
      worker_.wake.wait(hold, [&] { return count_ > 0 || worker_.stopping || surfaceWork(); });
      if (worker_.stopping && !worker_.flushOnStop) return;
      if (count_ > 0) {
        item = std::move(ring_[head_]);
        head_ = (head_ + 1) % kQueueCapacity;
        --count_;
      } else if (worker_.stopping) {
        flush = true;
      }
    }
    if (flush) {
      serviceSurfaces();
      if (encoder_->flush() == EncoderError::none) deliverAll();
      return;
    }
    if (item.frame || item.nv12) encode(item.frame, item.nv12, item.time);
    item = {};
    serviceSurfaces();
  }
}

}  // namespace tavorin

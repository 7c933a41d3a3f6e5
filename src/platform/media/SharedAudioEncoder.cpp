#include "platform/media/SharedAudioEncoder.h"

#include "base/ThreadName.h"

namespace tavorin {

SharedAudioEncoder::SharedAudioEncoder(AudioEncoding encoding, LogHandler log)
    : encoding_(std::move(encoding)), log_(log), failures_("Audio encoder (AAC)", std::move(log)) {
  worker_.start([this] { run(); });
}

SharedAudioEncoder::~SharedAudioEncoder() { worker_.stop(false); }

void SharedAudioEncoder::offer(const AudioBlockRef& block) {
  if (!block || block->frameCount() == 0) return;
  {
    std::lock_guard hold(worker_.lock);
    if (worker_.stopping) return;
    if (count_ == kQueueCapacity) {
      ++dropped_;
      return;
    }
    ring_[(head_ + count_++) % kQueueCapacity] = block;
  }
  worker_.wake.notify_one();
}

void SharedAudioEncoder::addReceiver(std::uint64_t id, Receiver receiver) {
  // Every AAC packet stands alone: a receiver starts with the next one.
  receivers_.add(id, std::move(receiver), false);
}

bool SharedAudioEncoder::removeReceiver(std::uint64_t id) {
  // The last receiver gets what the encoder still holds before it goes.
  return receivers_.leave(id, [this] { worker_.stop(true); });
}

void SharedAudioEncoder::deliverAll() {
  EncodedAudioSample sample;
  EncoderError error;
  while (encoder_ && encoder_->receive(sample, error)) {
    receivers_.deliver(std::make_shared<const EncodedAudioSample>(std::move(sample)), true);
    sample = {};
  }
  if (error != EncoderError::none) failures_.failed(error);
}

void SharedAudioEncoder::encode(const AudioBlock& block) {
  if (!encoder_ || encoder_->inputRate() != block.sampleRate() || encoder_->inputChannels() != block.channelCount()) {
    EncoderError error = EncoderError::none;
    encoder_ = AudioEncoder::open(encoding_, block.sampleRate(), block.channelCount(), error);
    // Every block tries again; the log gets the line once, not fifty times a second.
    if (!encoder_ && error != lastError_ && log_) {
      log_("Audio encoder did not open for " + std::to_string(block.sampleRate()) + " Hz, " +
           std::to_string(block.channelCount()) + " channels: " + std::string(describe(error)));
    }
    lastError_ = error;
    if (!encoder_) return;
  }
  if (const EncoderError error = encoder_->send(block); error != EncoderError::none) {
    ++dropped_;
    failures_.failed(error);
  } else {
    failures_.succeeded();
  }
  deliverAll();
}

void SharedAudioEncoder::run() {
  nameThisThread("Tavorin.AAC");
  for (;;) {
    AudioBlockRef block;
    {
      std::unique_lock hold(worker_.lock);
      worker_.wake.wait(hold, [this] { return count_ > 0 || worker_.stopping; });
      if (worker_.stopping && !worker_.flushOnStop) return;
      if (count_ == 0) break;
      block = std::move(ring_[head_]);
      head_ = (head_ + 1) % kQueueCapacity;
      --count_;
    }
    encode(*block);
  }
  if (encoder_ && encoder_->flush() == EncoderError::none) deliverAll();
}

}  // namespace tavorin

#include "platform/media/SharedAudioEncoder.h"

#include "base/ThreadName.h"

namespace tavorin {

SharedAudioEncoder::SharedAudioEncoder(AudioEncoding encoding, LogHandler log)
    : encoding_(std::move(encoding)), log_(std::move(log)), thread_([this] { run(); }) {}

SharedAudioEncoder::~SharedAudioEncoder() { stop(false); }

void SharedAudioEncoder::offer(const AudioBlockRef& block) {
  if (!block || block->frameCount() == 0) return;
  {
    std::lock_guard hold(lock_);
    if (stopping_) return;
    if (count_ == kQueueCapacity) {
      ++dropped_;
      return;
    }
    ring_[(head_ + count_++) % kQueueCapacity] = block;
  }
  wake_.notify_one();
}

void SharedAudioEncoder::addReceiver(std::uint64_t id, Receiver receiver) {
  // Every AAC packet stands alone: a receiver starts with the next one.
  receivers_.add(id, std::move(receiver), false);
}

bool SharedAudioEncoder::removeReceiver(std::uint64_t id) {
  if (receivers_.size() > 1) return receivers_.remove(id);
  stop(true);
  receivers_.remove(id);
  return true;
}

void SharedAudioEncoder::stop(bool flush) {
  {
    std::lock_guard hold(lock_);
    if (stopping_ && !thread_.joinable()) return;
    stopping_ = true;
    flushOnStop_ = flushOnStop_ || flush;
  }
  wake_.notify_one();
  if (!thread_.joinable()) return;
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void SharedAudioEncoder::deliverAll() {
  EncodedAudioSample sample;
  EncoderError error;
  while (encoder_ && encoder_->receive(sample, error)) {
    receivers_.deliver(std::make_shared<const EncodedAudioSample>(std::move(sample)), true);
    sample = {};
  }
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
  if (encoder_->send(block) != EncoderError::none) ++dropped_;
  deliverAll();
}

void SharedAudioEncoder::run() {
  nameThisThread("Tavorin.AAC");
  for (;;) {
    AudioBlockRef block;
    {
      std::unique_lock hold(lock_);
      wake_.wait(hold, [this] { return count_ > 0 || stopping_; });
      if (stopping_ && !flushOnStop_) return;
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

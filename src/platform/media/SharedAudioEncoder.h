#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "base/AudioBlock.h"
#include "platform/media/AudioEncoder.h"
#include "platform/media/EncodedAudioSample.h"
#include "platform/media/EncoderFailureReport.h"
#include "platform/media/EncoderReceivers.h"
#include "platform/media/EncoderWorker.h"

namespace tavorin {

// One running AAC encoder and the receivers of its packets. Opens for the
// format of the first block and again when the format changes; blocks wait in
// a ring for the encoder's own thread and a full ring drops the newest.
class SharedAudioEncoder {
 public:
  using Receiver = EncoderReceivers<EncodedAudioSampleRef>::Receiver;
  using LogHandler = std::function<void(const std::string&)>;
  static constexpr std::size_t kQueueCapacity = 64;

  SharedAudioEncoder(AudioEncoding encoding, LogHandler log);
  ~SharedAudioEncoder();
  SharedAudioEncoder(const SharedAudioEncoder&) = delete;
  SharedAudioEncoder& operator=(const SharedAudioEncoder&) = delete;

  const AudioEncoding& encoding() const { return encoding_; }
  int droppedBlocks() const { return dropped_.load(); }

  // Audio tap: a short lock to move one reference.
  void offer(const AudioBlockRef& block);
  void addReceiver(std::uint64_t id, Receiver receiver);
  // True when it was the last; the encoder then flushes to it and stops.
  bool removeReceiver(std::uint64_t id);

 private:
  void run();
  void encode(const AudioBlock& block);
  void deliverAll();

  const AudioEncoding encoding_;
  LogHandler log_;
  std::unique_ptr<AudioEncoder> encoder_;  // the encoder thread's
  EncoderError lastError_ = EncoderError::none;
  EncoderFailureReport failures_;
  EncoderReceivers<EncodedAudioSampleRef> receivers_;
  std::atomic<int> dropped_{0};

  std::array<AudioBlockRef, kQueueCapacity> ring_;
  std::size_t head_ = 0;
  std::size_t count_ = 0;
  // Last, so the thread stops before anything it uses goes.
  EncoderWorker worker_;
};

}  // namespace tavorin

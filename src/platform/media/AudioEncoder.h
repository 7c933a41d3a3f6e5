#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "base/AudioBlock.h"
#include "platform/media/EncodedAudioSample.h"
#include "platform/media/EncoderError.h"
#include "platform/media/FFmpegPointers.h"
#include "platform/media/VideoEncoding.h"

struct SwrContext;

namespace tavorin {

// One AAC-LC encoder for one input format: planar float blocks of any size
// in, packets of 1024 frames out, each stamped with the host time of its
// first sample. Used in FFmpeg's manner (send, then receive); one thread uses it.
class AudioEncoder {
 public:
  static std::unique_ptr<AudioEncoder> open(const AudioEncoding& encoding, int inputRate, int inputChannels,
                                            EncoderError& error);
  ~AudioEncoder();
  AudioEncoder(const AudioEncoder&) = delete;
  AudioEncoder& operator=(const AudioEncoder&) = delete;

  const std::shared_ptr<const AudioFormatDescription>& format() const { return format_; }
  int inputRate() const { return inputRate_; }
  int inputChannels() const { return inputChannels_; }

  // The block must be of the input format the encoder was opened for.
  EncoderError send(const AudioBlock& block);
  // Encodes what is left, padded to a whole packet.
  EncoderError flush();
  bool receive(EncodedAudioSample& sample, EncoderError& error);

 private:
  struct SwrFreer {
    void operator()(SwrContext* context) const;
  };

  AudioEncoder() = default;
  EncoderError encodePackets(bool flushing);
  void insertSilence(int frames);

  ffmpeg::CodecContextPtr encoder_;
  std::unique_ptr<SwrContext, SwrFreer> resampler_;
  ffmpeg::AudioFifoPtr fifo_;
  ffmpeg::FramePtr frame_;
  ffmpeg::PacketPtr packet_;
  std::shared_ptr<const AudioFormatDescription> format_;
  int inputRate_ = 0;
  int inputChannels_ = 0;
  std::vector<int> channelMap_;
  std::vector<float> silence_;
  std::vector<std::vector<float>> resampled_;
  std::vector<const float*> mapped_;
  // Host time of the first frame ever queued; none before the first block.
  // Frames queued and encoded since then place every later frame.
  std::optional<double> bufferStart_;
  std::int64_t framesQueued_ = 0;
  std::int64_t framesEncoded_ = 0;
  // Host times of the packets sent to the encoder and not yet out of it.
  std::deque<double> pending_;
  std::deque<EncodedAudioSample> ready_;
  std::int64_t framesSent_ = 0;
};

}  // namespace tavorin

#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "streaming/codec/AudioCodecSettings.h"
#include "streaming/codec/EncodedAudioSample.h"

namespace tavorin {

// A stream's audio encoder: planar float PCM in blocks of any size, AAC-LC
// packets of 1024 frames out. Encodes on the caller's thread (the stream's
// audio pump), since one AAC packet costs microseconds.
class AudioCodec {
 public:
  using OutputHandler = std::function<void(const EncodedAudioSample&)>;
  using LogHandler = std::function<void(const std::string&)>;

  struct InputFormat {
    int sampleRate = 48000;
    int channels = 2;
    bool operator==(const InputFormat&) const = default;
  };

  AudioCodec();
  ~AudioCodec();
  AudioCodec(const AudioCodec&) = delete;
  AudioCodec& operator=(const AudioCodec&) = delete;

  // Set before startRunning.
  void setOutputHandler(OutputHandler handler) { output_ = std::move(handler); }
  void setLogHandler(LogHandler handler) { log_ = std::move(handler); }

  AudioCodecSettings settings() const;
  // Takes effect with a new converter at the next block.
  void setSettings(const AudioCodecSettings& settings);

  void startRunning();
  // Drops the buffered frames that do not fill a packet; flushes nothing.
  void stopRunning();
  bool isRunning() const;

  // `planes` holds `format.channels` pointers of `frames` samples each.
  // `hostTime` is the host time of the first frame, in seconds.
  void append(const float* const* planes, InputFormat format, int frames, double hostTime);
  // The mixer's common format: 48 kHz stereo.
  void append(const float* left, const float* right, int frames, double hostTime);

  // What the packets are, once a block has been taken.
  std::optional<AudioFormatDescription> outputFormat() const;

 private:
  struct Converter;

  void makeAudioConverter();
  void take(const float* const* planes, InputFormat format, int frames, double hostTime,
            std::vector<EncodedAudioSample>& out);
  void encodeFullPackets(std::vector<EncodedAudioSample>& out);
  void log(const std::string& line) const;

  OutputHandler output_;
  LogHandler log_;
  mutable std::mutex mutex_;
  AudioCodecSettings settings_;
  bool isRunning_ = false;
  std::optional<InputFormat> inputFormat_;
  std::unique_ptr<Converter> audioConverter_;
};

}  // namespace tavorin

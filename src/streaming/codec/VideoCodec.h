#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <variant>

#include "base/PixelBuffer.h"
#include "streaming/codec/EncodedVideoSample.h"
#include "streaming/codec/VideoCodecSettings.h"

namespace tavorin {

class VideoEncoderSession;

// A stream's video encoder. Frames are handed over by reference and encoded
// on the codec's own thread, in order with settings changes; samples and log
// lines come back on that thread.
class VideoCodec {
 public:
  using OutputHandler = std::function<void(const EncodedVideoSample&)>;
  using LogHandler = std::function<void(const std::string&)>;

  // `queueLimit` bounds the frames waiting for the encoder; a frame beyond it
  // is dropped. -1 leaves the queue unbounded.
  explicit VideoCodec(int queueLimit = -1);
  ~VideoCodec();
  VideoCodec(const VideoCodec&) = delete;
  VideoCodec& operator=(const VideoCodec&) = delete;

  // Set before startRunning.
  void setOutputHandler(OutputHandler handler) { output_ = std::move(handler); }
  void setLogHandler(LogHandler handler) { log_ = std::move(handler); }

  VideoCodecSettings settings() const;
  void setSettings(const VideoCodecSettings& settings);

  // Frames timed before `startedAt` are dropped.
  void startRunning(double startedAt = 0);
  // Drops what is still queued, flushes nothing from the encoder and closes it.
  void stopRunning();
  bool isRunning() const;

  // False when the frame was not taken: not running or the queue is full.
  bool append(PixelBufferRef frame, double presentationTime);

  // Blocks until everything appended so far has been through the encoder.
  void waitUntilIdle();

 private:
  struct FrameItem {
    PixelBufferRef frame;
    double time = 0;
  };
  struct SettingsItem {
    VideoCodecSettings settings;
  };
  using Item = std::variant<FrameItem, SettingsItem>;

  void run();
  void changeSettings(const VideoCodecSettings& next);
  void apply(const VideoCodecSettings& old, const VideoCodecSettings& next);
  void encode(const FrameItem& item);
  void log(const std::string& line) const;

  const int queueLimit_;
  OutputHandler output_;
  LogHandler log_;

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  std::deque<Item> queue_;
  int queuedFrames_ = 0;
  bool busy_ = false;
  bool isRunning_ = false;
  VideoCodecSettings requestedSettings_;
  std::thread thread_;

  // Owned by the codec thread while running.
  VideoCodecSettings settings_;
  double frameInterval_ = 0;
  double startedAt_ = 0;
  bool invalidateSession_ = true;
  double presentationTimeStamp_ = -std::numeric_limits<double>::infinity();
  std::optional<std::pair<int, int>> inputFormat_;
  std::unique_ptr<VideoEncoderSession> session_;
  std::string lastSessionError_;
};

}  // namespace tavorin

#include "streaming/codec/VideoCodec.h"

#include <vector>

#include "base/ThreadName.h"
#include "streaming/codec/VideoEncoderSession.h"

namespace tavorin {

VideoCodec::VideoCodec(int queueLimit) : queueLimit_(queueLimit) {}

VideoCodec::~VideoCodec() { stopRunning(); }

VideoCodecSettings VideoCodec::settings() const {
  std::lock_guard lock(mutex_);
  return requestedSettings_;
}

void VideoCodec::setSettings(const VideoCodecSettings& settings) {
  std::lock_guard lock(mutex_);
  requestedSettings_ = settings;
  // A running codec takes the change in order with the frames around it.
  if (isRunning_) {
    queue_.push_back(SettingsItem{settings});
    wake_.notify_one();
  }
}

void VideoCodec::startRunning(double startedAt) {
  std::lock_guard lock(mutex_);
  if (isRunning_) return;
  isRunning_ = true;
  settings_ = requestedSettings_;
  frameInterval_ = settings_.frameInterval;
  startedAt_ = startedAt;
  invalidateSession_ = true;
  presentationTimeStamp_ = -std::numeric_limits<double>::infinity();
  inputFormat_.reset();
  thread_ = std::thread([this] { run(); });
}

void VideoCodec::stopRunning() {
  {
    std::lock_guard lock(mutex_);
    if (!isRunning_) return;
    isRunning_ = false;
    queue_.clear();
    queuedFrames_ = 0;
    wake_.notify_one();
  }
  thread_.join();
  session_.reset();
  idle_.notify_all();
}

bool VideoCodec::isRunning() const {
  std::lock_guard lock(mutex_);
  return isRunning_;
}

bool VideoCodec::append(PixelBufferRef frame, double presentationTime) {
  if (!frame || !frame->valid()) return false;
  std::lock_guard lock(mutex_);
  if (!isRunning_) return false;
  if (queueLimit_ >= 0 && queuedFrames_ >= queueLimit_) return false;
  queue_.push_back(FrameItem{std::move(frame), presentationTime});
  ++queuedFrames_;
  wake_.notify_one();
  return true;
}

void VideoCodec::waitUntilIdle() {
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return !isRunning_ || (queue_.empty() && !busy_); });
}

void VideoCodec::run() {
  nameThisThread("Tavorin.Video");
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return !isRunning_ || !queue_.empty(); });
    if (!isRunning_) return;
    Item item = std::move(queue_.front());
    queue_.pop_front();
    if (std::holds_alternative<FrameItem>(item)) --queuedFrames_;
    busy_ = true;
    lock.unlock();
    if (auto* frame = std::get_if<FrameItem>(&item)) {
      encode(*frame);
    } else {
      changeSettings(std::get<SettingsItem>(item).settings);
    }
    lock.lock();
    busy_ = false;
    if (queue_.empty()) idle_.notify_all();
  }
}

void VideoCodec::changeSettings(const VideoCodecSettings& next) {
  const VideoCodecSettings old = settings_;
  settings_ = next;
  if (old.needsNewSession(next)) {
    invalidateSession_ = true;
    return;
  }
  apply(old, next);
}

void VideoCodec::apply(const VideoCodecSettings& old, const VideoCodecSettings& next) {
  if (old.bitRate != next.bitRate) {
    log("bitRate change from " + std::to_string(old.bitRate) + " to " + std::to_string(next.bitRate));
    if (session_ && !session_->updateBitRate(next.options())) invalidateSession_ = true;
  }
  if (old.frameInterval != next.frameInterval) frameInterval_ = next.frameInterval;
  // The key-frame interval is counted in frames at the expected rate, and no
  // FFmpeg encoder changes its rate in flight: a new rate needs a new session.
  if (old.expectedFrameRate != next.expectedFrameRate) invalidateSession_ = true;
}

void VideoCodec::encode(const FrameItem& item) {
  const std::pair<int, int> format{item.frame->width(), item.frame->height()};
  if (inputFormat_ != format) invalidateSession_ = true;
  inputFormat_ = format;
  if (invalidateSession_) {
    session_.reset();
    VideoEncoderSession::Config config;
    config.options = settings_.options();
    config.format = settings_.format();
    config.size = settings_.videoSize;
    config.scalingMode = settings_.scalingMode;
    config.frameRate = settings_.expectedFrameRate.value_or(30);
    config.lowLatency = settings_.isLowLatencyRateControlEnabled;
    std::string error;
    session_ = VideoEncoderSession::make(config, error);
    if (!session_) {
      // Every frame tries again; the log gets the line once, not 30 times a second.
      if (error != lastSessionError_) log("can't create the video encoder: " + error);
      lastSessionError_ = error;
      return;
    }
    lastSessionError_.clear();
    invalidateSession_ = false;
  }
  if (item.time < startedAt_ || item.time <= presentationTimeStamp_) return;
  if (frameInterval_ > 0 && item.time - presentationTimeStamp_ < frameInterval_) return;
  std::vector<EncodedVideoSample> samples;
  std::string error;
  if (!session_->encode(*item.frame, item.time, samples, error)) {
    log("video encoding failed: " + error);
    invalidateSession_ = true;
    return;
  }
  presentationTimeStamp_ = item.time;
  if (!output_) return;
  for (const auto& sample : samples) output_(sample);
}

void VideoCodec::log(const std::string& line) const {
  if (log_) log_(line);
}

}  // namespace tavorin

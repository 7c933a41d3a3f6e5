#include "outputs/ProgramRecorder.h"

#include <cmath>

#include "base/HostTime.h"
#include "base/ThreadName.h"
#include "outputs/MovieEncoder.h"

namespace tavorin {

namespace {

constexpr int kTimeScale = MovieEncoder::videoTimeScale;
constexpr int kSampleRate = MovieEncoder::audioSampleRate;
// Frames waiting for the encoder beyond this are dropped: the clock never waits.
constexpr std::size_t kMaxQueuedFrames = 8;

}  // namespace

ProgramRecorder::ProgramRecorder() = default;

ProgramRecorder::~ProgramRecorder() {
  finish(nullptr);
  if (worker_.joinable()) worker_.join();
}

bool ProgramRecorder::start(const std::filesystem::path& file, int frameRate, int width, int height,
                            Quality quality, bool withAudio, std::string* error) {
  {
    std::lock_guard guard(lock_);
    if (isRecording_) return true;  // already recording: nothing changes
    if (finishing_) {
      if (error) *error = "The last recording is still being finished.";
      return false;
    }
  }
  // The previous recording's thread has closed its file by now or is about to.
  if (worker_.joinable()) worker_.join();
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  auto encoder = std::make_shared<MovieEncoder>();
  const auto codec = quality == Quality::proRes422 ? MovieEncoder::VideoCodec::proRes422 : MovieEncoder::VideoCodec::hevcHigh;
  std::string reason;
  if (!encoder->open(file, width, height, frameRate, codec, withAudio, &reason)) {
    if (error) *error = reason;
    std::filesystem::remove(file, ignored);
    return false;
  }
  std::lock_guard guard(lock_);
  queue_.clear();
  queuedFrames_ = 0;
  isRecording_ = true;
  finishing_ = false;
  sessionStarted_ = false;
  sessionStart_ = 0;
  isPaused_ = false;
  pausedTotal_ = 0;
  pauseBegan_.reset();
  frameInterval_ = 1.0 / std::max(frameRate, 1);
  lastVideoTime_ = -1;
  lastVideoPts_ = -1;
  withAudio_ = encoder->hasAudio();
  videoEncoderName_ = encoder->videoEncoderName();
  file_ = file;
  worker_ = std::thread([this, encoder] { run(encoder); });
  return true;
}

void ProgramRecorder::appendVideo(const FrameRef& frame) {
  std::lock_guard guard(lock_);
  if (!isRecording_ || isPaused_ || !frame) return;
  const double time = frame->hostTime();
  // A clock a little early passes; one at twice the rate gives every second frame.
  if (lastVideoTime_ >= 0 && time - lastVideoTime_ < frameInterval_ * 0.95) return;
  const double at = time - pausedTotal_;
  if (!sessionStarted_) {
    sessionStarted_ = true;
    sessionStart_ = at;
  }
  if (queuedFrames_ >= kMaxQueuedFrames) return;
  Item item;
  item.frame = frame;
  // Right after a resume a frame can round onto the last one's time; the
  // movie needs every frame later than the one before.
  item.pts = std::max<std::int64_t>(std::llround((at - sessionStart_) * kTimeScale), lastVideoPts_ + 1);
  lastVideoPts_ = item.pts;
  queue_.push_back(std::move(item));
  ++queuedFrames_;
  lastVideoTime_ = time;
  wake_.notify_one();
}

void ProgramRecorder::appendAudio(const AudioBlockRef& block) {
  if (!block) return;
  const float* left = block->plane(0);
  const float* right = block->channelCount() > 1 ? block->plane(1) : nullptr;
  const std::uint32_t frames = block->frameCount();
  const double time = block->hostTime();
  std::lock_guard guard(lock_);
  if (!isRecording_ || isPaused_ || !sessionStarted_ || !withAudio_ || frames == 0) return;
  const double at = time - pausedTotal_;
  // Video opens the timeline: audio from before the first frame is not kept.
  if (at < sessionStart_) return;
  Item item;
  item.left.assign(left, left + frames);
  item.right.assign(right ? right : left, (right ? right : left) + frames);
  item.pts = std::llround((at - sessionStart_) * kSampleRate);
  queue_.push_back(std::move(item));
  wake_.notify_one();
}

void ProgramRecorder::setPaused(bool on) {
  std::lock_guard guard(lock_);
  if (!isRecording_ || on == isPaused_) return;
  isPaused_ = on;
  if (on) {
    pauseBegan_ = hostTimeNow();
  } else if (pauseBegan_) {
    pausedTotal_ += hostTimeNow() - *pauseBegan_;
    pauseBegan_.reset();
  }
}

void ProgramRecorder::finish(Completion completion) {
  std::unique_lock guard(lock_);
  if (!isRecording_) {
    guard.unlock();
    if (completion) completion(std::nullopt);
    return;
  }
  isRecording_ = false;
  finishing_ = true;
  completion_ = std::move(completion);
  wake_.notify_one();
}

void ProgramRecorder::run(std::shared_ptr<MovieEncoder> encoder) {
  nameThisThread("Tavorin.Recorder");
  bool wroteVideo = false;
  bool failed = false;
  for (;;) {
    Item item;
    {
      std::unique_lock guard(lock_);
      wake_.wait(guard, [&] { return !queue_.empty() || finishing_; });
      if (queue_.empty()) break;  // finishing, and everything is written
      item = std::move(queue_.front());
      queue_.pop_front();
      if (item.frame) --queuedFrames_;
    }
    if (failed) continue;
    if (item.frame) {
      failed = !encoder->writeVideo(*item.frame, item.pts);
      wroteVideo = wroteVideo || !failed;
    } else {
      failed = !encoder->writeAudio(item.left.data(), item.right.data(), static_cast<std::uint32_t>(item.left.size()), item.pts);
    }
  }
  const bool closed = encoder->close();
  Completion completion;
  std::filesystem::path file;
  {
    std::lock_guard guard(lock_);
    completion = std::move(completion_);
    file = file_;
    finishing_ = false;
  }
  // A movie without a single frame is no recording.
  const bool good = closed && !failed && wroteVideo;
  if (!good) {
    std::error_code ignored;
    if (!wroteVideo) std::filesystem::remove(file, ignored);
  }
  if (completion) completion(good ? std::optional<std::filesystem::path>(file) : std::nullopt);
}

std::string ProgramRecorder::videoEncoderName() const {
  std::lock_guard guard(lock_);
  return videoEncoderName_;
}

}  // namespace tavorin

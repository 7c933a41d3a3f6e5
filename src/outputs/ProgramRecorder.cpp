#include "outputs/ProgramRecorder.h"

#include <fstream>

#include "base/HostTime.h"
#include "base/ThreadName.h"
#include "platform/media/MovieMuxer.h"

namespace tavorin {

namespace {

// Samples waiting for the disk beyond this are dropped until the next key frame.
constexpr std::size_t kMaxQueuedItems = 900;
// Sound waiting for the first picture: 10 s of AAC packets at 48 kHz.
constexpr std::size_t kMaxEarlyAudio = 470;

}  // namespace

ProgramRecorder::ProgramRecorder(SharedEncoders& encoders) : encoders_(encoders) {}

ProgramRecorder::~ProgramRecorder() {
  finish(nullptr);
  if (worker_.joinable()) worker_.join();
}

VideoEncoding ProgramRecorder::encodingFor(Quality quality, int width, int height, int frameRate) {
  VideoEncoding encoding;
  encoding.width = width;
  encoding.height = height;
  encoding.frameRate = frameRate;
  encoding.fit = FrameFit::stretch;
  if (quality == Quality::proRes422) {
    encoding.codec = VideoCodecKind::proRes422;
    encoding.preferHardware = false;
    return encoding;
  }
  // HEVC in hardware where it works; otherwise H.264 in software at the same
  // rate, since a software HEVC encoder cannot keep real time on a CPU.
  encoding.codec = VideoCodecKind::hevc;
  encoding.profile = VideoProfile::main;
  encoding.bitRate = 40'000'000;
  encoding.maxBitRate = encoding.bitRate;
  encoding.bufferBits = encoding.bitRate;
  encoding.keyFrameIntervalSeconds = 1;
  encoding.bFrames = 0;
  encoding.preferHardware = true;
  return encoding;
}

bool ProgramRecorder::start(const std::filesystem::path& file, int frameRate, int width, int height,
                            Quality quality, bool withAudio, std::string* error) {
  return start(file, encodingFor(quality, width, height, frameRate), withAudio, error);
}

bool ProgramRecorder::start(const std::filesystem::path& file, const VideoEncoding& encoding, bool withAudio,
                            std::string* error) {
  {
    std::lock_guard guard(lock_);
    if (isRecording_) return true;  // already recording: nothing changes
    if (finishing_) {
      if (error) *error = "The last recording is still being finished.";
      return false;
    }
  }
  if (worker_.joinable()) worker_.join();
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  // The movie opens with its first sample; whether the file can be made is known now.
  if (!std::ofstream(file, std::ios::binary)) {
    if (error) *error = "Can't make a movie file at " + file.string() + ".";
    return false;
  }
  {
    std::lock_guard guard(lock_);
    queue_.clear();
    earlyAudio_.clear();
    isRecording_ = true;
    finishing_ = false;
    closing_ = false;
    origin_.reset();
    isPaused_ = false;
    awaitingKeyFrame_ = false;
    diskDrops_ = 0;
    pausedTotal_ = 0;
    pauseBegan_.reset();
    withAudio_ = withAudio;
    file_ = file;
    requestKeyFrame_ = [] {};
  }
  EncoderError opened = EncoderError::none;
  auto video = encoders_.subscribeVideo(
      std::string(kCanvas), encoding, [this](const EncodedVideoSampleRef& sample) { received(sample); }, opened);
  const bool videoOpened = video.active();
  {
    std::lock_guard guard(subscriptionLock_);
    video_ = std::move(video);
    encoderDrops_ = 0;
  }
  if (!videoOpened) {
    {
      std::lock_guard guard(lock_);
      isRecording_ = false;
    }
    std::filesystem::remove(file, ignored);
    if (error) *error = "No video encoder could be opened: " + std::string(describe(opened)) + ".";
    return false;
  }
  if (withAudio) {
    AudioEncoding audio;
    audio.bitRate = kAudioBitRate;
    audio.sampleRate = kAudioSampleRate;
    auto subscription =
        encoders_.subscribeAudio(audio, [this](const EncodedAudioSampleRef& sample) { received(sample); });
    std::lock_guard guard(subscriptionLock_);
    audio_ = std::move(subscription);
  }
  std::string encoderName;
  std::function<void()> requestKeyFrame;
  {
    std::lock_guard guard(subscriptionLock_);
    encoderName = video_.encoderName();
    requestKeyFrame = video_.keyFrameRequester();
  }
  std::lock_guard guard(lock_);
  videoEncoderName_ = std::move(encoderName);
  requestKeyFrame_ = std::move(requestKeyFrame);
  worker_ = std::thread([this] { run(); });
  return true;
}

void ProgramRecorder::received(const EncodedVideoSampleRef& sample) {
  std::lock_guard guard(lock_);
  if (!isRecording_ && !finishing_) return;
  if (isPaused_) return;
  if (awaitingKeyFrame_ && !sample->isKeyFrame) return;
  awaitingKeyFrame_ = false;
  if (queue_.size() >= kMaxQueuedItems) {
    ++diskDrops_;
    awaitingKeyFrame_ = true;
    requestKeyFrame_();
    return;
  }
  const double dts = sample->dts - pausedTotal_;
  const bool first = !origin_;
  if (first) origin_ = dts;
  queue_.push_back({sample, sample->pts - pausedTotal_ - *origin_, dts - *origin_});
  if (first) {
    // The video encoder's first picture comes out after the sound that went
    // with it: that sound is kept, after the picture that opens the movie.
    for (const EncodedAudioSampleRef& early : earlyAudio_) {
      const double at = early->pts - *origin_;
      if (at >= 0) queue_.push_back({early, at, at});
    }
    earlyAudio_.clear();
  }
  wake_.notify_one();
}

void ProgramRecorder::received(const EncodedAudioSampleRef& sample) {
  std::lock_guard guard(lock_);
  if ((!isRecording_ && !finishing_) || isPaused_ || queue_.size() >= kMaxQueuedItems) return;
  if (!origin_) {
    if (earlyAudio_.size() < kMaxEarlyAudio) earlyAudio_.push_back(sample);
    return;
  }
  // Video opens the timeline: sound from before the first frame is not kept.
  const double at = sample->pts - pausedTotal_ - *origin_;
  if (at < 0) return;
  queue_.push_back({sample, at, at});
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
    // The picture goes on from a key frame; one is asked for at once.
    awaitingKeyFrame_ = true;
    requestKeyFrame_();
  }
}

void ProgramRecorder::finish(Completion completion) {
  {
    std::unique_lock guard(lock_);
    if (!isRecording_) {
      guard.unlock();
      if (completion) completion(std::nullopt);
      return;
    }
    isRecording_ = false;
    finishing_ = true;
    completion_ = std::move(completion);
  }
  // Leaving the encoders: the last receiver of an encoder gets what it still holds.
  {
    std::lock_guard guard(subscriptionLock_);
    encoderDrops_ = video_.droppedFrames();
    video_.reset();
    audio_.reset();
  }
  std::lock_guard guard(lock_);
  closing_ = true;
  wake_.notify_one();
}

void ProgramRecorder::run() {
  nameThisThread("Tavorin.Recorder");
  MovieMuxer muxer;
  bool opened = false;
  bool wroteVideo = false;
  bool failed = false;
  std::optional<AudioFormatDescription> audioFormat;
  if (withAudio_) audioFormat = AudioFormatDescription{kAudioSampleRate, 2, 2};
  for (;;) {
    Item item;
    {
      std::unique_lock guard(lock_);
      wake_.wait(guard, [&] { return !queue_.empty() || closing_; });
      if (queue_.empty()) break;  // closing, and everything is written
      item = std::move(queue_.front());
      queue_.pop_front();
    }
    if (failed) continue;
    if (const auto* video = std::get_if<EncodedVideoSampleRef>(&item.sample)) {
      if (!opened) {
        opened = muxer.open(file_, *(*video)->format, audioFormat, nullptr);
        failed = !opened;
        if (failed) continue;
      }
      failed = !muxer.writeVideo(**video, item.pts, item.dts);
      wroteVideo = wroteVideo || !failed;
    } else if (opened && muxer.hasAudio()) {
      failed = !muxer.writeAudio(*std::get<EncodedAudioSampleRef>(item.sample), item.pts);
    }
  }
  const bool closed = opened && muxer.close();
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
  if (!wroteVideo) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
  }
  if (completion) completion(good ? std::optional<std::filesystem::path>(file) : std::nullopt);
}

int ProgramRecorder::droppedFrames() const {
  int dropped = 0;
  {
    std::lock_guard guard(subscriptionLock_);
    dropped = video_.active() ? video_.droppedFrames() : encoderDrops_;
  }
  std::lock_guard guard(lock_);
  return dropped + diskDrops_;
}

std::string ProgramRecorder::videoEncoderName() const {
  std::lock_guard guard(lock_);
  return videoEncoderName_;
}

}  // namespace tavorin

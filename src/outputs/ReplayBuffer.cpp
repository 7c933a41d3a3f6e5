#include "outputs/ReplayBuffer.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "outputs/ReplayMux.h"
#include "platform/media/EncoderError.h"

namespace tavorin {

namespace {

constexpr std::size_t kSpareBlocks = 64;
// The encoder's threads inherit the nice value of the thread that opens them.
constexpr int kBackgroundNice = 10;

}  // namespace

ReplayBuffer::ReplayBuffer(SharedEncoders& encoders, LogHandler log, bool background)
    : encoders_(encoders), log_(std::move(log)), background_(background) {}

ReplayBuffer::~ReplayBuffer() {
  control_.drain();
  mux_.drain();
  // Leaves the encoder before the thread that joined it goes.
  subscription_.reset();
}

VideoEncoding ReplayBuffer::encodingFor(int width, int height, double frameRate) {
  VideoEncoding encoding;
  encoding.codec = VideoCodecKind::h264;
  encoding.profile = VideoProfile::high;
  encoding.rateControl = RateControl::average;
  encoding.bitRate = kBitRate;
  encoding.keyFrameIntervalSeconds = kKeyFrameInterval;
  // Decode order is then the order shown: a cut at any key frame is clean.
  encoding.bFrames = 0;
  encoding.width = width;
  encoding.height = height;
  encoding.frameRate = std::min(frameRate > 0 ? frameRate : kMaxFrameRate, kMaxFrameRate);
  encoding.fit = FrameFit::stretch;
  encoding.preferHardware = true;
  return encoding;
}

void ReplayBuffer::apply(bool enabled, double seconds, int width, int height, double frameRate) {
  const double duration = seconds > 0 ? seconds : 60;
  {
    std::lock_guard hold(ring_->lock);
    ring_->duration = duration;
  }
  control_.post([this, enabled, encoding = encodingFor(width, height, frameRate)] { configure(enabled, encoding); });
}

void ReplayBuffer::configure(bool enabled, VideoEncoding encoding) {
  if (enabled && subscribed_ == encoding) {
    std::lock_guard hold(ring_->lock);
    ring_->enabled = true;
    return;
  }
  {
    std::lock_guard hold(ring_->lock);
    ring_->enabled = false;
    ring_->running = false;
    ring_->clear();
  }
  subscription_.reset();
  subscribed_.reset();
  if (!enabled) {
    failed_.reset();
    return;
  }
  {
    std::lock_guard hold(ring_->lock);
    ring_->enabled = true;
  }
  if (background_ && !lowered_) {
    // When the CPU is short the frame clock, the recording and the streams go
    // first, and the replay loses pictures instead of the show.
    lowered_ = true;
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kBackgroundNice);
  }
  EncoderError error;
  subscription_ = encoders_.subscribeVideo(
      std::string(kCanvas), encoding, [ring = ring_](const EncodedVideoSampleRef& sample) { ring->appendVideo(sample); },
      error);
  if (!subscription_.active()) {
    if (failed_ != encoding && log_) {
      log_("Replay buffer: no encoder opens for " + std::to_string(encoding.width) + "×" +
           std::to_string(encoding.height) + " (" + std::string(describe(error)) + ") — nothing is kept until the canvas changes.");
    }
    failed_ = encoding;
    return;
  }
  failed_.reset();
  subscribed_ = encoding;
  std::lock_guard hold(ring_->lock);
  ring_->running = true;
}

void ReplayBuffer::Ring::clear() {
  video.clear();
  audio.clear();
  videoBytes = 0;
}

void ReplayBuffer::appendVideo(const EncodedVideoSampleRef& sample) { ring_->appendVideo(sample); }

void ReplayBuffer::Ring::appendVideo(const EncodedVideoSampleRef& sample) {
  if (!sample) return;
  std::lock_guard hold(lock);
  if (!enabled) return;
  // A save works on its own copies: what comes meanwhile is kept, so the
  // pictures that follow still have the ones they were encoded against.
  video.push_back(sample);
  videoBytes += sample->data.size();
  // Keep the newest key frame at or before the cutoff and all after it.
  const double cutoff = sample->pts - duration;
  std::size_t keep = 0;
  for (std::size_t i = video.size(); i-- > 0;) {
    if (video[i]->pts > cutoff) continue;
    if (video[i]->isKeyFrame) {
      keep = i;
      break;
    }
  }
  for (std::size_t i = 0; i < keep; ++i) videoBytes -= video[i]->data.size();
  video.erase(video.begin(), video.begin() + static_cast<std::ptrdiff_t>(keep));
}

void ReplayBuffer::appendAudio(const AudioBlockRef& block) { ring_->appendAudio(block); }

std::function<void(const AudioBlockRef&)> ReplayBuffer::audioSink() const {
  return [ring = ring_](const AudioBlockRef& block) { ring->appendAudio(block); };
}

void ReplayBuffer::Ring::appendAudio(const AudioBlockRef& block) {
  if (!block || block->frameCount() == 0) return;
  std::shared_ptr<AudioBlock> copy;
  {
    std::lock_guard hold(lock);
    if (!enabled || !running) return;
    if (!spare.empty() && spare.back()->channelCount() == block->channelCount() &&
        spare.back()->capacity() >= block->frameCount()) {
      copy = std::move(spare.back());
      spare.pop_back();
    }
  }
  // The copy is made outside the lock; the tap's own block goes back to its pool.
  if (!copy) copy = std::make_shared<AudioBlock>(block->channelCount(), block->capacity());
  for (int c = 0; c < block->channelCount(); ++c) {
    std::memcpy(copy->plane(c), block->plane(c), block->frameCount() * sizeof(float));
  }
  copy->stamp(block->frameCount(), block->sampleRate(), block->hostTime());
  std::lock_guard hold(lock);
  if (!enabled || !running) return;
  audio.push_back(std::move(copy));
  const double cutoff = block->hostTime() - duration - kAudioMargin;
  while (!audio.empty() && audio.front()->hostTime() < cutoff) {
    // A block a save still holds is left to it.
    if (spare.size() < kSpareBlocks && audio.front().use_count() == 1) spare.push_back(std::move(audio.front()));
    audio.pop_front();
  }
}

void ReplayBuffer::save(const std::filesystem::path& file, Completion completion) {
  std::vector<EncodedVideoSampleRef> video;
  std::vector<AudioBlockRef> audio;
  {
    std::lock_guard hold(ring_->lock);
    if (ring_->enabled && !ring_->saving && !ring_->video.empty()) {
      ring_->saving = true;
      video.assign(ring_->video.begin(), ring_->video.end());
      audio.assign(ring_->audio.begin(), ring_->audio.end());
    }
  }
  if (video.empty()) {
    if (completion) completion(std::nullopt);
    return;
  }
  mux_.post([ring = ring_, video = std::move(video), audio = std::move(audio), file, log = log_,
             completion = std::move(completion)]() mutable {
    const auto seconds = muxReplay(std::move(video), audio, file, [&log](const std::string& line) {
      if (log) log(line);
    });
    audio.clear();
    {
      std::lock_guard hold(ring->lock);
      ring->saving = false;
    }
    if (!completion) return;
    if (seconds) {
      completion(Saved{file, *seconds});
    } else {
      completion(std::nullopt);
    }
  });
}

bool ReplayBuffer::enabled() const {
  std::lock_guard hold(ring_->lock);
  return ring_->enabled;
}

bool ReplayBuffer::saving() const {
  std::lock_guard hold(ring_->lock);
  return ring_->saving;
}

bool ReplayBuffer::encoding() const {
  std::lock_guard hold(ring_->lock);
  return ring_->running;
}

double ReplayBuffer::heldSeconds() const {
  std::lock_guard hold(ring_->lock);
  if (ring_->video.empty()) return 0;
  return ring_->video.back()->pts - ring_->video.front()->pts;
}

std::size_t ReplayBuffer::heldBytes() const {
  std::lock_guard hold(ring_->lock);
  std::size_t bytes = ring_->videoBytes;
  for (const auto& block : ring_->audio) {
    bytes += static_cast<std::size_t>(block->channelCount()) * block->capacity() * sizeof(float);
  }
  return bytes;
}

}  // namespace tavorin

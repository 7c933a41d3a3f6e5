#include "sources/LoopingVideoSource.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

#include "base/ThreadName.h"

namespace tavorin {

namespace {

// Pictures decoded ahead of the clock; sound may pull a few more when the file interleaves it late.
constexpr std::size_t kPicturesAhead = 4;
constexpr std::size_t kPicturesAheadForSound = 8;
constexpr double kShortestRange = 0.1;
constexpr auto kPumpInterval = std::chrono::microseconds(33'333);
// Past a picture's due time when the pump wakes for it, so it is surely due.
constexpr double kDueSlack = 0.0005;
// Times closer than this are the same instant: pts in files are rounded to their time base.
constexpr double kSameTime = 1e-6;

}  // namespace

LoopingVideoSource::LoopingVideoSource(std::filesystem::path file, MainQueue& queue, Options options)
    : BaseSource(idFor(file), file.stem().string(), SourceKind::clip),
      fileURL_(std::move(file)),
      queue_(queue),
      options_(std::move(options)) {
  due_.reserve(64);
}

LoopingVideoSource::~LoopingVideoSource() {
  stopPump();
  {
    std::lock_guard guard(lock_);
    closing_ = true;
  }
  wake_.notify_all();
  if (decodeThread_.joinable()) decodeThread_.join();
}

void LoopingVideoSource::start(StartDone done) {
  if (!isRunning()) {
    {
      std::lock_guard guard(lock_);
      parked_ = false;
      restartAt(trimStart_, options_.hostClock());
      rate_ = 1;
    }
    wake_.notify_all();
    if (!decodeThread_.joinable()) decodeThread_ = std::thread([this] { decodeLoop(); });
    startPump();
    setRunning(true);
  }
  // A file that can't be read is no failure to start: it shows nothing, and lastError says why.
  done(std::nullopt);
}

void LoopingVideoSource::stop() {
  if (!isRunning()) return;
  stopPump();
  {
    std::lock_guard guard(lock_);
    rate_ = 0;
    parked_ = true;
  }
  setRunning(false);
}

void LoopingVideoSource::park() {
  stopPump();
  std::lock_guard guard(lock_);
  if (parked_) return;
  const double now = options_.hostClock();
  wasPlaying_ = rate_ > 0;
  anchorItem_ = itemTimeAt(now);
  anchorHost_ = now;
  rate_ = 0;
  parked_ = true;
}

void LoopingVideoSource::resume() {
  if (!isRunning()) return;
  {
    std::lock_guard guard(lock_);
    if (!parked_) return;
    parked_ = false;
    anchorHost_ = options_.hostClock();
    rate_ = wasPlaying_ ? 1 : 0;
  }
  wake_.notify_all();
  startPump();
}

void LoopingVideoSource::play() {
  std::lock_guard guard(lock_);
  if (rate_ > 0) return;
  anchorHost_ = options_.hostClock();
  rate_ = 1;
}

void LoopingVideoSource::pause() {
  std::lock_guard guard(lock_);
  if (rate_ == 0) return;
  const double now = options_.hostClock();
  anchorItem_ = itemTimeAt(now);
  anchorHost_ = now;
  rate_ = 0;
}

bool LoopingVideoSource::isPlaying() const {
  std::lock_guard guard(lock_);
  return rate_ > 0;
}

void LoopingVideoSource::seek(double seconds) {
  double target = std::isfinite(seconds) ? std::max(seconds, 0.0) : 0.0;
  // Crossing the out point lands on the in point; a paused clip stays paused there.
  if (trimEnd_ && target >= *trimEnd_) target = trimStart_;
  std::lock_guard guard(lock_);
  restartAt(target, options_.hostClock());
}

double LoopingVideoSource::currentTime() const {
  std::lock_guard guard(lock_);
  return currentTimeAt(options_.hostClock());
}

void LoopingVideoSource::setTrim(double start, std::optional<double> end) {
  trimStart_ = std::max(start, 0.0);
  trimEnd_ = end ? std::optional(std::max(*end, trimStart_ + kShortestRange)) : std::nullopt;
  {
    std::lock_guard guard(lock_);
    sharedTrimStart_ = trimStart_;
    sharedTrimEnd_ = trimEnd_;
    const double now = options_.hostClock();
    double current = currentTimeAt(now);
    if (!std::isfinite(current) || current < 0) current = 0;
    if (current < trimStart_ || (trimEnd_ && current > *trimEnd_)) {
      restartAt(trimStart_, now);
    } else if (!lapEnds_.empty()) {
      // The decoder has already turned back at the old out point.
      restartAt(current, now);
    } else if (trimEnd_) {
      std::erase_if(pictures_, [&](const QueuedPicture& queued) { return queued.picture.pts >= *trimEnd_; });
    }
  }
  wake_.notify_all();
  if (onTrimChanged) onTrimChanged(trimStart_, trimEnd_);
}

void LoopingVideoSource::setSoundSink(SoundSink sink) {
  soundSink_.store(sink ? std::make_shared<const SoundSink>(std::move(sink)) : nullptr);
}

std::string LoopingVideoSource::lastError() const {
  std::lock_guard guard(lock_);
  return error_;
}

bool LoopingVideoSource::decoderIdle() const {
  std::lock_guard guard(lock_);
  return idle_ && !decoderHasWork();
}

bool LoopingVideoSource::decoderHasWork() const {
  return closing_ || (decoderOpen_ && generation_ != decoderGeneration_) || (!stalled_ && !parked_ && needsMore());
}

double LoopingVideoSource::itemTimeAt(double now) const { return anchorItem_ + (now - anchorHost_) * rate_; }

double LoopingVideoSource::currentTimeAt(double now) const {
  const double item = itemTimeAt(now);
  for (const LapEnd& lapEnd : lapEnds_) {
    if (lapEnd.lap == lap_ && item >= lapEnd.end) return lapEnd.nextStart + (item - lapEnd.end);
  }
  return item;
}

void LoopingVideoSource::restartAt(double seconds, double now) {
  ++generation_;
  seekTarget_ = seconds;
  anchorItem_ = seconds;
  anchorHost_ = now;
  lap_ = 0;
  lapEnds_.clear();
  pictures_.clear();
  sounds_.clear();
  wake_.notify_all();
}

bool LoopingVideoSource::needsMore() const {
  if (pictures_.size() < kPicturesAhead) return true;
  return decoderHasSound_ && sounds_.empty() && pictures_.size() < kPicturesAheadForSound;
}

void LoopingVideoSource::decodeLoop() {
  nameThisThread("Tavorin.ClipDec");
  std::string error;
  const auto decoder = ClipDecoder::open(fileURL_, error);
  if (decoder) {
    std::weak_ptr<LoopingVideoSource*> weak = self_;
    queue_.post([weak, sound = decoder->hasSound(), duration = decoder->duration()] {
      auto self = weak.lock();
      if (!self) return;
      (*self)->duration_ = duration;
      if (!sound) return;
      (*self)->hasSound_ = true;
      if ((*self)->onSoundFound) (*self)->onSoundFound();
    });
  }
  std::uint64_t lap = 0;
  double trimStart = 0;
  std::optional<double> trimEnd;
  bool lapHadPicture = false;
  double lastEnd = 0;
  {
    std::lock_guard guard(lock_);
    decoderOpen_ = decoder != nullptr;
    decoderHasSound_ = decoder && decoder->hasSound();
    // A file that can't be read, or a lap that yielded no picture and would turn back for ever, waits for a seek.
    stalled_ = !decoder;
    if (!decoder) error_ = error;
  }
  for (;;) {
    std::optional<double> seekTo;
    {
      std::unique_lock guard(lock_);
      idle_ = true;
      wake_.wait(guard, [this] { return decoderHasWork(); });
      idle_ = false;
      if (closing_) return;
      if (generation_ != decoderGeneration_) {
        decoderGeneration_ = generation_;
        stalled_ = false;
        seekTo = seekTarget_;
        lap = 0;
      }
      trimStart = sharedTrimStart_;
      trimEnd = sharedTrimEnd_;
    }
    if (seekTo) {
      decoder->seek(*seekTo);
      lapHadPicture = false;
      lastEnd = *seekTo;
      continue;
    }
    ClipPicture picture;
    ClipSound sound;
    const ClipDecoder::Step step = decoder->next(picture, sound);
    decodedPictures_.store(decoder->decodedPictures());
    std::optional<double> lapEnd;
    {
      std::lock_guard guard(lock_);
      if (generation_ != decoderGeneration_) continue;
      if (step == ClipDecoder::Step::picture) {
        if (trimEnd && picture.pts >= *trimEnd - kSameTime) {
          lapEnd = *trimEnd;
        } else {
          lapHadPicture = true;
          lastEnd = picture.pts + picture.duration;
          pictures_.push_back({lap, std::move(picture)});
        }
      } else if (step == ClipDecoder::Step::sound) {
        if (trimEnd && sound.pts + static_cast<double>(sound.block.frameLength) / kCommonSampleRate > *trimEnd) {
          const double keep = std::max(0.0, (*trimEnd - sound.pts) * kCommonSampleRate);
          sound.block.frameLength = std::min(sound.block.frameLength, static_cast<std::uint32_t>(keep));
        }
        if (sound.block.frameLength > 0) sounds_.push_back({lap, std::move(sound)});
      } else {
        lapEnd = trimEnd ? std::min(*trimEnd, lastEnd) : lastEnd;
      }
      if (lapEnd) {
        if (!lapHadPicture) {
          stalled_ = true;
          if (error_.empty()) error_ = "no picture to play in " + fileURL_.string();
          continue;
        }
        lapEnds_.push_back({lap, *lapEnd, trimStart});
        ++lap;
      }
    }
    if (lapEnd) {
      decoder->seek(trimStart);
      lapHadPicture = false;
      lastEnd = trimStart;
    }
  }
}

double LoopingVideoSource::pump() {
  const double now = options_.hostClock();
  PixelBufferRef shown;
  double shownAt = now;
  double nextDue = std::numeric_limits<double>::infinity();
  due_.clear();
  {
    std::lock_guard guard(lock_);
    for (;;) {
      const double item = itemTimeAt(now);
      // When a picture or sample shows on the host's clock; a paused clock shows it now.
      const auto hostTimeOf = [&](double pts) { return rate_ > 0 ? now - (item - pts) : now; };
      while (!pictures_.empty() && pictures_.front().lap < lap_) pictures_.pop_front();
      while (!pictures_.empty() && pictures_.front().lap == lap_ && pictures_.front().picture.pts <= item + kSameTime) {
        shownAt = hostTimeOf(pictures_.front().picture.pts);
        shown = std::move(pictures_.front().picture.buffer);
        pictures_.pop_front();
      }
      while (!sounds_.empty() && sounds_.front().lap < lap_) sounds_.pop_front();
      // A paused clip is silent; its sound waits for the clock to move.
      while (rate_ > 0 && !sounds_.empty() && sounds_.front().lap == lap_ && sounds_.front().sound.pts <= item) {
        if (due_.size() < due_.capacity()) due_.push_back({std::move(sounds_.front().sound), hostTimeOf(sounds_.front().sound.pts)});
        sounds_.pop_front();
      }
      while (!lapEnds_.empty() && lapEnds_.front().lap < lap_) lapEnds_.pop_front();
      if (rate_ > 0 && !lapEnds_.empty() && lapEnds_.front().lap == lap_ && item >= lapEnds_.front().end) {
        // Back to the in point, keeping the time already run past the end.
        anchorItem_ = lapEnds_.front().nextStart + (item - lapEnds_.front().end);
        anchorHost_ = now;
        ++lap_;
        continue;
      }
      if (rate_ > 0 && !pictures_.empty() && pictures_.front().lap == lap_) {
        nextDue = hostTimeOf(pictures_.front().picture.pts);
      } else if (rate_ > 0 && !pictures_.empty() && !lapEnds_.empty() && lapEnds_.front().lap == lap_ &&
                 pictures_.front().lap == lap_ + 1) {
        // The next lap's first picture: due as far past the loop point as it is past the in point.
        nextDue = hostTimeOf(lapEnds_.front().end) + (pictures_.front().picture.pts - lapEnds_.front().nextStart);
      }
      break;
    }
  }
  wake_.notify_all();
  if (shown) {
    shown->setHostTime(shownAt);
    publish(std::move(shown));
  }
  if (due_.empty()) return nextDue;
  const auto sink = soundSink_.load();
  if (sink && *sink) {
    for (DueSound& due : due_) (*sink)(due.sound.block, due.hostTime);
  }
  // Freed here on the pump's thread, never in the sink.
  due_.clear();
  return nextDue;
}

void LoopingVideoSource::startPump() {
  if (!options_.pumpTimer || pumpThread_.joinable()) return;
  {
    std::lock_guard guard(pumpLock_);
    pumping_ = true;
  }
  pumpThread_ = std::thread([this] { pumpLoop(); });
}

void LoopingVideoSource::stopPump() {
  if (!pumpThread_.joinable()) return;
  {
    std::lock_guard guard(pumpLock_);
    pumping_ = false;
  }
  pumpWake_.notify_all();
  pumpThread_.join();
}

void LoopingVideoSource::pumpLoop() {
  nameThisThread("Tavorin.LoopSrc");
  auto next = std::chrono::steady_clock::now();
  std::unique_lock guard(pumpLock_);
  while (pumping_) {
    guard.unlock();
    const double nextDue = pump();
    guard.lock();
    const auto now = std::chrono::steady_clock::now();
    next = std::max(next + kPumpInterval, now);
    // A picture goes out when it is due, not up to a pump period later: the
    // frame clock shows it at its next tick, in step with its sound.
    const double untilDue = nextDue - options_.hostClock();
    auto wakeAt = next;
    if (untilDue < std::chrono::duration<double>(kPumpInterval).count()) {
      wakeAt = now + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                         std::chrono::duration<double>(std::max(untilDue, 0.0) + kDueSlack));
    }
    pumpWake_.wait_until(guard, wakeAt, [this] { return !pumping_; });
  }
}

}  // namespace tavorin

#include "streaming/StreamSession.h"

#include <algorithm>
#include <chrono>

#include "base/HostTime.h"
#include "base/ThreadName.h"
#include "streaming/StreamFailure.h"
#include "streaming/StreamIngests.h"

namespace tavorin {

namespace {

constexpr double kConnectionCheckUnits = 3;
// A peer that takes no byte for this long is gone, whatever its socket says.
constexpr double kStalledSeconds = 5;
// A stop is not held up by a server that does not answer closeStream.
constexpr double kCloseWaitSeconds = 2;

std::pair<int, int> encodeSize(StreamResolution resolution, bool vertical, int canvasWidth, int canvasHeight) {
  switch (resolution) {
    case StreamResolution::source:
      return {canvasWidth, canvasHeight};
    case StreamResolution::p1080:
      return vertical ? std::pair{1080, 1920} : std::pair{1920, 1080};
    case StreamResolution::p720:
      return vertical ? std::pair{720, 1280} : std::pair{1280, 720};
  }
  return {canvasWidth, canvasHeight};
}

}  // namespace

VideoCodecSettings StreamSession::videoSettingsFor(const StreamDestination& destination, int canvasWidth,
                                                   int canvasHeight) {
  const bool vertical = destination.canvas.value_or(StreamCanvas::main) == StreamCanvas::vertical;
  const auto [width, height] = encodeSize(destination.quality.resolution, vertical, canvasWidth, canvasHeight);
  const auto& quality = destination.quality;
  VideoCodecSettings video;
  video.videoSize = {width, height};
  video.bitRate = static_cast<std::int64_t>(quality.videoBitrateKbps) * 1000;
  video.format = VideoCodecSettings::Format::h264;
  video.profile = VideoProfile::high;
  video.level.reset();
  const bool portraitPlatform =
      destination.platform == StreamPlatform::tiktok || destination.platform == StreamPlatform::instagram;
  video.scalingMode =
      portraitPlatform ? VideoCodecSettings::ScalingMode::letterbox : VideoCodecSettings::ScalingMode::trim;
  video.bitRateMode = VideoCodecSettings::BitRateMode::average;
  video.maxKeyFrameIntervalDuration = 2;
  video.expectedFrameRate = std::max(quality.fps, 1);
  return video;
}

AudioCodecSettings StreamSession::audioSettingsFor(const StreamDestination& destination) {
  AudioCodecSettings audio;
  audio.bitRate = static_cast<std::int64_t>(destination.quality.audioBitrateKbps) * 1000;
  audio.downmix = true;
  audio.channelMap.reset();
  audio.sampleRate = 0;
  audio.format = AudioCodecSettings::Format::aac;
  return audio;
}

StreamSession::StreamSession(SharedEncoders& encoders, StreamDestination destination, std::string key,
                             int canvasWidth, int canvasHeight, StateHandler onState, Timing timing)
    : encoders_(encoders),
      destination_(std::move(destination)),
      key_(std::move(key)),
      canvas_(destination_.canvas.value_or(StreamCanvas::main)),
      timing_(timing),
      onState_(std::move(onState)) {
  connection_.timeout = 15;
  connection_.requestTimeout = 3000;
  connection_.chunkSize = 8192;
  connection_.swfUrl.reset();
  connection_.pageUrl.reset();
  connection_.capsEx = 0;
  videoSettings_ = videoSettingsFor(destination_, canvasWidth, canvasHeight);
  audioSettings_ = audioSettingsFor(destination_);
  stream_ = RTMPStream::make(connection_);
}

StreamSession::~StreamSession() {
  stop();
  if (loop_.joinable()) loop_.join();
  leaveEncoders();
}

void StreamSession::start() {
  if (loop_.joinable()) return;
  loop_ = std::thread([this] { runLoop(); });
}

void StreamSession::stop() {
  isPublishing_ = false;
  {
    std::lock_guard hold(signal_->lock);
    signal_->cancelled = true;
  }
  signal_->changed.notify_all();
}

void StreamSession::finish() {
  if (loop_.joinable()) loop_.join();
  leaveEncoders();
  closeQuietly(kCloseWaitSeconds);
}

std::optional<std::string> StreamSession::joinEncoders() {
  EncoderError error = EncoderError::none;
  const std::string canvas(enumName(canvas_));
  auto stream = stream_;
  video_ = encoders_.subscribeVideo(
      canvas, videoSettings_.encoding(), [stream](const EncodedVideoSampleRef& sample) { stream->send(sample); },
      error);
  if (!video_.active()) return std::string("the video encoder did not open: ") + std::string(describe(error));
  audio_ = encoders_.subscribeAudio(audioSettings_.encoding(),
                                    [stream](const EncodedAudioSampleRef& sample) { stream->send(sample); });
  return std::nullopt;
}

void StreamSession::countDrops() {
  videoDropCount_ = dropsOfEarlierJoins_ + video_.droppedFrames() + stream_->droppedVideoSamples();
}

void StreamSession::leaveEncoders() {
  if (!video_.active() && !audio_.active()) return;
  countDrops();
  dropsOfEarlierJoins_ += video_.droppedFrames();
  video_.reset();
  audio_.reset();
}

bool StreamSession::isCancelled() const {
  std::lock_guard hold(signal_->lock);
  return signal_->cancelled;
}

bool StreamSession::sleepCancelled(double seconds) {
  std::unique_lock hold(signal_->lock);
  return signal_->changed.wait_for(hold, std::chrono::duration<double>(seconds),
                                   [this] { return signal_->cancelled; });
}

template <class Result, class Start>
std::optional<Result> StreamSession::await(Start&& start, bool cancellable, double seconds) {
  auto answer = std::make_shared<std::optional<Result>>();
  auto signal = signal_;
  start([signal, answer](Result result) {
    {
      std::lock_guard hold(signal->lock);
      *answer = std::move(result);
    }
    signal->changed.notify_all();
  });
  std::unique_lock hold(signal->lock);
  signal->changed.wait_for(hold, std::chrono::duration<double>(seconds),
                           [&] { return answer->has_value() || (cancellable && signal->cancelled); });
  if (!answer->has_value()) return std::nullopt;
  return std::move(*answer);
}

std::string StreamSession::urlForAttempt(int attempt) const {
  // YouTube's backup entry point takes every other try.
  if (destination_.platform == StreamPlatform::youtube && attempt % 2 == 1) return youtubeBackupURL();
  return destination_.serverURL;
}

StreamSession::Attempt StreamSession::connect(int attempt) {
  RTMPStreamMetadata metadata;
  metadata.hasVideo = true;
  metadata.width = videoSettings_.videoSize.width;
  metadata.height = videoSettings_.videoSize.height;
  metadata.videoCodec = videoSettings_.format;
  metadata.videoBitRate = videoSettings_.bitRate;
  metadata.frameRate = videoSettings_.expectedFrameRate;
  metadata.hasAudio = true;
  metadata.audioBitRate = audioSettings_.bitRate;
  metadata.audioSampleRate = audioSettings_.sampleRate > 0 ? static_cast<int>(audioSettings_.sampleRate) : 48000;
  stream_->setMetadata(metadata);

  std::string name = key_;
  if (destination_.platform == StreamPlatform::twitch && destination_.bandwidthTest.value_or(false)) {
    name += "?bandwidthtest=true";
  }
  const std::string url = urlForAttempt(attempt);
  // The connection bounds its own wait (`timeout` twice, with authentication
  // rounds); this outer bound only guards against an answer that never comes.
  const double connectBound = static_cast<double>(connection_.timeout) * 4 + 5;
  auto connected = await<RTMPResult>([&](auto done) { connection_.connect(url, {}, std::move(done)); }, true,
                                     connectBound);
  if (isCancelled()) return {true, {}};
  if (!connected) return {false, "requestTimedOut"};
  if (!connected->ok()) return {false, connected->error->describe()};
  const double publishBound = static_cast<double>(connection_.requestTimeout) / 1000 + 5;
  auto published = await<RTMPStreamResult>(
      [&](auto done) { stream_->publish(name, RTMPStream::HowToPublish::live, std::move(done)); }, true,
      publishBound);
  if (isCancelled()) return {true, {}};
  if (!published) return {false, "requestTimedOut"};
  if (!published->ok()) return {false, published->error->describe()};
  return {};
}

void StreamSession::report(const StreamState& state) {
  if (!isCancelled() && onState_) onState_(destination_.id, state);
}

void StreamSession::closeQuietly(double seconds) {
  // Either may fail (a connection that never got up): neither matters here.
  await<RTMPStreamResult>([&](auto done) { stream_->close(std::move(done)); }, false, seconds);
  connection_.close();
}

void StreamSession::runLoop() {
  nameThisThread("Tavorin.Session");
  int attempt = 0;
  while (true) {
    const auto outcome = connect(attempt);
    if (outcome.cancelled) return;
    if (!outcome.error) {
      // A receiver joins at the encoder's next key frame, forced for it.
      if (auto failed = joinEncoders()) {
        report(StreamState::error(std::move(*failed)));
        closeQuietly(0);
        return;
      }
      isPublishing_ = true;
      report(StreamState::live(wallClockNow()));
      std::string why;
      while (true) {
        // Checked each second too, so a stalled peer is seen within its limit.
        if (sleepCancelled(std::min(kConnectionCheckUnits * timing_.unit, 1.0))) return;
        countDrops();
        if (!isPublishing_ || !connection_.connected()) {
          why = "the connection closed";
          break;
        }
        if (connection_.secondsStalled() >= kStalledSeconds) {
          why = "the server stopped taking data";
          break;
        }
        if (connection_.secondsUnacknowledged() >= kStalledSeconds) {
          why = "the server stopped acknowledging data";
          break;
        }
      }
      // Dropped after being live: the count starts over.
      isPublishing_ = false;
      leaveEncoders();
      attempt = 1;
      report(StreamState::reconnecting(attempt, why, wallClockNow(), stream_failure::backOff(attempt) * timing_.unit));
      closeQuietly(0);
    } else {
      isPublishing_ = false;
      const std::string& text = *outcome.error;
      if (stream_failure::isFatal(text) || attempt >= stream_failure::kRetriesBeforeGivingUp) {
        std::string message = stream_failure::friendlyText(text);
        if (attempt >= stream_failure::kRetriesBeforeGivingUp) {
          message += " — gave up after " + std::to_string(attempt) + " retries";
        }
        report(StreamState::error(std::move(message)));
        closeQuietly(0);
        return;
      }
      ++attempt;
      report(StreamState::reconnecting(attempt, {}, wallClockNow(), stream_failure::backOff(attempt) * timing_.unit));
      closeQuietly(0);
    }
    if (sleepCancelled(stream_failure::backOff(attempt) * timing_.unit)) return;
  }
}

}  // namespace tavorin

#include "platform/media/SharedEncoders.h"

#include <algorithm>
#include <utility>

#include "platform/media/SharedAudioEncoder.h"
#include "platform/media/SharedVideoEncoder.h"

namespace tavorin {

namespace {

const char* codecName(VideoCodecKind codec) {
  switch (codec) {
    case VideoCodecKind::h264:
      return "H.264";
    case VideoCodecKind::hevc:
      return "HEVC";
    case VideoCodecKind::proRes422:
      return "ProRes 422";
  }
  return "video";
}

}  // namespace

SharedEncoders::Subscription::Subscription(Subscription&& other) noexcept { *this = std::move(other); }

SharedEncoders::Subscription& SharedEncoders::Subscription::operator=(Subscription&& other) noexcept {
  if (this == &other) return *this;
  reset();
  leave_ = std::exchange(other.leave_, nullptr);
  video_ = std::move(other.video_);
  audio_ = std::move(other.audio_);
  dropsAtJoin_ = other.dropsAtJoin_;
  return *this;
}

void SharedEncoders::Subscription::reset() {
  if (auto leave = std::exchange(leave_, nullptr)) leave();
  video_.reset();
  audio_.reset();
}

int SharedEncoders::Subscription::droppedFrames() const {
  if (video_) return video_->droppedFrames() - dropsAtJoin_;
  if (audio_) return audio_->droppedBlocks() - dropsAtJoin_;
  return 0;
}

std::string SharedEncoders::Subscription::encoderName() const {
  if (video_) return video_->encoderName();
  return audio_ ? "aac" : "";
}

std::function<void()> SharedEncoders::Subscription::keyFrameRequester() const {
  return [encoder = video_] {
    if (encoder) encoder->requestKeyFrame();
  };
}

SharedEncoders::SharedEncoders(HardwareEncoders hardware, LogHandler log)
    : hardware_(std::move(hardware)), log_(std::move(log)) {}

SharedEncoders::~SharedEncoders() {
  std::lock_guard hold(change_);
  videoEncoders_.clear();
  audioEncoders_.clear();
  publishLists();
}

SharedEncoders::Subscription SharedEncoders::subscribeVideo(const std::string& canvas, const VideoEncoding& encoding,
                                                            VideoReceiver receiver, EncoderError& error) {
  std::unique_lock hold(change_);
  error = EncoderError::none;
  auto found = std::find_if(videoEncoders_.begin(), videoEncoders_.end(), [&](const auto& encoder) {
    return encoder->canvas() == canvas && encoder->encoding() == encoding;
  });
  std::shared_ptr<SharedVideoEncoder> encoder;
  const bool newEncoder = found == videoEncoders_.end();
  if (!newEncoder) {
    encoder = *found;
  } else {
    auto opened = VideoEncoder::open(encoding, hardware_, error);
    if (!opened) return {};
    if (encoding.preferHardware && !opened->isHardware() && encoding.codec != VideoCodecKind::proRes422 && log_) {
      log_(std::string("No hardware ") + codecName(encoding.codec) + " encoder works here: using software H.264 (" +
           opened->encoderName() + ")");
    }
    encoder = std::make_shared<SharedVideoEncoder>(canvas, std::move(opened), nextEncoderSerial_++, log_);
    videoEncoders_.push_back(encoder);
    publishLists();
  }
  const std::uint64_t id = nextReceiverID_++;
  encoder->addReceiver(id, std::move(receiver));
  Subscription subscription;
  subscription.video_ = encoder;
  subscription.dropsAtJoin_ = encoder->droppedFrames();
  subscription.leave_ = [this, encoder, id] { leaveVideo(encoder, id); };
  hold.unlock();
  if (newEncoder) tellVideoChanged();
  return subscription;
}

SharedEncoders::Subscription SharedEncoders::subscribeAudio(const AudioEncoding& encoding, AudioReceiver receiver) {
  std::lock_guard hold(change_);
  auto found = std::find_if(audioEncoders_.begin(), audioEncoders_.end(),
                            [&](const auto& encoder) { return encoder->encoding() == encoding; });
  std::shared_ptr<SharedAudioEncoder> encoder;
  if (found != audioEncoders_.end()) {
    encoder = *found;
  } else {
    encoder = std::make_shared<SharedAudioEncoder>(encoding, log_);
    audioEncoders_.push_back(encoder);
    publishLists();
  }
  const std::uint64_t id = nextReceiverID_++;
  encoder->addReceiver(id, std::move(receiver));
  Subscription subscription;
  subscription.audio_ = encoder;
  subscription.dropsAtJoin_ = encoder->droppedBlocks();
  subscription.leave_ = [this, encoder, id] { leaveAudio(encoder, id); };
  return subscription;
}

void SharedEncoders::leaveVideo(const std::shared_ptr<SharedVideoEncoder>& encoder, std::uint64_t receiverID) {
  {
    std::lock_guard hold(change_);
    if (!encoder->removeReceiver(receiverID)) return;
    std::erase(videoEncoders_, encoder);
    publishLists();
  }
  tellVideoChanged();
}

void SharedEncoders::setOnVideoChanged(std::function<void()> changed) {
  std::lock_guard hold(change_);
  onVideoChanged_ = std::move(changed);
}

void SharedEncoders::tellVideoChanged() {
  std::function<void()> changed;
  {
    std::lock_guard hold(change_);
    changed = onVideoChanged_;
  }
  // Outside the lock: whoever listens may ask for the rates again.
  if (changed) changed();
}

std::map<std::string, double> SharedEncoders::videoRates() const {
  std::map<std::string, double> rates;
  // Held for the loop: a range over *videoSnapshot() would outlive the list
  // that an encoder joining on another thread replaces.
  const auto encoders = videoSnapshot();
  for (const auto& encoder : *encoders) {
    double& rate = rates[encoder->canvas()];
    rate = std::max(rate, encoder->encoding().frameRate);
  }
  return rates;
}

void SharedEncoders::leaveAudio(const std::shared_ptr<SharedAudioEncoder>& encoder, std::uint64_t receiverID) {
  std::lock_guard hold(change_);
  if (!encoder->removeReceiver(receiverID)) return;
  std::erase(audioEncoders_, encoder);
  publishLists();
}

void SharedEncoders::publishLists() {
  auto video = std::make_shared<const VideoList>(videoEncoders_);
  auto audio = std::make_shared<const AudioList>(audioEncoders_);
  std::lock_guard hold(feeds_->lock);
  feeds_->video = std::move(video);
  feeds_->audio = std::move(audio);
}

std::shared_ptr<const SharedEncoders::VideoList> SharedEncoders::videoSnapshot() const {
  std::lock_guard hold(feeds_->lock);
  return feeds_->video;
}

void SharedEncoders::feedVideo(std::string_view canvas, const FrameRef& frame) {
  const auto encoders = videoSnapshot();
  for (const auto& encoder : *encoders) {
    if (encoder->canvas() == canvas) encoder->offer(frame);
  }
}

void SharedEncoders::feedNv12(std::string_view canvas, const Nv12FrameRef& frame) {
  const auto encoders = videoSnapshot();
  for (const auto& encoder : *encoders) {
    if (encoder->canvas() == canvas) encoder->offer(frame);
  }
}

std::optional<Nv12DmaBuf> SharedEncoders::takeSurface(std::string_view canvas, int width, int height, double now) {
  const auto encoders = videoSnapshot();
  // One picture a tick goes to the GPU's target: the first encoder that can draw from it.
  for (const auto& encoder : *encoders) {
    if (encoder->canvas() == canvas && encoder->takesNv12(width, height)) return encoder->takeSurface(now);
  }
  return std::nullopt;
}

bool SharedEncoders::surfacesRefused(std::string_view canvas) const {
  const auto encoders = videoSnapshot();
  return std::any_of(encoders->begin(), encoders->end(), [&](const auto& encoder) {
    return encoder->canvas() == canvas && encoder->surfacesRefused();
  });
}

void SharedEncoders::surfaceDone(std::uint64_t surface, double hostTime, bool written) {
  const auto encoders = videoSnapshot();
  for (const auto& encoder : *encoders) {
    if (encoder->serial() == surface >> 32) encoder->surfaceDone(surface, hostTime, written);
  }
}

void SharedEncoders::feedAudio(const AudioBlockRef& block) { feedAudioTo(*feeds_, block); }

void SharedEncoders::feedAudioTo(Feeds& feeds, const AudioBlockRef& block) {
  std::shared_ptr<const AudioList> encoders;
  {
    std::lock_guard hold(feeds.lock);
    encoders = feeds.audio;
  }
  for (const auto& encoder : *encoders) encoder->offer(block);
}

std::function<void(const AudioBlockRef&)> SharedEncoders::audioSink() const {
  return [feeds = feeds_](const AudioBlockRef& block) { feedAudioTo(*feeds, block); };
}

int SharedEncoders::videoEncoderCount() const { return static_cast<int>(videoSnapshot()->size()); }

int SharedEncoders::audioEncoderCount() const {
  std::lock_guard hold(feeds_->lock);
  return static_cast<int>(feeds_->audio->size());
}

}  // namespace tavorin

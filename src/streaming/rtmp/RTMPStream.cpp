#include "streaming/rtmp/RTMPStream.h"

#include <algorithm>

#include "streaming/rtmp/AMF0Serializer.h"
#include "streaming/rtmp/RTMPCommandMessage.h"
#include "streaming/rtmp/RTMPMediaMessage.h"

namespace tavorin {

namespace {

constexpr const char* kPublishStart = "NetStream.Publish.Start";
constexpr const char* kUnpublishSuccess = "NetStream.Unpublish.Success";
constexpr std::uint32_t kHevcCodecID = 0x68766331;  // "hvc1"
constexpr std::uint32_t kAvcCodecID = 7;
constexpr std::uint32_t kAacCodecID = 10;

const char* publishTypeName(RTMPStream::HowToPublish type) {
  switch (type) {
    case RTMPStream::HowToPublish::record:
      return "record";
    case RTMPStream::HowToPublish::append:
      return "append";
    case RTMPStream::HowToPublish::appendWithGap:
      return "appendWithGap";
    case RTMPStream::HowToPublish::live:
      return "live";
  }
  return "live";
}

}  // namespace

std::shared_ptr<RTMPStream> RTMPStream::make(RTMPConnection& connection) {
  std::shared_ptr<RTMPStream> stream(new RTMPStream(connection));
  connection.attach(stream);
  std::weak_ptr<RTMPStream> weak = stream;
  connection.post([weak, &connection] {
    auto self = weak.lock();
    if (self && connection.connected()) self->createStream([] {});
  });
  return stream;
}

RTMPStream::RTMPStream(RTMPConnection& connection)
    : connection_(connection), requestTimer_(connection.context()) {}

RTMPStream::~RTMPStream() = default;

void RTMPStream::createStream(std::function<void()> done) {
  auto weak = weak_from_this();
  connection_.call("createStream", {}, [weak, done = std::move(done)](RTMPResult result) {
    if (auto self = weak.lock()) {
      const double* id = result.ok() && !result.response->arguments.empty()
                             ? result.response->arguments.front().get<double>()
                             : nullptr;
      if (id) {
        self->id_ = static_cast<std::uint32_t>(*id);
        self->readyState_ = ReadyState::idle;
      } else {
        self->emit("createStream failed: " + (result.error ? result.error->describe() : std::string("no stream id")));
      }
    }
    done();
  });
}

void RTMPStream::publish(std::optional<std::string> name, HowToPublish type, Completion done) {
  auto weak = weak_from_this();
  connection_.post([weak, name = std::move(name), type, done = std::move(done)]() mutable {
    auto self = weak.lock();
    if (!self) return;
    if (!name) {
      if (self->readyState_ == ReadyState::publishing) return self->close(std::move(done));
      return done(RTMPStreamResult::failure({RTMPStreamError::Kind::invalidState, {}}));
    }
    // A new publish is a new timeline: both start at 0 with their sequence headers.
    self->audioFormat_.reset();
    self->videoFormat_.reset();
    self->audioTimestamp_ = {};
    self->videoTimestamp_ = {};
    self->origin_.reset();
    self->skippingToKeyFrame_ = false;
    self->audioBeforePicture_.clear();
    self->readyState_ = ReadyState::publish;
    auto resource = *name;
    self->waitForAnswer(
        [weak, resource, type, done = std::move(done)](RTMPStreamResult result) {
          auto self = weak.lock();
          if (!self) return;
          if (!result.ok()) {
            self->readyState_ = ReadyState::idle;
            return done(std::move(result));
          }
          self->info_.resourceName = resource;
          self->howToPublish_ = type;
          self->startPublishing([done, result](RTMPStreamResult) { done(result); });
        },
        kPublishStart);
    RTMPCommandMessage command;
    command.streamId = self->id_;
    command.commandName = "publish";
    command.transactionId = 0;
    command.arguments = {*name, publishTypeName(type)};
    self->connection_.doOutput(RTMPChunkType::zero, RTMPChunkStreamId::command, command.toMessage());
  });
}

void RTMPStream::waitForAnswer(Completion done, std::optional<std::string> expected) {
  continuation_ = std::move(done);
  expectedResponse_ = std::move(expected);
  requestTimer_.expires_after(std::chrono::milliseconds(connection_.requestTimeout));
  auto weak = weak_from_this();
  requestTimer_.async_wait([weak](const boost::system::error_code& error) {
    auto self = weak.lock();
    if (error || !self || !self->continuation_) return;
    self->finishWait(RTMPStreamResult::failure({RTMPStreamError::Kind::requestTimedOut, {}}));
  });
}

void RTMPStream::finishWait(RTMPStreamResult result) {
  requestTimer_.cancel();
  expectedResponse_.reset();
  auto done = std::move(continuation_);
  continuation_ = nullptr;
  if (done) done(std::move(result));
}

void RTMPStream::startPublishing(Completion done) {
  readyState_ = ReadyState::publishing;
  sendMetadata();
  done(RTMPStreamResult::success({}));
}

AMFArray RTMPStream::makeMetadata() const {
  AMFArray metadata;
  metadata.dict["duration"] = 0;
  if (metadata_.hasVideo) {
    metadata.dict["width"] = metadata_.width;
    metadata.dict["height"] = metadata_.height;
    metadata.dict["videocodecid"] = metadata_.videoCodec == VideoCodecKind::hevc ? kHevcCodecID : kAvcCodecID;
    metadata.dict["videodatarate"] = static_cast<double>(metadata_.videoBitRate / 1000);
    if (metadata_.frameRate) metadata.dict["framerate"] = *metadata_.frameRate;
  }
  if (metadata_.hasAudio) {
    metadata.dict["audiocodecid"] = kAacCodecID;
    metadata.dict["audiodatarate"] = static_cast<double>(metadata_.audioBitRate / 1000);
    metadata.dict["audiosamplerate"] = static_cast<double>(metadata_.audioSampleRate);
  }
  return metadata;
}

void RTMPStream::sendMetadata() {
  AMF0Serializer body;
  body.serialize("@setDataFrame").serialize("onMetaData").serialize(makeMetadata());
  // Sent once, as publishing starts: the first message of its chunk stream, at time 0.
  connection_.doOutput(RTMPChunkType::zero, RTMPChunkStreamId::data,
                       RTMPMessage{RTMPMessageType::amf0Data, id_, 0, body.data()});
}

void RTMPStream::close(Completion done) {
  auto weak = weak_from_this();
  connection_.post([weak, done = std::move(done)]() mutable {
    auto self = weak.lock();
    if (!self) return;
    if (self->readyState_ != ReadyState::publishing) {
      return done(RTMPStreamResult::failure({RTMPStreamError::Kind::invalidState, {}}));
    }
    self->waitForAnswer(std::move(done), kUnpublishSuccess);
    RTMPCommandMessage command;
    command.streamId = self->id_;
    command.commandName = "closeStream";
    self->connection_.doOutput(RTMPChunkType::zero, RTMPChunkStreamId::command, command.toMessage());
    self->readyState_ = ReadyState::idle;
  });
}

void RTMPStream::connectionClosing() {
  if (readyState_ == ReadyState::idle) return;
  readyState_ = ReadyState::idle;
  if (continuation_) {
    RTMPResponse response;
    response.status = RTMPStatus{"NetConnection.Connect.Closed", "status", {}, {}};
    finishWait(RTMPStreamResult::failure({RTMPStreamError::Kind::requestFailed, std::move(response)}));
  }
}

void RTMPStream::send(EncodedVideoSampleRef sample) {
  if (readyState_ != ReadyState::publishing || !sample) return;
  auto weak = weak_from_this();
  connection_.post([weak, sample = std::move(sample)] {
    if (auto self = weak.lock()) self->appendEncoded(*sample);
  });
}

void RTMPStream::send(EncodedAudioSampleRef sample) {
  if (readyState_ != ReadyState::publishing || !sample) return;
  auto weak = weak_from_this();
  connection_.post([weak, sample = std::move(sample)] {
    if (auto self = weak.lock()) self->appendEncoded(sample);
  });
}

void RTMPStream::setMetadata(const RTMPStreamMetadata& metadata) {
  auto weak = weak_from_this();
  connection_.post([weak, metadata] {
    if (auto self = weak.lock()) self->metadata_ = metadata;
  });
}

void RTMPStream::appendEncoded(const EncodedVideoSample& sample) {
  if (readyState_ != ReadyState::publishing || sample.data.empty() || !sample.format) return;
  if (!origin_) {
    // A player starts at a key frame: nothing goes out before one.
    if (!sample.isKeyFrame) return;
    origin_ = sample.dts;
    videoTimestamp_.origin = sample.dts;
    // Every picture shows its composition lead late; the sound is placed as late.
    audioTimestamp_.origin = sample.dts - kCompositionLead;
  }
  // A network that falls behind loses whole groups of pictures, never the
  // middle of one, and the queue never holds more than a few seconds.
  if (skippingToKeyFrame_ && !sample.isKeyFrame) {
    ++droppedVideo_;
    return;
  }
  skippingToKeyFrame_ = sendQueueFull();
  if (skippingToKeyFrame_) {
    ++droppedVideo_;
    return;
  }
  const auto delta = videoTimestamp_.update(sample.dts);
  if (!delta) {
    ++droppedVideo_;
    emit("Video sample dropped: its time does not follow the last one");
    return;
  }
  ++frameCount_;
  if (!videoFormat_ || *videoFormat_ != *sample.format) {
    const bool hadFormat = videoFormat_ != nullptr;
    videoFormat_ = sample.format;
    if (auto header = videoSequenceHeader(*sample.format)) {
      info_.byteCount += connection_.doOutput(hadFormat ? RTMPChunkType::one : RTMPChunkType::zero,
                                              RTMPChunkStreamId::video,
                                              RTMPMessage{RTMPMessageType::video, id_, 0, std::move(*header)});
    }
  }
  info_.byteCount += connection_.doOutput(RTMPChunkType::one, RTMPChunkStreamId::video,
                                          RTMPMessage{RTMPMessageType::video, id_, *delta, videoMessageBody(sample)});
}

bool RTMPStream::sendQueueFull() const {
  constexpr double kQueueSeconds = 2;
  constexpr std::uint64_t kLeast = 1 << 20;
  const auto rate = static_cast<double>(metadata_.videoBitRate + metadata_.audioBitRate) / 8;
  return connection_.queueBytesOut() > std::max<std::uint64_t>(kLeast, static_cast<std::uint64_t>(rate * kQueueSeconds));
}

void RTMPStream::appendEncoded(const EncodedAudioSampleRef& sample) {
  if (readyState_ != ReadyState::publishing || sample->data.empty() || !sample->format) return;
  if (!origin_) {
    // About the encoder's delay of sound, kept for the first picture.
    constexpr std::size_t kWaitingLimit = 96;
    if (audioBeforePicture_.size() == kWaitingLimit) audioBeforePicture_.pop_front();
    audioBeforePicture_.push_back(sample);
    return;
  }
  for (const auto& waiting : audioBeforePicture_) sendAudio(*waiting);
  audioBeforePicture_.clear();
  sendAudio(*sample);
}

void RTMPStream::sendAudio(const EncodedAudioSample& sample) {
  const auto delta = audioTimestamp_.update(sample.pts);
  if (!delta) return;
  if (!audioFormat_ || *audioFormat_ != *sample.format) {
    const bool hadFormat = audioFormat_ != nullptr;
    audioFormat_ = sample.format;
    if (auto header = audioSequenceHeader(*sample.format)) {
      info_.byteCount += connection_.doOutput(hadFormat ? RTMPChunkType::one : RTMPChunkType::zero,
                                              RTMPChunkStreamId::audio,
                                              RTMPMessage{RTMPMessageType::audio, id_, 0, std::move(*header)});
    }
  }
  info_.byteCount += connection_.doOutput(RTMPChunkType::one, RTMPChunkStreamId::audio,
                                          RTMPMessage{RTMPMessageType::audio, id_, *delta, audioMessageBody(sample)});
}

void RTMPStream::dispatch(const RTMPMessage& message) {
  if (message.type != RTMPMessageType::amf0Command && message.type != RTMPMessageType::amf3Command) return;
  auto command = RTMPCommandMessage::fromMessage(message);
  if (!command) return;
  if (command->commandName != "onStatus") {
    emit("Ignored stream command " + command->commandName);
    return;
  }
  statusReceived(RTMPResponse::from(command->arguments));
}

void RTMPStream::statusReceived(const RTMPResponse& response) {
  if (response.status && response.status->level == "status") {
    if (expectedResponse_ && response.status->code == *expectedResponse_) {
      finishWait(RTMPStreamResult::success(response));
    }
    return;
  }
  if (continuation_) finishWait(RTMPStreamResult::failure({RTMPStreamError::Kind::requestFailed, response}));
}

void RTMPStream::dispatch(const RTMPUserControlEvent&) {}

void RTMPStream::dispatch(const NetworkMonitorEvent& event) {
  if (event.kind == NetworkMonitorEvent::Kind::reset) return;
  currentFPS_ = frameCount_;
  frameCount_ = 0;
  const std::uint64_t bytes = info_.byteCount;
  info_.currentBytesPerSecond = bytes - info_.previousByteCount;
  info_.previousByteCount = bytes;
}

}  // namespace tavorin
